#include "agents/AgentHistoryIndex.h"

#include "AgentFixtures.h"
#include "agents/EditorWorkspaces.h"
#include "platform/InputLimits.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

QStringList foldersOf(const QList<AgentWorkspace>& workspaces) {
    QStringList folders;
    for (const AgentWorkspace& workspace : workspaces)
        folders.append(workspace.folder);
    return folders;
}

void setModified(const QString& path, qint64 secondsSince1970) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(QDateTime::fromSecsSinceEpoch(secondsSince1970),
                                 QFileDevice::FileModificationTime));
}

void writeWorkspace(const QString& storage, const QString& id, const QByteArray& json) {
    test::writeFile(storage + u'/' + id + s("/workspace.json"), json);
}

} // namespace

TEST(AgentHistoryIndex, ClaudeSessionsTakeTheirFolderFromTheFileOrElseTheLedger) {
    const AgentLocations locations = test::makeAgentHome();
    test::writeClaudeSession(locations, s("-a-b"), s("native"),
                             "{\"type\":\"summary\"}\n{broken json \"cwd\"\n" +
                                 test::claudeLine(s("/a/b")));
    test::writeClaudeSessionIn(locations, s("/a/b"), s("agent-1"));
    // Moved here by a relink from /old/b: the file still names the old folder.
    test::writeClaudeSession(locations, s("-c-b"), s("moved"), test::claudeLine(s("/old/b")));
    // The first "cwd" lies beyond what is read.
    test::writeClaudeSession(locations, s("-c-b"), s("huge"),
                             "{\"pad\":\"" + QByteArray(600'000, 'x') + "\"}\n" +
                                 test::claudeLine(s("/elsewhere")));
    test::writeClaudeSession(locations, s("-unknown"), s("lost"), "{\"type\":\"summary\"}\n");
    ASSERT_EQ(locations.claudeFolderLedger.record(s("-c-b"), s("/c/b")).error, QString());

    const AgentHistoryIndex index = AgentHistoryIndex::build(locations);
    EXPECT_EQ(test::idsOf(index.sessionsIn(s("/a/b"))), QStringList{s("native")});
    EXPECT_EQ(test::sessionIDsIn(locations, s("/c/b")), (QStringList{s("huge"), s("moved")}));
    EXPECT_EQ(index.sessions.size(), 3);
}

TEST(AgentHistoryIndex, DesktopRecordsLendTheirIdTitleAndLastActivity) {
    const AgentLocations locations = test::makeAgentHome();
    test::writeClaudeSessionIn(locations, s("/p"), s("cli-1"));
    test::writeClaudeSessionIn(locations, s("/p"), s("cli-2"));
    const QString macRecords = locations.claudeDesktopSessions[0];
    const QString linuxRecords = locations.claudeDesktopSessions[1];
    test::writeFile(macRecords + s("/nested/deeper/local_a.json"),
                    R"({"sessionId":"local_a","cliSessionId":"cli-1","title":"Old",
                        "lastActivityAt":1753650000000,"isArchived":true,"cwd":"/p"})");
    test::writeFile(linuxRecords + s("/local_b.json"),
                    R"({"sessionId":"local_b","cliSessionId":"cli-1","title":"Current",
                        "lastActivityAt":1753640000500,"originCwd":"/tmp/p"})");
    test::writeFile(linuxRecords + s("/local_c.json"), "{ not json");
    test::writeFile(linuxRecords + s("/other_d.json"),
                    R"({"sessionId":"other_d","cliSessionId":"cli-2","title":"Ignored"})");

    const QList<AgentHistoryIndex::DesktopEntry> entries =
        AgentHistoryIndex::desktopEntries(locations.claudeDesktopSessions, true);
    ASSERT_EQ(entries.size(), 2);
    EXPECT_TRUE(entries[0].isArchived);
    EXPECT_EQ(entries[1].cwd, s("/private/tmp/p"));

    // The record still in use wins over the archived one, though that is more recent.
    const QList<AgentSession> sessions = AgentHistoryIndex::build(locations).sessionsIn(s("/p"));
    ASSERT_EQ(sessions.size(), 2);
    for (const AgentSession& session : sessions) {
        if (session.id == s("cli-1")) {
            EXPECT_EQ(session.desktopID, s("local_b"));
            EXPECT_EQ(session.title, s("Current"));
            EXPECT_EQ(session.updatedAt->toMSecsSinceEpoch(), 1753640000500);
        } else {
            EXPECT_FALSE(session.desktopID);
            EXPECT_FALSE(session.title);
        }
    }
}

