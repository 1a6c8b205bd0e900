#include "cli/OrganizeCommands.h"

#include "agents/AgentFixtures.h"
#include "cli/Command.h"
#include "organize/OrganizeJournal.h"
#include "support/GitFixture.h"
#include "support/JsonText.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSettings>
#include <gtest/gtest.h>

using namespace corvane;
using test::parsed;
using namespace corvane::cli;
using test::s;

namespace {

// Projects scattered in the fake home of this test process, with agent history, the way the
// commands find them for a real user.
class OrganizeCommandsTest : public testing::Test {
protected:
    void SetUp() override {
        home = test::fakeHome();
        services = OrganizeModel::Services::system();
        shop = makeProject(s("/projects/shop"));
        test::addRemote(shop, s("origin"), s("git@github.com:acme/shop.git"));
        blog = makeProject(s("/Desktop/old/blog"));
        test::writeClaudeSessionIn(services.agentLocations, shop, s("shop-session"));
    }

    QString makeProject(const QString& below) {
        const QString path = home + below;
        test::makeRepo(path);
        test::commitFiles(path, {{s("README.md"), "hello"}});
        return path;
    }

    QString home;
    OrganizeModel::Services services;
    QString shop;
    QString blog;
    QString out;
    QString err;
};

QStringList pathsOf(const QJsonArray& entries, const char* key) {
    QStringList paths;
    for (const QJsonValue& entry : entries)
        paths.append(entry[QLatin1String(key)].toString());
    return paths;
}

} // namespace

TEST_F(OrganizeCommandsTest, PlanPrintsEveryEntryInPlanOrderAndNeverChangesTheRememberedChoices) {
    test::writeFile(home + s("/.zshrc"), "export PATH=\"$HOME/code/tool/bin:$PATH\"\n");
    const QString tool = makeProject(s("/code/tool"));
    Console console(&out, &err);
    OrganizeRequest request;
    request.destination = home + s("/Code");
    request.layout = s("by-owner");
    request.additions = {home, s("/etc")};
    request.json = true;

    EXPECT_EQ(runOrganizePlan(request, console, services), exitRefusedOrBadArguments);
    const QJsonObject plan = parsed(out);
    EXPECT_EQ(plan[u"destination"].toString(), home + s("/Code"));
    EXPECT_EQ(plan[u"layout"].toString(), s("byOwner"));
    const QJsonArray entries = plan[u"entries"].toArray();
    // Found folders come sorted by path: "Desktop" sorts before "code".
    EXPECT_EQ(pathsOf(entries, "path"), (QStringList{blog, tool, shop}));
    const QJsonObject toolEntry = entries[1].toObject();
    EXPECT_EQ(toolEntry[u"status"].toString(), s("usedByShell"));
    EXPECT_EQ(toolEntry[u"statusDetail"].toString(), s(".zshrc"));
    EXPECT_EQ(toolEntry[u"reason"].toString(),
              s("tool is listed but cannot move: .zshrc points into it; moving it would break "
                "your terminal setup"));
    const QJsonObject shopEntry = entries[2].toObject();
    EXPECT_EQ(shopEntry[u"status"].toString(), s("ready"));
    EXPECT_EQ(shopEntry[u"group"].toString(), s("acme"));
    EXPECT_EQ(shopEntry[u"target"].toString(), home + s("/Code/acme/shop"));
    EXPECT_EQ(shopEntry[u"gitRemote"].toString(), s("git@github.com:acme/shop.git"));
    EXPECT_EQ(shopEntry[u"leadingAgent"].toString(), rawValue(AgentKind::claudeCode));
    EXPECT_TRUE(shopEntry[u"hasAgentSessions"].toBool());
    EXPECT_TRUE(shopEntry[u"reason"].isNull());
    EXPECT_TRUE(shopEntry[u"statusDetail"].isNull());
    EXPECT_EQ(entries[0][u"group"].toString(), s("local"));

    const QJsonArray refused = plan[u"refused"].toArray();
    ASSERT_EQ(refused.size(), 2);
    EXPECT_EQ(refused[0][u"message"].toString(),
              s("Your home folder itself cannot be moved. Choose a project folder inside it."));
    EXPECT_EQ(refused[1][u"message"].toString(),
              s("Organize gathers projects from your home folder; /etc is outside it."));
    const QSettings settings;
    EXPECT_FALSE(settings.contains(OrganizeModel::destinationKey));
    EXPECT_FALSE(settings.contains(OrganizeModel::layoutKey));
}

