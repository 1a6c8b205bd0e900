#include "archive/ArchiveTypes.h"

#include "platform/Paths.h"

namespace corvane {

QString ArchiveRecord::locationDescription() const {
    if (location.kind == ArchiveLocation::Case::folder)
        return location.path;
    return location.user + u'@' + location.host + u':' + Paths::joined(location.basePath, name);
}

QString verificationKey(Verification verification) {
    return verification == Verification::content ? QStringLiteral("content")
                                                 : QStringLiteral("count");
}

Verification verificationFromKey(const QString& key) {
    return key == QStringLiteral("content") ? Verification::content : Verification::count;
}

} // namespace corvane
