#include "apps/LinuxLeftovers.h"

#include "apps/LinuxApps.h"
#include "platform/PathIdentity.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <algorithm>

namespace corvane {
namespace {

bool isClaimed(const QString& path, const QStringList& claimed) {
    return std::any_of(claimed.cbegin(), claimed.cend(),
                       [&](const QString& folder) { return PathIdentity::same(folder, path); });
}

// A recorded folder that may still be offered: it is there, directly in an XDG home (or
// "~/snap"), and no app of the desktop names it.
bool isOfferable(const DataMatch& match, const QStringList& claimed) {
    return QFileInfo::exists(match.path) &&
           LinuxApps::dataRootOf({match.kind, match.path, 0, true}).has_value() &&
           !isClaimed(match.path, claimed);
}

QString snapNameOf(const SeenApp& app) {
    return app.key.section(u':', 1);
}

// "~/snap/<name>" folders of snaps that snap says are not installed.
void addSnapData(LinuxLeftovers::Found& found, const std::optional<SnapListing>& snaps,
                 const ProcessRunner& runner, const CancellationToken& cancellation) {
    if (!snaps || snaps->error)
        return;
    QSet<QString> listed;
    for (const SnapApp& snap : snaps->apps)
        listed.insert(snap.name);
    const QStringList folders =
        QDir(SnapApps::dataRoot()).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString& name : folders) {
        if (listed.contains(name) || !SnapApps::isName(name))
            continue;
        if (!SnapApps::check(name, runner, cancellation).isGone())
            continue;
        found.orphans.append(
            {name,
             measured({{AppDataItem::Kind::data, SnapApps::dataFolder(name), true}}, cancellation),
             std::nullopt, AppGone{AppGone::Witness::snap, {}, std::nullopt}});
    }
}

bool alreadyOffered(const LinuxLeftovers::Found& found, const QString& path) {
    for (const OrphanedAppData& orphan : found.orphans)
        for (const AppDataItem& item : orphan.items)
            if (PathIdentity::same(item.url, path))
                return true;
    return false;
}

} // namespace

InstallCheck LinuxLeftovers::gone(const SeenApp& app, const ProcessRunner& runner,
                                  const CancellationToken& cancellation) {
    if (app.source == AppSource::snap)
        return SnapApps::check(snapNameOf(app), runner, cancellation);
    if (app.desktopEntry && QFileInfo::exists(*app.desktopEntry))
        return {InstallCheck::Case::installed, {}};
    if (!app.program.isEmpty() && QFileInfo::exists(app.program))
        return {InstallCheck::Case::installed, {}};
    return {InstallCheck::Case::notInstalled, {}};
}

LinuxLeftovers::Found LinuxLeftovers::find(const QList<InstalledApp>& listed,
                                           const std::optional<SnapListing>& snaps,
                                           const QStringList& claimed, const SeenApps& seen,
                                           const ProcessRunner& runner,
                                           const CancellationToken& cancellation) {
    Found found;
    addSnapData(found, snaps, runner, cancellation);
    const SeenApps::Read earlier = seen.load();
    if (earlier.problem)
        found.errors.append(*earlier.problem);
    QSet<QString> listedKeys;
    for (const InstalledApp& app : listed)
        listedKeys.insert(SeenApps::keyOf(app));
    // Without snap's list a command-line snap could name any folder: none is offered.
    const bool snapsKnown = !snaps || !snaps->error;
    for (const SeenApp& app : earlier.apps) {
        cancellation.throwIfCancelled();
        if (!snapsKnown || listedKeys.contains(app.key) ||
            !gone(app, runner, cancellation).isGone())
            continue;
        QList<DataMatch> items;
        for (const DataMatch& match : app.data)
            if (isOfferable(match, claimed) && !alreadyOffered(found, match.path))
                items.append(match);
        if (items.isEmpty())
            continue;
        const QString identifier = app.identities.value(0, app.name);
        found.orphans.append({identifier, measured(items, cancellation), std::nullopt,
                              AppGone{AppGone::Witness::seenBefore, app.name, app.lastSeen}});
    }
    if (const std::optional<QString> problem = seen.remember(listed))
        found.errors.append(*problem);
    return found;
}

LinuxLeftovers::Judge::Judge(const SeenApps& seen, const ProcessRunner& runner)
    : seen_(seen)
    , runner_(runner) {}

const LinuxLeftovers::Judge::Grounds& LinuxLeftovers::Judge::grounds() {
    if (!grounds_) {
        Grounds read{seen_.load(), SnapApps::list(runner_), {}};
        if (!read.snaps || !read.snaps->error)
            read.claimed = LinuxApps::claimedFolders(read.snaps);
        grounds_ = std::move(read);
    }
    return *grounds_;
}

std::optional<QString> LinuxLeftovers::Judge::refusal(const QString& path) {
    const Grounds& read = grounds();
    if (read.seen.problem && read.seen.apps.isEmpty())
        return *read.seen.problem;
    if (read.snaps && read.snaps->error)
        return *read.snaps->error;
    for (const SeenApp& app : read.seen.apps) {
        const bool recorded =
            std::any_of(app.data.cbegin(), app.data.cend(),
                        [&](const DataMatch& m) { return PathIdentity::same(m.path, path); });
        if (!recorded)
            continue;
        const InstallCheck check = gone(app, runner_);
        if (check.is == InstallCheck::Case::installed)
            return QStringLiteral("%1 is installed and uses this data.").arg(app.name);
        if (!check.isGone())
            return check.reason;
        if (isClaimed(path, read.claimed))
            return QStringLiteral("An installed app uses a folder of this name, so it stays.");
        return std::nullopt;
    }
    return QStringLiteral("Not found with an app that is gone, so it stays.");
}

} // namespace corvane