TEST_F(OrganizeCommandsTest, ADryRunChangesNothingAndARunWithoutYesOffATerminalIsRefused) {
    Console console(&out, &err);
    OrganizeRequest request;
    request.dryRun = true;
    request.json = true;
    request.layout = s("flat");
    EXPECT_EQ(runOrganize(request, console, services), exitOk);
    const QJsonObject dryRun = parsed(out);
    EXPECT_TRUE(dryRun[u"dryRun"].toBool());
    EXPECT_EQ(pathsOf(dryRun[u"wouldMove"].toArray(), "target"),
              (QStringList{home + s("/Code/blog"), home + s("/Code/shop")}));

    out.clear();
    request.dryRun = false;
    EXPECT_EQ(runOrganize(request, console, services), exitRefusedOrBadArguments);
    EXPECT_TRUE(err.contains(s("confirm with --yes")));
    EXPECT_TRUE(QFileInfo::exists(shop));
    EXPECT_TRUE(QFileInfo::exists(blog));
    EXPECT_FALSE(QFileInfo::exists(services.journalURL));

    // A person who answers no on a terminal moves nothing either.
    console.canAsk = true;
    console.ask = [](const QString&) { return false; };
    EXPECT_EQ(runOrganize(request, console, services), exitOk);
    EXPECT_TRUE(QFileInfo::exists(shop));
    EXPECT_FALSE(QFileInfo::exists(services.journalURL));
}

TEST_F(OrganizeCommandsTest, ARunMovesWithHistoryAndUndoPutsItAllBack) {
    Console console(&out, &err);
    OrganizeRequest request;
    request.layout = s("by-agent");
    request.yes = true;
    request.json = true;
    ASSERT_EQ(runOrganize(request, console, services), exitOk) << err.toStdString();
    const QJsonObject run = parsed(out)[u"run"].toObject();
    EXPECT_EQ(run.keys(), (QStringList{s("date"), s("id"), s("moves"), s("trashedEmptyFolders")}));
    const QJsonArray moves = run[u"moves"].toArray();
    EXPECT_EQ(pathsOf(moves, "destination"),
              (QStringList{home + s("/Code/local/blog"), home + s("/Code/claude/shop")}));
    EXPECT_EQ(moves[1].toObject().keys(),
              (QStringList{s("createdFolders"), s("destination"), s("movedFolder"), s("relink"),
                           s("source")}));
    // Desktop/old held only blog; it went to the Trash, and the shop session follows the shop.
    EXPECT_EQ(run[u"trashedEmptyFolders"].toArray().first().toString(), home + s("/Desktop/old"));
    EXPECT_EQ(test::sessionIDsIn(services.agentLocations, home + s("/Code/claude/shop")),
              QStringList{s("shop-session")});
    EXPECT_TRUE(QFileInfo::exists(home + s("/Code/claude/shop/README.md")));
    // The session files still name the old folder; the ledger says where their history went, so
    // nothing of it is taken for history whose folder is gone.
    out.clear();
    ASSERT_EQ(runOrphans(true, console, services), exitOk);
    EXPECT_TRUE(parsed(out)[u"orphans"].toArray().isEmpty()) << out.toStdString();

    out.clear();
    ASSERT_EQ(runOrganizeUndo(true, true, console, services), exitOk) << err.toStdString();
    const QJsonObject undo = parsed(out);
    EXPECT_EQ(pathsOf(undo[u"restored"].toArray(), "source"), (QStringList{shop, blog}));
    EXPECT_TRUE(undo[u"failures"].toArray().isEmpty());
    EXPECT_TRUE(QFileInfo::exists(shop + s("/README.md")));
    EXPECT_TRUE(QFileInfo::exists(blog + s("/README.md")));
    EXPECT_FALSE(QFileInfo::exists(home + s("/Code/claude")));
    EXPECT_EQ(test::sessionIDsIn(services.agentLocations, shop), QStringList{s("shop-session")});

    out.clear();
    EXPECT_EQ(runOrganizeUndo(true, false, console, services), exitOk);
    EXPECT_EQ(out, s("Nothing to undo.\n"));
}

