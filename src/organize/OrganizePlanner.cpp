#include "organize/OrganizePlanner.h"

#include "organize/ShellProfile.h"
#include "platform/Locations.h"
#include "platform/Paths.h"
#include "platform/Volumes.h"

#include <QFileInfo>
#include <QSet>

namespace corvane::OrganizePlanner {
namespace {

using Case = OrganizeStatus::Case;

// Folder names on disk, spelled out rather than taken from the raw values: "claudeCode" groups
// as "claude", and renaming a case must not change where projects go.
QString agentGroup(AgentKind agent) {
    switch (agent) {
    case AgentKind::claudeCode:
        return QStringLiteral("claude");
    case AgentKind::codex:
        return QStringLiteral("codex");
    case AgentKind::cursor:
        return QStringLiteral("cursor");
    case AgentKind::vscode:
        return QStringLiteral("vscode");
    case AgentKind::antigravity:
        return QStringLiteral("antigravity");
    }
    return QStringLiteral("local");
}

// A dangling link at the target still takes the name.
bool somethingExistsAt(const QString& path) {
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

// The Mac's disks ignore case by default, so "App" and "app" would land in one folder.
QString reservationKey(const QString& target) {
    return Locations::isMac() ? target.toCaseFolded() : target;
}

OrganizeStatus statusOf(const OrganizeEntry& entry, const ShellReferences& shell,
                        const QList<ProcessInspector::WorkingProcess>& processes,
                        const QSet<QString>& reserved) {
    const QString& path = entry.candidate.path;
    const QString& destination = entry.destinationRoot;
    if (!QFileInfo::exists(path))
        return OrganizeStatus::of(Case::missing);
    if (!destination.isEmpty() && Paths::isUnder(path, destination))
        return OrganizeStatus::of(Case::alreadyOrganized);
    if (const std::optional<QString> profile = ShellProfile::profileUsing(shell, path))
        return OrganizeStatus::of(Case::usedByShell, *profile);
    const QList<ProcessInspector::WorkingProcess> inside =
        ProcessInspector::inside(processes, path);
    if (!inside.isEmpty())
        return OrganizeStatus::of(Case::busy, ProcessInspector::displayName(inside.first()));
    const QString target = entry.targetPath();
    if (somethingExistsAt(target))
        return OrganizeStatus::of(Case::destinationTaken);
    if (reserved.contains(reservationKey(target)))
        return OrganizeStatus::of(Case::duplicateDestination);
    if (!Volumes::areOnSameVolume(path, destination))
        return OrganizeStatus::of(Case::otherDisk);
    return OrganizeStatus::of(Case::ready);
}

} // namespace

QList<OrganizeEntry> plan(const QList<OrganizeCandidate>& candidates, OrganizeLayout layout,
                          const QString& destination, const ShellReferences& shell,
                          const QList<ProcessInspector::WorkingProcess>& processes) {
    const QString root = Paths::standardized(destination);
    QList<OrganizeEntry> entries;
    QSet<QString> reserved;
    for (const OrganizeCandidate& candidate : candidates) {
        OrganizeEntry entry{candidate, groupFor(candidate, layout), root, {}};
        entry.candidate.path = Paths::standardized(candidate.path);
        entry.status = statusOf(entry, shell, processes, reserved);
        if (entry.status.kind == Case::ready)
            reserved.insert(reservationKey(entry.targetPath()));
        entries.append(entry);
    }
    return entries;
}

std::optional<QString> groupFor(const OrganizeCandidate& candidate, OrganizeLayout layout) {
    switch (layout) {
    case OrganizeLayout::flat:
        return std::nullopt;
    case OrganizeLayout::byOwner:
        if (candidate.gitRemote)
            return remoteOwner(*candidate.gitRemote).value_or(QStringLiteral("local"));
        return QStringLiteral("local");
    case OrganizeLayout::byAgent: {
        // Folders the user already sorted by hand, such as "Desktop/byClaude/app".
        const QString lowered = candidate.path.toLower();
        if (lowered.contains(QStringLiteral("byclaude")))
            return QStringLiteral("claude");
        if (lowered.contains(QStringLiteral("bycodex")))
            return QStringLiteral("codex");
        return candidate.leadingAgent ? agentGroup(*candidate.leadingAgent)
                                      : QStringLiteral("local");
    }
    }
    return std::nullopt;
}

std::optional<QString> remoteOwner(const QString& remote) {
    const QString trimmed = remote.trimmed();
    if (trimmed.startsWith(u'/') || trimmed.startsWith(QStringLiteral("file://")))
        return std::nullopt;
    QString slashed = trimmed;
    slashed.replace(u':', u'/');
    const QStringList parts = slashed.split(u'/', Qt::SkipEmptyParts);
    if (parts.size() < 3)
        return std::nullopt;
    const QString owner = parts.at(parts.size() - 2);
    // The owner names a folder of the destination; "." or ".." would name another one.
    if (owner == u'.' || owner == QStringLiteral(".."))
        return std::nullopt;
    return owner;
}

} // namespace corvane::OrganizePlanner
