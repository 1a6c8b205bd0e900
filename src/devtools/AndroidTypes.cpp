#include "devtools/AndroidTypes.h"

namespace corvane {

QString displayName(AndroidComponentKind kind) {
    switch (kind) {
    case AndroidComponentKind::systemImage:
        return QStringLiteral("System Images");
    case AndroidComponentKind::platform:
        return QStringLiteral("Platforms");
    case AndroidComponentKind::buildTools:
        return QStringLiteral("Build Tools");
    case AndroidComponentKind::ndk:
        return QStringLiteral("NDK");
    case AndroidComponentKind::sources:
        return QStringLiteral("Sources");
    case AndroidComponentKind::cmake:
        return QStringLiteral("CMake");
    case AndroidComponentKind::emulator:
        return QStringLiteral("Emulator");
    case AndroidComponentKind::platformTools:
        return QStringLiteral("Platform Tools");
    }
    return {};
}

QString explanation(AndroidComponentKind kind) {
    switch (kind) {
    case AndroidComponentKind::systemImage:
        return QStringLiteral(
            "The OS images emulators boot from. An image an emulator uses stays.");
    case AndroidComponentKind::platform:
        return QStringLiteral("SDK platforms to compile against, one per Android version.");
    case AndroidComponentKind::buildTools:
        return QStringLiteral("Older versions can go when no project builds with them.");
    case AndroidComponentKind::ndk:
        return QStringLiteral(
            "Native development kits, side by side. Projects name the version they build with.");
    case AndroidComponentKind::sources:
        return QStringLiteral("Android source code for debugging and reading in the IDE.");
    case AndroidComponentKind::cmake:
        return QStringLiteral("CMake versions for native builds; a project pins the one it uses.");
    case AndroidComponentKind::emulator:
    case AndroidComponentKind::platformTools:
        return QStringLiteral("Android Studio needs this to run apps and emulators.");
    }
    return {};
}

bool isRequired(AndroidComponentKind kind) {
    return kind == AndroidComponentKind::emulator || kind == AndroidComponentKind::platformTools;
}

AndroidCatalogError AndroidCatalogError::requiredComponent(const QString& name) {
    return {Case::requiredComponent, name + QStringLiteral(" is required and cannot be removed.")};
}

AndroidCatalogError AndroidCatalogError::imageInUse(const QStringList& avdNames) {
    return {Case::imageInUse, QStringLiteral("This system image is used by AVDs: ") +
                                  avdNames.join(QStringLiteral(", "))};
}

AndroidCatalogError AndroidCatalogError::runningAVD(const QString& name) {
    return {Case::runningAVD, QStringLiteral("AVD ") + name +
                                  QStringLiteral(" is running. Stop it before removing it.")};
}

AndroidCatalogError AndroidCatalogError::invalidLocation(const QString& path) {
    return {Case::invalidLocation, QStringLiteral("Refused unsafe Android location: ") + path};
}

AndroidCatalogError AndroidCatalogError::missingItem(const QString& path) {
    return {Case::missingItem,
            QStringLiteral("Android item no longer exists or its registration changed: ") + path};
}

AndroidCatalogError AndroidCatalogError::processCheckFailed(const QString& detail) {
    return {Case::processCheckFailed,
            QStringLiteral("Cannot verify whether the AVD is running: ") + detail};
}

AndroidCatalogError AndroidCatalogError::trashFailed(const QString& detail) {
    return {Case::trashFailed,
            QStringLiteral("Could not move Android items to the Trash: ") + detail};
}

QString rawValue(AndroidComponentKind kind) {
    switch (kind) {
    case AndroidComponentKind::systemImage:
        return QStringLiteral("systemImage");
    case AndroidComponentKind::platform:
        return QStringLiteral("platform");
    case AndroidComponentKind::buildTools:
        return QStringLiteral("buildTools");
    case AndroidComponentKind::ndk:
        return QStringLiteral("ndk");
    case AndroidComponentKind::sources:
        return QStringLiteral("sources");
    case AndroidComponentKind::cmake:
        return QStringLiteral("cmake");
    case AndroidComponentKind::emulator:
        return QStringLiteral("emulator");
    case AndroidComponentKind::platformTools:
        return QStringLiteral("platformTools");
    }
    return {};
}

} // namespace corvane
