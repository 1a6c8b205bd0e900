#include "agents/AgentHistoryIndex.h"

#include "AgentFixtures.h"
#include "agents/EditorWorkspaces.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

QStringList idsOf(const QList<AgentSession>& sessions) {
    QStringList ids;
    for (const AgentSession& session : sessions)
        ids.append(session.id);
    return ids;
}

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
    test::writeFile(storage + u'/' + id + QStringLiteral("/workspace.json"), json);
}

} // namespace

TEST(AgentHistoryIndex, ClaudeSessionsTakeTheirFolderFromTheFileOrElseTheLedger) {
    const AgentLocations locations = test::makeAgentHome();
    test::writeClaudeSession(locations, QStringLiteral("-a-b"), QStringLiteral("native"),
                             "{\"type\":\"summary\"}\n{broken json \"cwd\"\n" +
                                 test::claudeLine(QStringLiteral("/a/b")));
    test::writeClaudeSession(locations, QStringLiteral("-a-b"), QStringLiteral("agent-1"),
                             test::claudeLine(QStringLiteral("/a/b")));
    // Moved here by a relink from /old/b: the file still names the old folder.
    test::writeClaudeSession(locations, QStringLiteral("-c-b"), QStringLiteral("moved"),
                             test::claudeLine(QStringLiteral("/old/b")));
    // The first "cwd" lies beyond what is read.
    test::writeClaudeSession(locations, QStringLiteral("-c-b"), QStringLiteral("huge"),
                             "{\"pad\":\"" + QByteArray(600'000, 'x') + "\"}\n" +
                                 test::claudeLine(QStringLiteral("/elsewhere")));
    test::writeClaudeSession(locations, QStringLiteral("-unknown"), QStringLiteral("lost"),
                             "{\"type\":\"summary\"}\n");
    ASSERT_EQ(locations.claudeFolderLedger.record(QStringLiteral("-c-b"), QStringLiteral("/c/b")),
              QString());

    const AgentHistoryIndex index = AgentHistoryIndex::build(locations);
    EXPECT_EQ(idsOf(index.sessionsIn(QStringLiteral("/a/b"))),
              QStringList{QStringLiteral("native")});
    QStringList moved = idsOf(index.sessionsIn(QStringLiteral("/c/b")));
    moved.sort();
    EXPECT_EQ(moved, (QStringList{QStringLiteral("huge"), QStringLiteral("moved")}));
    EXPECT_EQ(index.sessions.size(), 3);
}

TEST(AgentHistoryIndex, DesktopRecordsLendTheirIdTitleAndLastActivity) {
    const AgentLocations locations = test::makeAgentHome();
    test::writeClaudeSession(locations, QStringLiteral("-p"), QStringLiteral("cli-1"),
                             test::claudeLine(QStringLiteral("/p")));
    test::writeClaudeSession(locations, QStringLiteral("-p"), QStringLiteral("cli-2"),
                             test::claudeLine(QStringLiteral("/p")));
    const QString macRecords = locations.claudeDesktopSessions[0];
    const QString linuxRecords = locations.claudeDesktopSessions[1];
    test::writeFile(macRecords + QStringLiteral("/nested/deeper/local_a.json"),
                    R"({"sessionId":"local_a","cliSessionId":"cli-1","title":"Old",
                        "lastActivityAt":1753650000000,"isArchived":true,"cwd":"/p"})");
    test::writeFile(linuxRecords + QStringLiteral("/local_b.json"),
                    R"({"sessionId":"local_b","cliSessionId":"cli-1","title":"Current",
                        "lastActivityAt":1753640000500,"originCwd":"/tmp/p"})");
    test::writeFile(linuxRecords + QStringLiteral("/local_c.json"), "{ not json");
    test::writeFile(linuxRecords + QStringLiteral("/other_d.json"),
                    R"({"sessionId":"other_d","cliSessionId":"cli-2","title":"Ignored"})");

    const QList<AgentHistoryIndex::DesktopEntry> entries =
        AgentHistoryIndex::desktopEntries(locations.claudeDesktopSessions, true);
    ASSERT_EQ(entries.size(), 2);
    EXPECT_TRUE(entries[0].isArchived);
    EXPECT_EQ(entries[1].cwd, QStringLiteral("/private/tmp/p"));
    EXPECT_DOUBLE_EQ(entries[1].lastActivity->toMSecsSinceEpoch() / 1000.0, 1753640000.5);

    // The record still in use wins over the archived one, though that is more recent.
    const AgentHistoryIndex index = AgentHistoryIndex::build(locations);
    for (const AgentSession& session : index.sessionsIn(QStringLiteral("/p"))) {
        if (session.id == QStringLiteral("cli-1")) {
            EXPECT_EQ(session.desktopID, QStringLiteral("local_b"));
            EXPECT_EQ(session.title, QStringLiteral("Current"));
            EXPECT_EQ(session.updatedAt->toMSecsSinceEpoch(), 1753640000500);
        } else {
            EXPECT_FALSE(session.desktopID);
            EXPECT_FALSE(session.title);
        }
    }
}

