#pragma once

#include "apps/AppTypes.h"

#include <QHash>
#include <QString>
#include <optional>

namespace corvane {

// The keys of an Info.plist the inventory uses.
struct BundleInfo {
    std::optional<QString> identifier;
    std::optional<QString> displayName;
    std::optional<QString> name;
    std::optional<QString> version;

    bool operator==(const BundleInfo&) const = default;
};

// Reads one app bundle.
struct AppBundle {
    // The bundle's Info.plist: "Contents/Info.plist", or for an iPhone or iPad app wrapped for the
    // Mac the one at the top of "Wrapper/<x>.app". Absent when neither exists.
    static std::optional<QString> infoPlistPath(const QString& bundlePath);
    // Parses a property list in XML or binary form; absent when it is not a dictionary.
    // Values of the wrong type count as missing.
    static std::optional<BundleInfo> parseInfo(const QByteArray& contents);
    // The Info.plist at `plistPath` read and parsed; absent when it cannot be, and `problem` then
    // says why, naming the file: "Could not read …/Info.plist: it is larger than 1 MB, …".
    static std::optional<BundleInfo> readInfo(const QString& plistPath, QString* problem = nullptr);

    // Where the app came from, the first rule that fits: apple (identifier "com.apple." or a
    // bundle under "/System"), appStore ("Contents/_MASReceipt"), homebrew (a cask's record says
    // it installed exactly this bundle: the same place, links resolved, case as the volume
    // treats it; a copy elsewhere or a bundle only named the same is not the cask's), other.
    // `bundlePath` is resolved.
    static AppSource sourceOf(const QString& bundlePath, const std::optional<QString>& identifier,
                              const CaskMap& casks, std::optional<QString>* caskToken = nullptr);

    // The app's fields, without sizes, data, team or last use; absent when the bundle has no
    // readable Info.plist. When it has one that cannot be read (too large, not a property list,
    // no permission), `problem` says so, naming the file.
    static std::optional<InstalledApp> read(const QString& bundlePath, const CaskMap& casks = {},
                                            QString* problem = nullptr);
};

} // namespace corvane