TEST_F(OrganizeCommandsTest, ASingleMoveIsJournaledSoUndoPutsItBackAndARefusalChangesNothing) {
    Console console(&out, &err);
    const QString target = home + s("/work/shop");
    ASSERT_EQ(runMove(shop, target, true, true, console, services), exitOk) << err.toStdString();
    const QJsonObject move = parsed(out)[u"move"].toObject();
    EXPECT_EQ(move[u"source"].toString(), shop);
    EXPECT_EQ(move[u"destination"].toString(), target);
    EXPECT_EQ(move[u"createdFolders"].toArray().first().toString(), home + s("/work"));
    EXPECT_TRUE(move[u"movedFolder"].toBool());

    out.clear();
    EXPECT_EQ(runMove(target, target + s("/inside"), true, true, console, services),
              exitSomeFailed);
    EXPECT_EQ(parsed(out)[u"failed"].toString(), s("Cannot move a folder into itself."));
    EXPECT_TRUE(QFileInfo::exists(target + s("/README.md")));

    out.clear();
    ASSERT_EQ(runOrganizeUndo(true, true, console, services), exitOk);
    EXPECT_TRUE(QFileInfo::exists(shop + s("/README.md")));
    EXPECT_FALSE(QFileInfo::exists(home + s("/work")));
}

TEST_F(OrganizeCommandsTest, OrphansNameTheMissingFolderItsSessionsAndWhereItProbablyIs) {
    test::writeClaudeSessionIn(services.agentLocations, home + s("/old-place/blog"),
                               s("lost-session"));
    Console console(&out, &err);
    ASSERT_EQ(runOrphans(true, console, services), exitOk);
    const QJsonArray orphans = parsed(out)[u"orphans"].toArray();
    ASSERT_EQ(orphans.size(), 1);
    EXPECT_EQ(orphans[0][u"missingPath"].toString(), home + s("/old-place/blog"));
    EXPECT_EQ(orphans[0][u"suggestion"].toString(), blog);
    const QJsonObject session = orphans[0][u"sessions"][0].toObject();
    EXPECT_EQ(session[u"id"].toString(), s("lost-session"));
    EXPECT_EQ(session[u"agent"].toString(), rawValue(AgentKind::claudeCode));
}

TEST_F(OrganizeCommandsTest, TheCommandLineParsesItsOptionsAndFindsProcesses) {
    const QString corvane = s(CORVANE_EXECUTABLE);
    const auto run = [&corvane](const QStringList& arguments) {
        return ProcessRunner::system().run(corvane, arguments, {}, {}, 60);
    };
    const ProcessResult badLayout = run({s("organize"), s("plan"), s("--layout"), s("by-size")});
    EXPECT_EQ(badLayout.exitCode, exitRefusedOrBadArguments);
    EXPECT_TRUE(badLayout.standardError.contains("by-agent, by-owner or flat"));

    const ProcessResult plan = run({s("organize"), s("plan"), s("--to"), home + s("/Sorted")});
    EXPECT_EQ(plan.exitCode, exitOk) << plan.standardError.toStdString();
    EXPECT_TRUE(plan.standardOutput.contains(
        QString(shop + s(" -> ") + home + s("/Sorted/claude/shop")).toUtf8()))
        << plan.standardOutput.toStdString();

    QProcess child;
    child.setWorkingDirectory(shop);
    child.start(s("/bin/sleep"), {s("30")});
    ASSERT_TRUE(child.waitForStarted());
    const qint64 pid = child.processId();
    const ProcessResult processes = run({s("processes"), shop, s("--json")});
    const ProcessResult busyPlan = run({s("organize"), s("plan"), s("--json")});
    child.kill();
    child.waitForFinished();
    if (!QFileInfo::exists(s("/usr/bin/lsof")) && !QFileInfo::exists(s("/usr/sbin/lsof")))
        GTEST_SKIP() << "lsof is not installed here";
    const QJsonArray listed =
        QJsonDocument::fromJson(processes.standardOutput).object()[u"processes"].toArray();
    ASSERT_EQ(listed.size(), 1) << processes.standardOutput.toStdString();
    EXPECT_EQ(listed[0][u"pid"].toInteger(), pid);
    EXPECT_EQ(listed[0][u"displayName"].toString(), s("process sleep"));
    const QJsonArray entries =
        QJsonDocument::fromJson(busyPlan.standardOutput).object()[u"entries"].toArray();
    ASSERT_EQ(entries.size(), 2);
    EXPECT_EQ(entries[1][u"status"].toString(), s("busy"));
    EXPECT_EQ(entries[1][u"statusDetail"].toString(), s("process sleep"));
}
