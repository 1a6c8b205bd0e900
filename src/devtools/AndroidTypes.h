#pragma once

// What Android Studio keeps on disk: SDK packages and emulators (AVDs).

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

// In the order the screen lists them.
enum class AndroidComponentKind {
    systemImage,
    platform,
    buildTools,
    ndk,
    sources,
    cmake,
    emulator,
    platformTools
};

inline constexpr AndroidComponentKind allAndroidComponentKinds[] = {
    AndroidComponentKind::systemImage, AndroidComponentKind::platform,
    AndroidComponentKind::buildTools,  AndroidComponentKind::ndk,
    AndroidComponentKind::sources,     AndroidComponentKind::cmake,
    AndroidComponentKind::emulator,    AndroidComponentKind::platformTools};

// "System Images", "Platforms", "Build Tools", "NDK", "Sources", "CMake", "Emulator",
// "Platform Tools": the headings of the screen's groups.
QString displayName(AndroidComponentKind kind);
// "systemImage", "platform", ...: the case's name, as `corvane android --json` prints it.
QString rawValue(AndroidComponentKind kind);
// The one-line explanation the screen shows under a group's heading.
QString explanation(AndroidComponentKind kind);
// Packages Android Studio cannot run apps or emulators without: the emulator and platform tools.
bool isRequired(AndroidComponentKind kind);

struct AndroidComponent {
    AndroidComponentKind kind = AndroidComponentKind::platform;
    // "Android 34", "System Image Android 35 Google Play arm64-v8a", "Build Tools 34.0.0".
    QString displayName;
    // "Pkg.Revision", as written ("28.0.0-beta1").
    std::optional<QString> version;
    // The package folder.
    QString url;
    qint64 sizeBytes = 0;
    std::optional<QDateTime> modifiedAt;
    // For a system image: the AVDs that boot from it, sorted.
    QStringList avdNames;

    bool operator==(const AndroidComponent&) const = default;
};

struct AndroidAVD {
    // The registration file's name without ".ini".
    QString name;
    // The ".avd" folder the registration points to.
    QString url;
    // The registration file "<AVD home>/<name>.ini".
    std::optional<QString> iniURL;
    // "hw.device.name" of config.ini.
    std::optional<QString> deviceName;
    // "target" of config.ini ("android-35").
    std::optional<QString> target;
    // The system image folder from "image.sysdir.1", absolute.
    std::optional<QString> systemImageURL;
    qint64 sizeBytes = 0;
    std::optional<QDateTime> lastUsedAt;
    bool isRunning = false;
    // False when the folder is missing or is a symbolic link.
    bool isRemovable = false;

    bool operator==(const AndroidAVD&) const = default;
};

struct AndroidInventory {
    // By kind in the order of AndroidComponentKind, then by display name.
    QList<AndroidComponent> components;
    // By name.
    QList<AndroidAVD> avds;
    // The files that could not be read, one message each ("Could not read …/source.properties:
    // …"); a component is listed without what its file would say, an AVD without its
    // registration is not.
    QStringList problems;

    bool operator==(const AndroidInventory&) const = default;
};

// Why an Android item was not removed, as the user reads it.
class AndroidCatalogError {
public:
    enum class Case {
        requiredComponent,
        imageInUse,
        runningAVD,
        invalidLocation,
        missingItem,
        processCheckFailed,
        trashFailed
    };

    static AndroidCatalogError requiredComponent(const QString& name);
    static AndroidCatalogError imageInUse(const QStringList& avdNames);
    static AndroidCatalogError runningAVD(const QString& name);
    static AndroidCatalogError invalidLocation(const QString& path);
    static AndroidCatalogError missingItem(const QString& path);
    static AndroidCatalogError processCheckFailed(const QString& detail);
    static AndroidCatalogError trashFailed(const QString& detail);

    Case kind() const { return case_; }
    const QString& message() const { return message_; }
    bool operator==(const AndroidCatalogError&) const = default;

private:
    AndroidCatalogError(Case kind, QString message)
        : case_(kind)
        , message_(std::move(message)) {}

    Case case_;
    QString message_;
};

// Shown for an AVD whose registration leads nowhere safe to remove.
inline const QString androidAVDNotRemovableText =
    QStringLiteral("AVD folder is missing or is a symbolic link");

} // namespace corvane