TEST(AgentHistoryIndex, EditorWorkspacesAreLocalFoldersOnly) {
    EXPECT_EQ(EditorWorkspaces::localFolder(s("file:///Users/me/My%20Projects/caf%C3%A9-app")),
              s("/Users/me/My Projects/café-app"));
    EXPECT_EQ(EditorWorkspaces::localFolder(s("file:///a/%23hash")), s("/a/#hash"));
    EXPECT_FALSE(EditorWorkspaces::localFolder(
        s("vscode-remote://ssh-remote%2Bbuild-box/home/me/shop-api")));
    EXPECT_FALSE(EditorWorkspaces::localFolder(s("file://server/share/x")));

    const AgentLocations locations = test::makeAgentHome();
    const EditorStorage& linuxCursor = locations.editorStorages[4];
    writeWorkspace(linuxCursor.url, s("1"), R"({"folder": "file:///w/app"})");
    writeWorkspace(linuxCursor.url, s("2"),
                   R"({"workspace": "file:///w/platform.code-workspace"})");
    writeWorkspace(linuxCursor.url, s("3"), R"({"folder": "vscode-remote://x/w/app"})");
    writeWorkspace(linuxCursor.url, s("4"), "{ not json");
    QDir().mkpath(linuxCursor.url + s("/5-empty-window"));
    writeWorkspace(linuxCursor.url, s("6"), {});
    ASSERT_TRUE(
        QFile(linuxCursor.url + s("/6/workspace.json")).resize(InputLimits::smallFileBytes + 1));
    const QString state = linuxCursor.url + s("/1/state.vscdb");
    test::writeFile(state);
    setModified(state, 1753650000);
    const QString macCode = locations.editorStorages[1].url;
    writeWorkspace(macCode, s("a"), R"({"folder": "file:///w/app/sub"})");
    setModified(macCode + s("/a/workspace.json"), 1753000000);

    const AgentHistoryIndex index = AgentHistoryIndex::build(locations);
    ASSERT_EQ(index.workspaces.size(), 2);
    const QList<AgentActivity> activities = index.activities(s("/w/app"));
    ASSERT_EQ(activities.size(), 2);
    EXPECT_EQ(activities[0].agent, AgentKind::cursor);
    EXPECT_EQ(activities[0].workspaces[0].lastUsedAt->toSecsSinceEpoch(), 1753650000);
    EXPECT_EQ(activities[1].agent, AgentKind::vscode);
    EXPECT_EQ(activities[1].workspaces[0].lastUsedAt->toSecsSinceEpoch(), 1753000000);

    // A file that cannot be read is named, once; a window without a folder has none to name.
    ASSERT_EQ(index.problems.size(), 2) << index.problems.join(u'\n').toStdString();
    EXPECT_TRUE(index.problems[0].startsWith(s("Could not read ") + linuxCursor.url +
                                             s("/4/workspace.json: it is not valid JSON")));
    EXPECT_EQ(index.problems[1], s("Could not read ") + linuxCursor.url +
                                     s("/6/workspace.json: it is larger than 1 MB, more than "
                                       "such a file can be"));
}

TEST(AgentHistoryIndex, FoldersMatchThemselvesAndWhatIsInsideNeverASiblingPrefix) {
    AgentHistoryIndex index;
    const auto session = [](const char* id, const char* cwd) {
        return AgentSession{
            AgentKind::codex, QLatin1String(id), {}, {}, QLatin1String(cwd), {}, {}};
    };
    index.sessions = {session("same", "/a/b"), session("inside", "/a/b/src"),
                      session("sibling", "/a/bc"), session("parent", "/a")};
    index.workspaces = {{AgentKind::vscode, s("/a/bc"), {}, {}, {}, {}},
                        {AgentKind::vscode, s("/a/b/x"), {}, {}, {}, {}}};
    EXPECT_EQ(test::idsOf(index.sessionsIn(s("/a/b"))), (QStringList{s("same"), s("inside")}));
    EXPECT_EQ(test::idsOf(index.sessionsIn(s("/a/b/"))), (QStringList{s("same"), s("inside")}));
    EXPECT_EQ(foldersOf(index.workspacesIn(s("/a/b"))), QStringList{s("/a/b/x")});

    // Under the macOS rule both spellings of a temporary folder are one folder.
    index.macPathRules = true;
    index.sessions = {session("tmp", "/private/tmp/x")};
    EXPECT_EQ(test::idsOf(index.sessionsIn(s("/tmp/x"))), QStringList{s("tmp")});
    EXPECT_EQ(test::idsOf(index.sessionsIn(s("/private/tmp/x/"))), QStringList{s("tmp")});
}

TEST(AgentHistoryIndex, SessionsStartedInTheEnclosingFolderAreMarked) {
    AgentHistoryIndex index;
    index.home = s("/home/me");
    const auto session = [](const char* id, const char* cwd, qint64 updated) {
        return AgentSession{AgentKind::claudeCode,
                            QLatin1String(id),
                            {},
                            {},
                            QLatin1String(cwd),
                            QDateTime::fromSecsSinceEpoch(updated),
                            {}};
    };
    index.sessions = {
        session("old", "/home/me/code/app", 100), session("parent", "/home/me/code", 300),
        session("new", "/home/me/code/app/web", 200), session("home", "/home/me", 400),
        session("neighbour", "/home/me/code/other", 500)};

    const QList<AgentActivity> activities = index.activities(s("/home/me/code/app"));
    ASSERT_EQ(activities.size(), 1);
    EXPECT_EQ(test::idsOf(activities[0].sessions), (QStringList{s("parent"), s("new"), s("old")}));
    EXPECT_EQ(activities[0].parentFolderSessionIDs, QSet<QString>{s("parent")});
    EXPECT_EQ(activities[0].parentFolderName, s("code"));

    // A project right in the home folder: sessions in the home folder are about everything.
    const QList<AgentActivity> inHome = index.activities(s("/home/me/code"));
    ASSERT_EQ(inHome.size(), 1);
    EXPECT_TRUE(inHome[0].parentFolderSessionIDs.isEmpty());
    EXPECT_FALSE(inHome[0].parentFolderName);
    EXPECT_TRUE(index.activities(s("/elsewhere")).isEmpty());
}

TEST(AgentHistoryIndex, MissingOrBrokenSourcesContributeNothing) {
    AgentLocations locations = test::makeAgentHome();
    test::writeFile(locations.claudeProjects + s("/-x/s.jsonl"), QByteArray("\0\xff\n", 3));
    test::writeFile(locations.claudeFolderLedger.url, "[1, 2");
    test::writeFile(locations.codexHome + s("/state_1.sqlite"), "garbage");
    // A storage path that is a file, not a folder.
    test::writeFile(locations.editorStorages[0].url);
    const AgentHistoryIndex index = AgentHistoryIndex::build(locations);
    EXPECT_TRUE(index.sessions.isEmpty());
    EXPECT_TRUE(index.workspaces.isEmpty());
}
