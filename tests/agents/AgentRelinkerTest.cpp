#include "agents/AgentRelinker.h"

#include "AgentFixtures.h"
#include "agents/AgentHistoryIndex.h"
#include "support/TestEnvironment.h"

#include <QDirIterator>
#include <QMap>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// Every file under the home with its contents: what a dry run must leave exactly as it was.
QMap<QString, QByteArray> snapshot(const QString& home) {
    QMap<QString, QByteArray> files;
    QDirIterator walker(home, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (walker.hasNext()) {
        const QString path = walker.next();
        files.insert(path.mid(home.size()), test::readBytes(path));
    }
    return files;
}

// One project at /work/app in every store, plus a neighbour at /work/apple.
void fillEveryStore(const AgentLocations& locations) {
    for (const char* path : {"/work/app", "/work/apple"}) {
        const QString cwd = QLatin1String(path);
        const QString folder = QString(cwd).replace(u'/', u'-');
        test::writeClaudeSession(locations, folder, folder + s("-s"), test::claudeLine(cwd));
        test::writeFile(locations.claudeDesktopSessions[1] + s("/local_") + folder + s(".json"),
                        "{\"sessionId\": \"local" + folder.toUtf8() + "\", \"cliSessionId\": \"" +
                            folder.toUtf8() + "-s\", \"cwd\": \"" + cwd.toUtf8() + "\"}");
    }
    test::writeFile(locations.claudeConfig, "{\n  \"projects\": {\n    \"/work/app\": {\"t\": 1},\n"
                                            "    \"/work/apple\": {\"t\": 2}\n  }\n}\n");
    sqlite3* database = test::createCodexDatabase(locations.codexHome + s("/state_5.sqlite"));
    test::insertThread(database, s("t1"), s("/work/app/web"), s("x"), 1);
    test::insertThread(database, s("t2"), s("/work/apple"), s("x"), 1);
    sqlite3_close(database);
    test::writeFile(locations.codexHome + s("/config.toml"),
                    "[projects.\"/work/app\"]\ntrust_level = \"trusted\"\n");
}

} // namespace

TEST(AgentRelinker, HistoryFollowsTheProjectInEveryStoreOnlyWhenAskedAndComesBackOnUndo) {
    const AgentLocations locations = test::makeAgentHome();
    fillEveryStore(locations);
    const AgentRelinker relinker{locations};
    const QString oldPath = s("/work/app");
    const QString newPath = s("/projects/app");
    const QMap<QString, QByteArray> before = snapshot(locations.home);

    // Paths that are not absolute, or the same, do nothing; neither does a preview.
    EXPECT_EQ(relinker.relink(oldPath, oldPath), RelinkReport{});
    EXPECT_EQ(relinker.relink(s("work/app"), newPath).warnings.size(), 1);
    EXPECT_EQ(relinker.relink(oldPath, QString()).warnings.size(), 1);
    const RelinkReport preview = relinker.preview(oldPath, newPath);
    EXPECT_EQ(snapshot(locations.home), before);
    EXPECT_FALSE(QFile::exists(locations.claudeFolderLedger.url));

    const RelinkReport report = relinker.relink(oldPath, newPath);
    EXPECT_EQ(report.warnings, QStringList());
    EXPECT_EQ(report.claudeHistoryFolders, 1);
    EXPECT_EQ(report.claudeDesktopSessions, 1);
    EXPECT_EQ(report.claudeProjectSettings, 1);
    EXPECT_EQ(report.codexThreads, 1);
    EXPECT_EQ(report.codexProjectRoots, 0);
    EXPECT_EQ(report.codexTrustEntries, 1);
    EXPECT_EQ(preview, report);

    // Every session of the project is found at the new place, none of the neighbour's.
    EXPECT_EQ(test::sessionIDsIn(locations, newPath), (QStringList{s("-work-app-s"), s("t1")}));
    EXPECT_EQ(test::sessionIDsIn(locations, s("/work/apple")),
              (QStringList{s("-work-apple-s"), s("t2")}));
    EXPECT_TRUE(test::sessionIDsIn(locations, oldPath).isEmpty());

    const RelinkReport undone = relinker.undo(report, oldPath, newPath);
    EXPECT_EQ(undone.warnings, QStringList());
    EXPECT_EQ(test::sessionIDsIn(locations, oldPath), (QStringList{s("-work-app-s"), s("t1")}));
    EXPECT_TRUE(test::sessionIDsIn(locations, newPath).isEmpty());
    // Back as before, except for the settings copied to the new path: they stay, harmlessly.
    QMap<QString, QByteArray> after = snapshot(locations.home);
    after.remove(locations.claudeFolderLedger.url.mid(locations.home.size()));
    const QString config = locations.claudeConfig.mid(locations.home.size());
    EXPECT_TRUE(after.take(config).contains("\"/projects/app\":{\"t\":1},"));
    QMap<QString, QByteArray> expected = before;
    expected.remove(config);
    // The database's pages change with any write; its rows came back, as the sessions show.
    const QString database = s("/.codex/state_5.sqlite");
    after.remove(database);
    expected.remove(database);
    EXPECT_EQ(after, expected);
}
