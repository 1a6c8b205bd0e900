#include "agents/AgentRelinker.h"

#include "AgentFixtures.h"
#include "agents/AgentHistoryIndex.h"
#include "support/TestEnvironment.h"

#include <QDirIterator>
#include <QMap>
#include <gtest/gtest.h>

using namespace corvane;

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
        test::writeClaudeSession(locations, folder, folder + QStringLiteral("-s"),
                                 test::claudeLine(cwd));
        test::writeFile(locations.claudeDesktopSessions[1] + QStringLiteral("/local_") + folder +
                            QStringLiteral(".json"),
                        "{\"sessionId\": \"local" + folder.toUtf8() + "\", \"cliSessionId\": \"" +
                            folder.toUtf8() + "-s\", \"cwd\": \"" + cwd.toUtf8() + "\"}");
    }
    test::writeFile(locations.claudeConfig, "{\n  \"projects\": {\n    \"/work/app\": {\"t\": 1},\n"
                                            "    \"/work/apple\": {\"t\": 2}\n  }\n}\n");
    sqlite3* database =
        test::createCodexDatabase(locations.codexHome + QStringLiteral("/state_5.sqlite"));
    test::insertThread(database, QStringLiteral("t1"), QStringLiteral("/work/app/web"),
                       QStringLiteral("x"), 1);
    test::insertThread(database, QStringLiteral("t2"), QStringLiteral("/work/apple"),
                       QStringLiteral("x"), 1);
    sqlite3_close(database);
    test::writeFile(locations.codexHome + QStringLiteral("/config.toml"),
                    "[projects.\"/work/app\"]\ntrust_level = \"trusted\"\n");
}

QStringList sessionIDsIn(const AgentLocations& locations, const QString& folder) {
    QStringList ids;
    for (const AgentSession& session : AgentHistoryIndex::build(locations).sessionsIn(folder))
        ids.append(session.id);
    ids.sort();
    return ids;
}

} // namespace

TEST(AgentRelinker, HistoryFollowsTheProjectInEveryStoreAndComesBackOnUndo) {
    const AgentLocations locations = test::makeAgentHome();
    fillEveryStore(locations);
    const AgentRelinker relinker{locations};
    const QString oldPath = QStringLiteral("/work/app");
    const QString newPath = QStringLiteral("/projects/app");
    const QMap<QString, QByteArray> before = snapshot(locations.home);

    const RelinkReport preview = relinker.preview(oldPath, newPath);
    EXPECT_EQ(snapshot(locations.home), before);
    EXPECT_FALSE(QFile::exists(locations.claudeFolderLedger.url));

    const RelinkReport report = relinker.relink(oldPath, newPath);
    EXPECT_TRUE(report.warnings.isEmpty()) << report.warnings.join(u'\n').toStdString();
    EXPECT_EQ(report.claudeHistoryFolders, 1);
    EXPECT_EQ(report.claudeDesktopSessions, 1);
    EXPECT_EQ(report.claudeProjectSettings, 1);
    EXPECT_EQ(report.codexThreads, 1);
    EXPECT_EQ(report.codexProjectRoots, 0);
    EXPECT_EQ(report.codexTrustEntries, 1);
    EXPECT_EQ(preview, report);

    // Every session of the project is found at the new place, none of the neighbour's.
    EXPECT_EQ(sessionIDsIn(locations, newPath),
              (QStringList{QStringLiteral("-work-app-s"), QStringLiteral("t1")}));
    EXPECT_EQ(sessionIDsIn(locations, QStringLiteral("/work/apple")),
              (QStringList{QStringLiteral("-work-apple-s"), QStringLiteral("t2")}));
    EXPECT_TRUE(sessionIDsIn(locations, oldPath).isEmpty());

    const RelinkReport undone = relinker.undo(report, oldPath, newPath);
    EXPECT_TRUE(undone.warnings.isEmpty()) << undone.warnings.join(u'\n').toStdString();
    EXPECT_EQ(sessionIDsIn(locations, oldPath),
              (QStringList{QStringLiteral("-work-app-s"), QStringLiteral("t1")}));
    EXPECT_TRUE(sessionIDsIn(locations, newPath).isEmpty());
    // Back as before, except for the settings copied to the new path: they stay, harmlessly.
    QMap<QString, QByteArray> after = snapshot(locations.home);
    after.remove(locations.claudeFolderLedger.url.mid(locations.home.size()));
    const QString config = locations.claudeConfig.mid(locations.home.size());
    EXPECT_TRUE(after.take(config).contains("\"/projects/app\":{\"t\":1},"));
    QMap<QString, QByteArray> expected = before;
    expected.remove(config);
    // The database's pages change with any write; its rows are what must come back.
    const QString database = QStringLiteral("/.codex/state_5.sqlite");
    after.remove(database);
    expected.remove(database);
    sqlite3* connection = nullptr;
    sqlite3_open(QFile::encodeName(locations.home + database).constData(), &connection);
    EXPECT_EQ(test::queryColumn(connection, QStringLiteral("SELECT cwd FROM threads ORDER BY id")),
              (QStringList{QStringLiteral("/work/app/web"), QStringLiteral("/work/apple")}));
    sqlite3_close(connection);
    EXPECT_EQ(after.keys(), expected.keys());
    for (auto file = expected.begin(); file != expected.end(); ++file)
        EXPECT_EQ(after.value(file.key()), file.value()) << file.key().toStdString();
}

TEST(AgentRelinker, NothingIsDoneForPathsThatAreNotAbsoluteOrTheSame) {
    const AgentLocations locations = test::makeAgentHome();
    fillEveryStore(locations);
    const QMap<QString, QByteArray> before = snapshot(locations.home);
    const AgentRelinker relinker{locations};
    EXPECT_EQ(relinker.relink(QStringLiteral("/work/app"), QStringLiteral("/work/app")),
              RelinkReport{});
    EXPECT_EQ(relinker.relink(QStringLiteral("work/app"), QStringLiteral("/x")).warnings.size(), 1);
    EXPECT_EQ(relinker.relink(QStringLiteral("/work/app"), QString()).warnings.size(), 1);
    EXPECT_EQ(snapshot(locations.home), before);
}
