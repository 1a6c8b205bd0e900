// A real `corvane move` killed (SIGKILL) in the middle of relinking agent history, and what the
// next start of organize makes of it.

#include "agents/AgentFixtures.h"
#include "organize/OrganizeJournal.h"
#include "organize/OrganizeModel.h"
#include "platform/ProcessRunner.h"
#include "support/GitFixture.h"
#include "support/JsonText.h"
#include "support/TestEnvironment.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>
#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

ProcessResult runCorvane(const QStringList& arguments) {
    return ProcessRunner::system().run(s(CORVANE_EXECUTABLE), arguments, {}, {}, 120);
}

QString makeProject(const QString& path) {
    test::makeRepo(path);
    test::commitFiles(path, {{s("README.md"), "hello"}});
    return path;
}

QString desktopRecord(const QString& cwd) {
    return s("{\"sessionId\": \"local_1\", \"cliSessionId\": \"shop-session\", \"cwd\": \"") + cwd +
           s("\"}");
}

} // namespace

TEST(InterruptedMove, AMoveKilledDuringItsRelinkIsTakenBackExactlyAndUndoGoesNoFurther) {
    // A folder of its own in the home this test program shares between its tests.
    const QString home = test::makeTempDir(s("interrupted"));
    const AgentLocations locations = OrganizeModel::Services::system().agentLocations;
    const OrganizeJournal journal;
    const QString shop = makeProject(home + s("/projects/shop"));
    const QString blog = makeProject(home + s("/projects/blog"));
    // "/projects/shop" and "/projects-shop" share one Claude Code history folder.
    test::writeClaudeSessionIn(locations, shop, s("shop-session"));
    test::writeClaudeSessionIn(locations, home + s("/projects-shop"), s("neighbour"));
    const QString sharedFolder =
        QFileInfo(test::writeClaudeSessionIn(locations, shop, s("shop-2"))).absolutePath();
    const QString record = locations.claudeDesktopSessions.first() + s("/local_") +
                           QFileInfo(home).fileName() + s(".json");
    test::writeFile(record, desktopRecord(shop).toUtf8());
    const QByteArray config = "{\n  \"projects\": {\n    \"" + shop.toUtf8() +
                              "\": {\n      \"hasTrustDialogAccepted\": true\n    }\n  }\n}\n";
    test::writeFile(locations.claudeConfig, config);
    const QString database = locations.codexHome + s("/state_5.sqlite");
    sqlite3* codex = QFileInfo::exists(database) ? test::openDatabase(database)
                                                 : test::createCodexDatabase(database);
    const QString thread = s("thread-") + QFileInfo(home).fileName();
    test::insertThread(codex, thread, shop, s("x"), 1);

    // An earlier move, done and journaled: nothing that follows may take it back.
    const QString blogMoved = home + s("/Code/blog");
    ASSERT_EQ(runCorvane({s("move"), blog, blogMoved, s("--yes")}).exitCode, 0);
    const QList<OrganizeRun> journaled = journal.load();
    const QMap<QString, QString> ledger = locations.claudeFolderLedger.load();
    ASSERT_FALSE(journaled.isEmpty());
    ASSERT_EQ(journaled.last().moves.first().source, blog);

    // Codex is busy writing: the relink waits there, after it has moved the Claude Code history,
    // rewritten the desktop record and copied the project settings. There the move is killed.
    test::exec(codex, s("BEGIN IMMEDIATE"));
    const QString target = home + s("/Code/new/shop");
    QProcess move;
    move.start(s(CORVANE_EXECUTABLE), {s("move"), shop, target, s("--yes")});
    ASSERT_TRUE(move.waitForStarted());
    const bool midway = QTest::qWaitFor(
        [&] {
            return test::readBytes(journal.url()).contains("\"relinking\"") &&
                   test::readBytes(record).contains(target.toUtf8()) &&
                   test::readBytes(locations.claudeConfig).contains(target.toUtf8());
        },
        60000);
    move.kill();
    move.waitForFinished();
    test::exec(codex, s("ROLLBACK"));
    sqlite3_close(codex);
    ASSERT_TRUE(midway) << move.readAllStandardError().toStdString();
    ASSERT_TRUE(QFileInfo::exists(target + s("/README.md")));
    ASSERT_FALSE(QFileInfo::exists(sharedFolder + s("/shop-session.jsonl")));

    const ProcessResult undo = runCorvane({s("organize"), s("undo"), s("--yes"), s("--json")});
    ASSERT_EQ(undo.exitCode, 0) << undo.standardError.toStdString();
    const QJsonObject undone = test::parsed(QString::fromUtf8(undo.standardOutput));
    ASSERT_EQ(undone[u"restored"].toArray().size(), 1) << undo.standardOutput.toStdString();
    EXPECT_EQ(undone[u"restored"][0][u"source"].toString(), shop);

    // Exactly as before the move: the folder, its history (beside the neighbour's), the record,
    // the settings.
    EXPECT_TRUE(QFileInfo::exists(shop + s("/README.md")));
    EXPECT_FALSE(QFileInfo::exists(home + s("/Code/new")));
    EXPECT_EQ(test::sessionIDsIn(locations, shop),
              (QStringList{s("shop-2"), s("shop-session"), thread}));
    EXPECT_EQ(test::sessionIDsIn(locations, home + s("/projects-shop")),
              QStringList{s("neighbour")});
    EXPECT_TRUE(QFileInfo::exists(sharedFolder + s("/shop-session.jsonl")));
    EXPECT_EQ(test::readBytes(record), desktopRecord(shop).toUtf8());
    EXPECT_EQ(test::readBytes(locations.claudeConfig), config);
    EXPECT_EQ(locations.claudeFolderLedger.load(), ledger);
    // The earlier move stays done and is still the one to undo next.
    EXPECT_TRUE(QFileInfo::exists(blogMoved + s("/README.md")));
    EXPECT_EQ(journal.load(), journaled);
}
