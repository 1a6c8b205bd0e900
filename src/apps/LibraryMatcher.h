#pragma once

#include "apps/AppTypes.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

// One Library entry matched to an app or a leftover identifier, before it is measured.
struct DataMatch {
    AppDataItem::Kind kind = AppDataItem::Kind::applicationSupport;
    QString path;
    bool exact = false;

    bool operator==(const DataMatch&) const = default;
};

// The entry names of each kind's folder in the Library, read once for a whole inventory.
// Folders that cannot be read (other apps' containers without Full Disk Access) are empty.
struct LibraryListing {
    QString libraryDir;
    QHash<AppDataItem::Kind, QStringList> entries;
    // The names in "Preferences/ByHost".
    QStringList byHost;

    static LibraryListing read(const QString& libraryDir);
    QString pathOf(AppDataItem::Kind kind, const QString& name) const;
    QString byHostPath(const QString& name) const;
};

// Which Library entries belong to which identifier. Identifiers compare without case, as the
// system compares them; only entries named exactly after an identifier are ever exact.
struct LibraryMatcher {
    // The data of the app with bundle identifier `bundleIdentifier` (none for a bundle without
    // one), in kind order then by name:
    // - preferences: B + ".plist", and in ByHost B + "." + a host part + ".plist", the host part
    //   being a hardware UUID or network address (hex digits and dashes, no dots), so that
    //   "com.example.notelyx.<host>.plist" never goes to "com.example.notely";
    // - savedState: B + ".savedState"; httpStorages: B and B + ".binarycookies";
    // - groupContainers: "group." + B, or "<team>." + B where the team is the app's (any
    //   ten-character team when the app's is unknown);
    // - every other kind: B itself.
    // Entries in Application Support, Caches and Logs named after `appName` (as written, without
    // spaces, or with dashes for spaces, at least three characters) are added as possibly
    // related (`exact` false).
    static QList<DataMatch> matchesFor(const LibraryListing& library,
                                       const std::optional<QString>& bundleIdentifier,
                                       const QString& appName,
                                       const std::optional<QString>& teamIdentifier = {});

    // The identifier a Library entry of `kind` is named after (a ByHost entry when `inByHost`);
    // absent when the name is not a reverse-DNS identifier of three or more parts, or is a
    // system group container ("systemgroup.", names with ".apple.").
    static std::optional<QString> identifierOf(AppDataItem::Kind kind, const QString& name,
                                               bool inByHost = false);
    // Identifiers of the system itself, never offered as leftovers: Apple's "com.apple." and the
    // Linux desktop's "org.freedesktop.".
    static bool isSystemIdentifier(const QString& identifier);

    struct Leftover {
        QString identifier;
        QList<DataMatch> matches;

        bool operator==(const Leftover&) const = default;
    };
    // Entries named by an identifier of no installed app, one record per identifier (by
    // identifier). Kept out as well: system identifiers, identifiers extending an installed one
    // (a helper's "com.example.app.helper" belongs to "com.example.app"), and group containers of
    // a vendor that still has an installed app (several apps of a vendor share one).
    static QList<Leftover> leftovers(const LibraryListing& library,
                                     const QStringList& installedIdentifiers);
};

} // namespace corvane
