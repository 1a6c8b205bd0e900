#include "apps/LibraryMatcher.h"

#include "platform/PathIdentity.h"
#include "platform/SizeCalculator.h"

#include <QDir>
#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <algorithm>

namespace corvane {

QList<AppDataItem> measured(const QList<DataMatch>& matches,
                            const CancellationToken& cancellation) {
    QList<AppDataItem> items;
    for (const DataMatch& match : matches)
        items.append(
            {match.kind, match.path, SizeCalculator::size(match.path, cancellation), match.exact});
    return items;
}

namespace {

using Kind = AppDataItem::Kind;

const QString plistSuffix = QStringLiteral(".plist");
const QString savedStateSuffix = QStringLiteral(".savedState");
const QString cookiesSuffix = QStringLiteral(".binarycookies");
const QString groupPrefix = QStringLiteral("group.");

bool same(const QString& a, const QString& b) {
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

// A hardware UUID or, on very old Macs, a network address.
bool isHostPart(QStringView text) {
    static const QRegularExpression pattern(QStringLiteral("^[0-9A-Fa-f-]{12,}$"));
    return pattern.match(text).hasMatch();
}

// An App Store team identifier: ten capitals and digits.
bool isTeamPart(QStringView text) {
    static const QRegularExpression pattern(QStringLiteral("^[A-Z0-9]{10}$"));
    return pattern.match(text).hasMatch();
}

bool looksLikeIdentifier(const QString& text) {
    static const QRegularExpression pattern(QStringLiteral("^[A-Za-z]+(\\.[A-Za-z0-9_-]+){2,}$"));
    return pattern.match(text).hasMatch();
}

std::optional<QString> stripSuffix(const QString& name, const QString& suffix) {
    if (name.size() <= suffix.size() || !name.endsWith(suffix, Qt::CaseInsensitive))
        return std::nullopt;
    return name.left(name.size() - suffix.size());
}

// The identifier a ByHost file name carries: "<identifier>.<host>.plist".
std::optional<QString> byHostIdentifier(const QString& name) {
    const std::optional<QString> stem = stripSuffix(name, plistSuffix);
    if (!stem)
        return std::nullopt;
    const qsizetype dot = stem->lastIndexOf(QLatin1Char('.'));
    if (dot <= 0 || !isHostPart(QStringView(*stem).mid(dot + 1)))
        return std::nullopt;
    return stem->left(dot);
}

// The identifier a group container is named after, apart from the system's own groups.
std::optional<QString> groupIdentifier(const QString& name) {
    if (name.startsWith(QStringLiteral("systemgroup."), Qt::CaseInsensitive) ||
        name.contains(QStringLiteral(".apple."), Qt::CaseInsensitive))
        return std::nullopt;
    if (name.startsWith(groupPrefix, Qt::CaseInsensitive))
        return name.mid(groupPrefix.size());
    const qsizetype dot = name.indexOf(QLatin1Char('.'));
    if (dot > 0 && isTeamPart(QStringView(name).left(dot)))
        return name.mid(dot + 1);
    return std::nullopt;
}

QString vendorOf(const QString& identifier) {
    return identifier.section(QLatin1Char('.'), 0, 1).toLower();
}

// The names an entry only named like the app may carry.
QStringList nameForms(const QString& appName) {
    QStringList forms{appName, QString(appName).remove(QLatin1Char(' ')),
                      QString(appName).replace(QLatin1Char(' '), QLatin1Char('-'))};
    forms.removeDuplicates();
    forms.removeIf([](const QString& form) { return form.trimmed().size() < 3; });
    return forms;
}

// Kind order, then by path, so that the items of a kind sit together.
void sortMatches(QList<DataMatch>& matches) {
    std::sort(matches.begin(), matches.end(), [](const DataMatch& a, const DataMatch& b) {
        return a.kind != b.kind ? a.kind < b.kind : a.path < b.path;
    });
}

} // namespace

LibraryListing LibraryListing::read(const QString& libraryDir) {
    LibraryListing listing;
    listing.libraryDir = libraryDir;
    const QDir library(libraryDir);
    // Hidden and broken-link entries count too: they are data a leftover leaves.
    const auto filters = QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System;
    for (Kind kind : allAppDataKinds())
        listing.entries.insert(
            kind, QDir(library.filePath(libraryFolder(kind))).entryList(filters, QDir::Name));
    listing.byHost =
        QDir(library.filePath(QStringLiteral("Preferences/ByHost"))).entryList(filters, QDir::Name);
    return listing;
}

QString LibraryListing::pathOf(Kind kind, const QString& name) const {
    return libraryDir + QLatin1Char('/') + libraryFolder(kind) + QLatin1Char('/') + name;
}

QString LibraryListing::byHostPath(const QString& name) const {
    return libraryDir + QStringLiteral("/Preferences/ByHost/") + name;
}

QList<DataMatch> LibraryMatcher::matchesFor(const LibraryListing& library,
                                            const std::optional<QString>& bundleIdentifier,
                                            const QString& appName,
                                            const std::optional<QString>& teamIdentifier) {
    QList<DataMatch> matches;
    QSet<QString> taken;
    auto add = [&](Kind kind, const QString& path, bool exact) {
        if (taken.contains(path))
            return;
        taken.insert(path);
        matches.append({kind, path, exact});
    };

    if (bundleIdentifier && !bundleIdentifier->isEmpty()) {
        const QString& id = *bundleIdentifier;
        for (Kind kind : allAppDataKinds()) {
            for (const QString& name : library.entries.value(kind)) {
                bool exact = false;
                switch (kind) {
                case Kind::preferences:
                    exact = same(name, id + plistSuffix);
                    break;
                case Kind::savedState:
                    exact = same(name, id + savedStateSuffix);
                    break;
                case Kind::httpStorages:
                    exact = same(name, id) || same(name, id + cookiesSuffix);
                    break;
                case Kind::groupContainers:
                    if (same(name, groupPrefix + id)) {
                        exact = true;
                    } else if (const qsizetype dot = name.indexOf(QLatin1Char('.')); dot > 0) {
                        const QString team = name.left(dot);
                        exact = isTeamPart(team) && same(name.mid(dot + 1), id) &&
                                (!teamIdentifier || *teamIdentifier == team);
                    }
                    break;
                case Kind::launchAgents:
                    exact = same(name, id + plistSuffix);
                    break;
                default:
                    exact = same(name, id);
                    break;
                }
                if (exact)
                    add(kind, library.pathOf(kind, name), true);
            }
            if (kind == Kind::preferences)
                for (const QString& name : library.byHost) {
                    const std::optional<QString> owner = byHostIdentifier(name);
                    if (owner && same(*owner, id))
                        add(kind, library.byHostPath(name), true);
                }
        }
    }

    const QStringList forms = nameForms(appName);
    for (Kind kind : {Kind::applicationSupport, Kind::caches, Kind::logs})
        for (const QString& name : library.entries.value(kind))
            for (const QString& form : forms)
                if (same(name, form)) {
                    add(kind, library.pathOf(kind, name), false);
                    break;
                }

    sortMatches(matches);
    return matches;
}

std::optional<QString> LibraryMatcher::identifierOf(Kind kind, const QString& name, bool inByHost) {
    std::optional<QString> id;
    if (inByHost) {
        id = byHostIdentifier(name);
    } else {
        switch (kind) {
        case Kind::preferences:
        case Kind::launchAgents:
            id = stripSuffix(name, plistSuffix);
            break;
        case Kind::savedState:
            id = stripSuffix(name, savedStateSuffix);
            break;
        case Kind::httpStorages:
            id = stripSuffix(name, cookiesSuffix);
            if (!id)
                id = name;
            break;
        case Kind::groupContainers:
            id = groupIdentifier(name);
            break;
        default:
            id = name;
            break;
        }
    }
    if (!id || !looksLikeIdentifier(*id))
        return std::nullopt;
    return id;
}

bool LibraryMatcher::isSystemIdentifier(const QString& identifier) {
    return identifier.startsWith(QStringLiteral("com.apple."), Qt::CaseInsensitive) ||
           identifier.startsWith(QStringLiteral("org.freedesktop."), Qt::CaseInsensitive);
}

InstalledSet InstalledSet::without(const QString& bundle) const {
    InstalledSet rest = *this;
    // By identity: the app may be named through a link or in another case than the search found.
    rest.identifiers.removeIf(
        [&](const Identifier& used) { return PathIdentity::same(used.bundle, bundle); });
    rest.unreadable.removeIf(
        [&](const Unreadable& unread) { return PathIdentity::isInside(unread.bundle, bundle); });
    return rest;
}

namespace {

QString lettersAndDigits(const QString& text) {
    QString kept;
    for (const QChar c : text)
        if (c.isLetterOrNumber())
            kept.append(c.toLower());
    return kept;
}

bool mayBeNamedAfter(const QString& identifier, const QStringList& names) {
    const QStringList parts = identifier.split(QLatin1Char('.'));
    const QString whole = lettersAndDigits(identifier);
    for (const QString& name : names) {
        const QString plain = lettersAndDigits(name);
        if (plain.isEmpty())
            continue;
        if (plain.size() >= 4 && whole.contains(plain))
            return true;
        for (const QString& part : parts)
            if (lettersAndDigits(part) == plain)
                return true;
    }
    return false;
}

} // namespace

Ownership LibraryMatcher::ownerOf(const QString& identifier, Kind kind,
                                  const InstalledSet& installed, bool byVendor) {
    const QString lower = identifier.toLower();
    const bool sharedByVendor = byVendor && (kind == Kind::launchAgents || kind == Kind::caches ||
                                             kind == Kind::groupContainers);
    for (const InstalledSet::Identifier& used : installed.identifiers) {
        const QString owner = used.identifier.toLower();
        if (lower == owner || lower.startsWith(owner + QLatin1Char('.')) ||
            (sharedByVendor && vendorOf(lower) == vendorOf(owner)))
            return {Ownership::Case::installed, used.bundle};
    }
    for (const InstalledSet::Unreadable& unread : installed.unreadable)
        if (mayBeNamedAfter(identifier, unread.names))
            return {Ownership::Case::unknown, unread.bundle};
    return {};
}

QList<LibraryMatcher::Leftover> LibraryMatcher::leftovers(const LibraryListing& library,
                                                          const InstalledSet& installed) {
    // Keyed without case; the first spelling met names the record.
    QMap<QString, Leftover> groups;
    auto consider = [&](Kind kind, const QString& name, const QString& path, bool inByHost) {
        const std::optional<QString> id = identifierOf(kind, name, inByHost);
        if (!id || isSystemIdentifier(*id))
            return;
        const Ownership owner = ownerOf(*id, kind, installed);
        if (owner.is == Ownership::Case::installed)
            return;
        Leftover& group = groups[id->toLower()];
        if (group.identifier.isEmpty())
            group.identifier = *id;
        if (owner.is == Ownership::Case::unknown)
            group.unreadableBundle = owner.bundle;
        group.matches.append({kind, path, true});
    };
    for (Kind kind : allAppDataKinds()) {
        for (const QString& name : library.entries.value(kind))
            consider(kind, name, library.pathOf(kind, name), false);
        if (kind == Kind::preferences)
            for (const QString& name : library.byHost)
                consider(kind, name, library.byHostPath(name), true);
    }
    QList<Leftover> result = groups.values();
    for (Leftover& leftover : result)
        sortMatches(leftover.matches);
    return result;
}

} // namespace corvane
