#include "archive/ArchiveTypes.h"

#include "platform/Paths.h"

namespace corvane {

QString ArchiveRecord::locationDescription() const {
    if (location.kind == ArchiveLocation::Case::folder)
        return location.path;
    return location.user + u'@' + location.host + u':' + Paths::joined(location.basePath, name);
}

} // namespace corvane
