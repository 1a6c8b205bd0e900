#include "devtools/DockerTypes.h"

namespace corvane {

QString DockerStatus::caseName() const {
    switch (kind) {
    case Case::running:
        return QStringLiteral("running");
    case Case::notInstalled:
        return QStringLiteral("notInstalled");
    case Case::notRunning:
        return QStringLiteral("notRunning");
    }
    return {};
}

QString DockerImage::displayName() const {
    if (repository != QStringLiteral("<none>"))
        return repository + u':' + tag;
    QString shortID = id;
    if (shortID.startsWith(QStringLiteral("sha256:")))
        shortID = shortID.mid(7);
    return shortID.left(12);
}

bool DockerContainer::isRunning() const {
    return state == QStringLiteral("running") || state == QStringLiteral("restarting");
}

} // namespace corvane
