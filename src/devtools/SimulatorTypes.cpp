#include "devtools/SimulatorTypes.h"

#include <QStringList>

namespace corvane {

QString displayName(SimPlatform platform) {
    switch (platform) {
    case SimPlatform::iOS:
        return QStringLiteral("iOS");
    case SimPlatform::watchOS:
        return QStringLiteral("watchOS");
    case SimPlatform::tvOS:
        return QStringLiteral("tvOS");
    case SimPlatform::visionOS:
        return QStringLiteral("visionOS");
    case SimPlatform::other:
        return QStringLiteral("other");
    }
    return {};
}

SimPlatform simPlatformFrom(const QString& platformIdentifier) {
    const QString identifier = platformIdentifier.toLower();
    if (identifier.contains(QStringLiteral("iphone")))
        return SimPlatform::iOS;
    if (identifier.contains(QStringLiteral("watch")))
        return SimPlatform::watchOS;
    if (identifier.contains(QStringLiteral("appletv")))
        return SimPlatform::tvOS;
    // visionOS runtimes name their platform "xrsimulator" (or "xros"), not "vision".
    if (identifier.contains(QStringLiteral("vision")) ||
        identifier.contains(QStringLiteral("xros")) ||
        identifier.contains(QStringLiteral("xrsimulator")))
        return SimPlatform::visionOS;
    return SimPlatform::other;
}

QString SimulatorRuntime::displayName() const {
    // A runtime the tools cannot describe (a broken download) still gets a name a person reads.
    if (platform == SimPlatform::other && version.isEmpty())
        return QStringLiteral("Unknown runtime");
    return (corvane::displayName(platform) + u' ' + version).trimmed();
}

int compareVersions(const QString& a, const QString& b) {
    const QStringList left = a.split(u'.');
    const QStringList right = b.split(u'.');
    for (qsizetype i = 0; i < std::max(left.size(), right.size()); ++i) {
        const int x = i < left.size() ? left[i].toInt() : 0;
        const int y = i < right.size() ? right[i].toInt() : 0;
        if (x != y)
            return x < y ? -1 : 1;
    }
    return 0;
}

} // namespace corvane