TEST(AgentHistoryIndex, EditorWorkspacesAreLocalFoldersOnly) {
    EXPECT_EQ(EditorWorkspaces::localFolder(
                  QStringLiteral("file:///Users/me/My%20Projects/caf%C3%A9-app")),
              QStringLiteral("/Users/me/My Projects/café-app"));
    EXPECT_EQ(EditorWorkspaces::localFolder(QStringLiteral("file:///a/%23hash")),
              QStringLiteral("/a/#hash"));
    EXPECT_FALSE(EditorWorkspaces::localFolder(
        QStringLiteral("vscode-remote://ssh-remote%2Bbuild-box/home/me/shop-api")));
    EXPECT_FALSE(EditorWorkspaces::localFolder(QStringLiteral("file://server/share/x")));

    const AgentLocations locations = test::makeAgentHome();
    ASSERT_EQ(locations.editorStorages.size(), 8);
    const EditorStorage& linuxCursor = locations.editorStorages[4];
    EXPECT_EQ(linuxCursor.url,
              locations.home + QStringLiteral("/.config/Cursor/User/workspaceStorage"));
    writeWorkspace(linuxCursor.url, QStringLiteral("1"), R"({"folder": "file:///w/app"})");
    writeWorkspace(linuxCursor.url, QStringLiteral("2"),
                   R"({"workspace": "file:///w/platform.code-workspace"})");
    writeWorkspace(linuxCursor.url, QStringLiteral("3"),
                   R"({"folder": "vscode-remote://x/w/app"})");
    writeWorkspace(linuxCursor.url, QStringLiteral("4"), "{ not json");
    QDir().mkpath(linuxCursor.url + QStringLiteral("/5-empty-window"));
    const QString state = linuxCursor.url + QStringLiteral("/1/state.vscdb");
    test::writeFile(state);
    setModified(state, 1753650000);
    const QString macCode = locations.editorStorages[1].url;
    writeWorkspace(macCode, QStringLiteral("a"), R"({"folder": "file:///w/app/sub"})");
    setModified(macCode + QStringLiteral("/a/workspace.json"), 1753000000);

    const AgentHistoryIndex index = AgentHistoryIndex::build(locations);
    ASSERT_EQ(index.workspaces.size(), 2);
    const QList<AgentActivity> activities = index.activities(QStringLiteral("/w/app"));
    ASSERT_EQ(activities.size(), 2);
    EXPECT_EQ(activities[0].agent, AgentKind::cursor);
    EXPECT_EQ(activities[0].workspaces[0].appBundleID,
              QStringLiteral("com.todesktop.230313mzl4w4u92"));
    EXPECT_EQ(activities[0].workspaces[0].lastUsedAt->toSecsSinceEpoch(), 1753650000);
    EXPECT_EQ(activities[1].agent, AgentKind::vscode);
    EXPECT_EQ(activities[1].workspaces[0].appName, QStringLiteral("VS Code"));
    EXPECT_EQ(activities[1].workspaces[0].lastUsedAt->toSecsSinceEpoch(), 1753000000);
}

TEST(AgentHistoryIndex, FoldersMatchThemselvesAndWhatIsInsideNeverASiblingPrefix) {
    AgentHistoryIndex index;
    const auto session = [](const char* id, const char* cwd) {
        return AgentSession{AgentKind::codex, QLatin1String(id), {}, {}, QLatin1String(cwd), {}};
    };
    index.sessions = {session("same", "/a/b"), session("inside", "/a/b/src"),
                      session("sibling", "/a/bc"), session("parent", "/a")};
    index.workspaces = {{AgentKind::vscode, QStringLiteral("/a/bc"), {}, {}, {}},
                        {AgentKind::vscode, QStringLiteral("/a/b/x"), {}, {}, {}}};
    EXPECT_EQ(idsOf(index.sessionsIn(QStringLiteral("/a/b"))),
              (QStringList{QStringLiteral("same"), QStringLiteral("inside")}));
    EXPECT_EQ(idsOf(index.sessionsIn(QStringLiteral("/a/b/"))),
              (QStringList{QStringLiteral("same"), QStringLiteral("inside")}));
    EXPECT_EQ(foldersOf(index.workspacesIn(QStringLiteral("/a/b"))),
              QStringList{QStringLiteral("/a/b/x")});

    // Under the macOS rule both spellings of a temporary folder are one folder.
    index.macPathRules = true;
    index.sessions = {session("tmp", "/private/tmp/x")};
    EXPECT_EQ(idsOf(index.sessionsIn(QStringLiteral("/tmp/x"))),
              QStringList{QStringLiteral("tmp")});
    EXPECT_EQ(idsOf(index.sessionsIn(QStringLiteral("/private/tmp/x/"))),
              QStringList{QStringLiteral("tmp")});
}

TEST(AgentHistoryIndex, SessionsStartedInTheEnclosingFolderAreMarked) {
    AgentHistoryIndex index;
    index.home = QStringLiteral("/home/me");
    const auto session = [](const char* id, const char* cwd, qint64 updated) {
        return AgentSession{AgentKind::claudeCode,
                            QLatin1String(id),
                            {},
                            {},
                            QLatin1String(cwd),
                            QDateTime::fromSecsSinceEpoch(updated)};
    };
    index.sessions = {
        session("old", "/home/me/code/app", 100), session("parent", "/home/me/code", 300),
        session("new", "/home/me/code/app/web", 200), session("home", "/home/me", 400),
        session("neighbour", "/home/me/code/other", 500)};

    const QList<AgentActivity> activities = index.activities(QStringLiteral("/home/me/code/app"));
    ASSERT_EQ(activities.size(), 1);
    EXPECT_EQ(
        idsOf(activities[0].sessions),
        (QStringList{QStringLiteral("parent"), QStringLiteral("new"), QStringLiteral("old")}));
    EXPECT_EQ(activities[0].parentFolderSessionIDs, QSet<QString>{QStringLiteral("parent")});
    EXPECT_EQ(activities[0].parentFolderName, QStringLiteral("code"));

    // A project right in the home folder: sessions in the home folder are about everything.
    const QList<AgentActivity> inHome = index.activities(QStringLiteral("/home/me/code"));
    ASSERT_EQ(inHome.size(), 1);
    EXPECT_TRUE(inHome[0].parentFolderSessionIDs.isEmpty());
    EXPECT_FALSE(inHome[0].parentFolderName);
    EXPECT_TRUE(index.activities(QStringLiteral("/elsewhere")).isEmpty());
}

TEST(AgentHistoryIndex, MissingOrBrokenSourcesContributeNothing) {
    AgentLocations locations = test::makeAgentHome();
    test::writeFile(locations.claudeProjects + QStringLiteral("/-x/s.jsonl"),
                    QByteArray("\0\xff\n", 3));
    test::writeFile(locations.claudeFolderLedger.url, "[1, 2");
    test::writeFile(locations.codexHome + QStringLiteral("/state_1.sqlite"), "garbage");
    // A storage path that is a file, not a folder.
    test::writeFile(locations.editorStorages[0].url);
    const AgentHistoryIndex index = AgentHistoryIndex::build(locations);
    EXPECT_TRUE(index.sessions.isEmpty());
    EXPECT_TRUE(index.workspaces.isEmpty());
}
