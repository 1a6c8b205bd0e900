#include <QByteArray>
#include <unistd.h>

namespace corvane::PathIdentity {

// APFS and HFS+ volumes ignore case unless they were made case-sensitive; the volume says which.
bool volumeIgnoresCase(const QByteArray& existingPath) {
    return ::pathconf(existingPath.constData(), _PC_CASE_SENSITIVE) == 0;
}

} // namespace corvane::PathIdentity
