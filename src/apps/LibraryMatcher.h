#pragma once

#include "apps/AppTypes.h"
#include "platform/Cancellation.h"

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

// The matched data with the allocated size of each.
QList<AppDataItem> measured(const QList<DataMatch>& matches, const CancellationToken& cancellation);

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

// The apps whose data is still in use, as far as their bundles could be read.
struct InstalledSet {
    struct Identifier {
        QString identifier;
        // The installed bundle that uses it (for a nested helper, the bundle holding it).
        QString bundle;
        bool operator==(const Identifier&) const = default;
    };
    struct Unreadable {
        QString bundle;
        // The names its data may carry: the bundle's and its executables'.
        QStringList names;
        bool operator==(const Unreadable&) const = default;
    };
    QList<Identifier> identifiers;
    QList<Unreadable> unreadable;

    // Without what `bundle` and the helpers inside it use: what stays once it is gone.
    InstalledSet without(const QString& bundle) const;
};

// Whose a Library entry named by an identifier is.
struct Ownership {
    enum class Case { leftover, installed, unknown };
    Case is = Case::leftover;
    // The installed bundle using it, or the unreadable bundle it may belong to.
    QString bundle;
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

    // Whose the entry of `kind` named by `identifier` is: installed when an installed bundle or a
    // helper in one has the identifier, or one it extends ("com.example.app.helper" is
    // "com.example.app"'s); also when it is a launch agent, cache or group container of a vendor
    // (the first two parts, "com.example") with an installed app, as vendors share those. Unknown
    // when an unreadable bundle may own it: one of its names is a part of the identifier, or
    // (names of four characters or more) is contained in it, letters and digits compared without
    // case. Otherwise a leftover.
    // `byVendor` false leaves the vendor rule out: an app's own data is not shared with its
    // vendor's other apps.
    static Ownership ownerOf(const QString& identifier, AppDataItem::Kind kind,
                             const InstalledSet& installed, bool byVendor = true);

    struct Leftover {
        QString identifier;
        QList<DataMatch> matches;
        // Set when an unreadable bundle may own the data: then it is unknown, not a leftover.
        std::optional<QString> unreadableBundle;

        bool operator==(const Leftover&) const = default;
    };
    // Entries named by an identifier whose owner is not installed, one record per identifier (by
    // identifier), system identifiers left out; data an unreadable bundle may own comes with
    // that bundle.
    static QList<Leftover> leftovers(const LibraryListing& library, const InstalledSet& installed);
};

} // namespace corvane
