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

namespace {

const QString noneText = QStringLiteral("<none>");

bool isNamePart(const QString& part) {
    return !part.trimmed().isEmpty() && part != noneText;
}

} // namespace

bool DockerImage::isUntagged() const {
    return !isNamePart(repository) || !isNamePart(tag);
}

QString DockerImage::displayName() const {
    return isUntagged() ? noneText : repository + u':' + tag;
}

QString DockerImage::shortID() const {
    QString shortID = id;
    if (shortID.startsWith(QStringLiteral("sha256:")))
        shortID = shortID.mid(7);
    return shortID.left(12);
}

bool DockerContainer::isRunning() const {
    return state == QStringLiteral("running") || state == QStringLiteral("restarting");
}

} // namespace corvane
