#pragma once

// Xcode's simulator runtimes (the OS images simulators boot from) and simulator devices.

#include <QDateTime>
#include <QString>
#include <optional>

namespace corvane {

enum class SimPlatform { iOS, watchOS, tvOS, visionOS, other };

// "iOS", "watchOS", "tvOS", "visionOS", "other".
QString displayName(SimPlatform platform);
// From a platform identifier: "iphone" iOS, "watch" watchOS, "appletv" tvOS, "vision", "xros" or
// "xrsimulator" visionOS, else other.
SimPlatform simPlatformFrom(const QString& platformIdentifier);

struct SimulatorRuntime {
    QString id;
    SimPlatform platform = SimPlatform::other;
    QString version;
    QString build;
    QString runtimeIdentifier;
    qint64 sizeBytes = 0;
    std::optional<QDateTime> lastUsedAt;
    bool isDeletable = false;

    // "iOS 17.5".
    QString displayName() const;
    bool operator==(const SimulatorRuntime&) const = default;
};

struct SimulatorDevice {
    // The device's udid.
    QString id;
    QString name;
    QString runtimeIdentifier;
    bool isAvailable = false;
    bool isBooted = false;
    // The folder of the device's data, as simctl reports it; empty when it does not.
    QString dataPath;
    qint64 dataSizeBytes = 0;
    std::optional<QDateTime> lastBootedAt;

    bool operator==(const SimulatorDevice&) const = default;
};

// Dotted versions compared number by number ("17.10" is newer than "17.9"); -1, 0 or 1.
int compareVersions(const QString& a, const QString& b);

} // namespace corvane
