#pragma once

#include <QDateTime>
#include <QString>
#include <optional>

namespace corvane {

// What macOS records about a bundle beyond its Info.plist; absent on other systems.
struct AppSignature {
    // The signing team; absent when unsigned or ad-hoc signed.
    static std::optional<QString> teamIdentifier(const QString& bundlePath);
    // Spotlight's last-used date; absent when never opened or not indexed.
    static std::optional<QDateTime> lastUsedAt(const QString& bundlePath);
};

} // namespace corvane
