#include "platform/FullDiskAccess.h"

namespace corvane {

FullDiskAccess fullDiskAccess() {
    return FullDiskAccess::NotNeeded;
}

} // namespace corvane
