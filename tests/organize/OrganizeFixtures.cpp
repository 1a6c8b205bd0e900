#include "OrganizeFixtures.h"

#include "../agents/AgentFixtures.h"
#include "support/GitFixture.h"

#include <QDirIterator>
#include <QFileInfo>

namespace corvane::test {

QMap<QString, QByteArray> folderSnapshot(const QString& folder) {
    QMap<QString, QByteArray> entries;
    QDirIterator walker(folder,
                        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
    while (walker.hasNext()) {
        const QString path = walker.next();
        const QFileInfo info(path);
        const QString relative = path.mid(folder.size());
        if (info.isSymLink())
            entries.insert(relative, "link to " + info.symLinkTarget().toUtf8());
        else if (info.isDir())
            entries.insert(relative, "folder");
        else
            entries.insert(relative, "file " + readBytes(path));
    }
    return entries;
}

void makeProject(const AgentLocations& locations, const QString& path, const QString& sessionID) {
    makeRepo(path);
    commitFiles(path, {{QStringLiteral("README.md"), "# " + sessionID.toUtf8() + '\n'},
                       {QStringLiteral("src/main.c"), "int main(void) { return 0; }\n"}});
    writeClaudeSessionIn(locations, path, sessionID);
}

OrganizeEntry readyEntry(const QString& path, const QString& destinationRoot,
                         const std::optional<QString>& group) {
    OrganizeEntry entry;
    entry.candidate.path = path;
    entry.group = group;
    entry.destinationRoot = destinationRoot;
    entry.status = OrganizeStatus::of(OrganizeStatus::Case::ready);
    return entry;
}

ProjectMover moverFor(const AgentLocations& locations) {
    return ProjectMover{AgentRelinker{locations}, ProcessInspector(),
                        KeepStore(locations.home + QStringLiteral("/support/keep.json"))};
}

OrganizeExecutor executorFor(const AgentLocations& locations) {
    return OrganizeExecutor{
        moverFor(locations),
        OrganizeJournal(locations.home + QStringLiteral("/support/organize-journal.json")),
        locations.home};
}

} // namespace corvane::test
