#include "organize/OrphanFinder.h"

#include "agents/AgentPaths.h"
#include "platform/Paths.h"

#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QSet>
#include <algorithm>
#include <sys/stat.h>

namespace corvane::OrphanFinder {
namespace {

// Undated sessions count as the distant past.
QDateTime dateOf(const AgentSession& session) {
    return session.updatedAt.value_or(QDateTime());
}

bool isNewer(const QDateTime& a, const QDateTime& b) {
    if (a.isValid() != b.isValid())
        return a.isValid();
    return a.isValid() && a > b;
}

QDateTime newestOf(const OrphanedHistory& orphan) {
    return orphan.sessions.isEmpty() ? QDateTime() : dateOf(orphan.sessions.first());
}

bool entryExists(const QString& path) {
    struct stat status {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0;
}

// The places `missing` may have gone to: for its deepest folder (or parent) whose name a project
// folder carries, that project folder with the rest of the path below it. The first level that
// gives any place decides; two places there are as good as none.
std::optional<QString> suggestionFor(const QString& missing, const QStringList& projectFolders,
                                     const QString& home) {
    for (QString level = missing; level != home && level != u'/';
         level = Paths::parentPath(level)) {
        const QString name = Paths::lastComponent(level);
        const QString rest = Paths::pathInside(missing, level).value_or(QString());
        QStringList places;
        for (const QString& project : projectFolders) {
            if (Paths::lastComponent(project) != name)
                continue;
            const QString place = rest.isEmpty() ? project : Paths::joined(project, rest);
            if (place != missing && QFileInfo(place).isDir() && repositoryRoot(place) &&
                !places.contains(place))
                places.append(place);
        }
        if (!places.isEmpty())
            return places.size() == 1 ? std::optional<QString>(places.first()) : std::nullopt;
    }
    return std::nullopt;
}

} // namespace

QList<OrphanedHistory> find(const AgentHistoryIndex& index, const QStringList& projectFolders) {
    QMap<QString, QList<AgentSession>> groups;
    for (const AgentSession& session : index.sessions) {
        const QString folder = AgentPaths::normalized(session.cwd, index.macPathRules);
        if (!folder.isEmpty())
            groups[folder].append(session);
    }
    QStringList projects;
    for (const QString& folder : projectFolders)
        projects.append(AgentPaths::normalized(folder, index.macPathRules));

    QList<OrphanedHistory> orphans;
    for (auto it = groups.constBegin(); it != groups.constEnd(); ++it) {
        if (QFileInfo::exists(it.key()))
            continue;
        OrphanedHistory orphan{it.key(), it.value(), std::nullopt};
        std::stable_sort(orphan.sessions.begin(), orphan.sessions.end(),
                         [](const AgentSession& a, const AgentSession& b) {
                             return isNewer(dateOf(a), dateOf(b));
                         });
        orphan.suggestion = suggestionFor(orphan.missingPath, projects, index.home);
        orphans.append(orphan);
    }
    // Groups come out of the map sorted by path, which breaks ties of date.
    std::stable_sort(orphans.begin(), orphans.end(),
                     [](const OrphanedHistory& a, const OrphanedHistory& b) {
                         return isNewer(newestOf(a), newestOf(b));
                     });
    return orphans;
}

QHash<QString, QString> newPlaces(const AgentHistoryIndex& index,
                                  const QStringList& projectFolders) {
    QStringList candidates = projectFolders;
    QSet<QString> seen(projectFolders.cbegin(), projectFolders.cend());
    const auto consider = [&](const QString& folder) {
        if (!seen.contains(folder) && QFileInfo(folder).isDir()) {
            seen.insert(folder);
            candidates.append(folder);
        }
    };
    for (const AgentSession& session : index.sessions)
        consider(session.cwd);
    for (const AgentWorkspace& workspace : index.workspaces)
        consider(workspace.folder);
    QHash<QString, QString> places;
    QSet<QString> missing;
    for (const OrphanedHistory& orphan : find(index, candidates)) {
        missing.insert(orphan.missingPath);
        if (orphan.suggestion)
            places.insert(orphan.missingPath, *orphan.suggestion);
    }
    // The Claude app's records may name a folder no session of the index names any more.
    for (const AgentHistoryIndex::DesktopEntry& record : index.desktopRecords) {
        if (!record.cwd || missing.contains(*record.cwd) || QFileInfo::exists(*record.cwd))
            continue;
        missing.insert(*record.cwd);
        if (const std::optional<QString> place = suggestionFor(*record.cwd, candidates, index.home))
            places.insert(*record.cwd, *place);
    }
    return places;
}

std::optional<QString> repositoryRoot(const QString& path) {
    for (QString folder = Paths::standardized(path);; folder = Paths::parentPath(folder)) {
        if (entryExists(Paths::joined(folder, QStringLiteral(".git"))))
            return folder;
        if (folder == u'/' || folder.isEmpty())
            return std::nullopt;
    }
}

} // namespace corvane::OrphanFinder
