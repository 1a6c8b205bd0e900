#include "AgentStoreFixture.h"

#include "AgentFixtures.h"
#include "agents/ClaudeHistory.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

namespace corvane::test {
namespace {

QByteArray prompt(const QString& cwd, const QString& id, const QString& text) {
    const QJsonObject line{
        {QStringLiteral("cwd"), cwd},
        {QStringLiteral("sessionId"), id},
        {QStringLiteral("type"), QStringLiteral("user")},
        {QStringLiteral("message"), QJsonObject{{QStringLiteral("role"), QStringLiteral("user")},
                                                {QStringLiteral("content"), text}}}};
    return QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
}

// A session with a companion folder, file history and a to-do list, as current versions keep.
void writeSession(const FakeAgentHome& home, const QString& cwd, const QString& id,
                  const QString& title) {
    const QString claude = home.locations.home + QStringLiteral("/.claude");
    const QString folder =
        home.locations.claudeProjects + u'/' + ClaudeHistory::encodedFolderName(cwd);
    writeFile(folder + u'/' + id + QStringLiteral(".jsonl"),
              R"({"type":"summary","summary":")" + title.toUtf8() + "\",\"leafUuid\":\"x\"}\n" +
                  prompt(cwd, id, QStringLiteral("go on")) + QByteArray(5000, ' ') + '\n');
    writeFile(folder + u'/' + id + QStringLiteral("/subagents/agent-a3f9c2.jsonl"),
              prompt(cwd, id, QStringLiteral("sub")));
    writeFile(folder + u'/' + id + QStringLiteral("/tool-results/r1.txt"), QByteArray(9000, 'r'));
    writeFile(claude + QStringLiteral("/file-history/") + id + QStringLiteral("/abc@v1"), "old");
    writeFile(claude + QStringLiteral("/todos/") + id + QStringLiteral("-agent-") + id +
                  QStringLiteral(".json"),
              "[]");
}

// A sub-agent's transcript as older versions kept it: beside the sessions, naming the session
// that started it, its first prompt written by that session.
QString writeLooseTranscript(const FakeAgentHome& home, const QString& cwd, const QString& agentID,
                             const QString& sessionID, const QString& task) {
    const QString path = home.locations.claudeProjects + u'/' +
                         ClaudeHistory::encodedFolderName(cwd) + QStringLiteral("/agent-") +
                         agentID + QStringLiteral(".jsonl");
    QJsonObject line = QJsonDocument::fromJson(prompt(cwd, sessionID, task)).object();
    line.insert(QStringLiteral("isSidechain"), true);
    line.insert(QStringLiteral("agentId"), agentID);
    writeFile(path, QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n' +
                        QByteArray(3000, ' ') + '\n');
    return path;
}

void writeNeverTouched(FakeAgentHome& home, const QString& path, const QByteArray& contents = {}) {
    writeFile(path, contents);
    home.neverTouched.append(path);
}

void writeClaude(FakeAgentHome& home) {
    const QString shop = home.work + QStringLiteral("/shop");
    QDir().mkpath(shop);
    writeSession(home, shop, home.liveSession, QStringLiteral("Fix flaky checkout test"));
    writeSession(home, shop, home.olderLiveSession, QStringLiteral("Add dark mode"));
    // "/w/a" and "/w-a" share one history folder.
    QDir().mkpath(home.work + QStringLiteral("/w/a"));
    writeSession(home, home.work + QStringLiteral("/w/a"), home.sharedA, QStringLiteral("A"));
    writeSession(home, home.work + QStringLiteral("/w-a"), home.sharedB, QStringLiteral("B"));
    writeSession(home, home.work + QStringLiteral("/gone"), home.orphan, QStringLiteral("Gone"));
    const QString renamed = home.work + QStringLiteral("/old-name");
    QDir().mkpath(home.work + QStringLiteral("/new-name"));
    home.newPlaces.insert(renamed, home.work + QStringLiteral("/new-name"));
    writeSession(home, renamed, home.moved, QStringLiteral("Moved"));
    // A session of a project that is gone, whose companion folder holds memory and a database.
    writeSession(home, home.work + QStringLiteral("/gone2"), home.withMemory, QStringLiteral("M"));
    const QString companion =
        home.locations.claudeProjects + u'/' +
        ClaudeHistory::encodedFolderName(home.work + QStringLiteral("/gone2")) + u'/' +
        home.withMemory;
    writeNeverTouched(home, companion + QStringLiteral("/memory/notes.md"), "remember");
    writeNeverTouched(home, companion + QStringLiteral("/cache.db"), "SQLite format 3");
    home.looseOfSession = writeLooseTranscript(home, shop, QStringLiteral("a3f9c2e1"),
                                               home.olderLiveSession, QStringLiteral("Find it"));
    home.looseAlone =
        writeLooseTranscript(home, home.work + QStringLiteral("/gone"), QStringLiteral("77aa01b2"),
                             QStringLiteral("99999999-0000-4000-8000-000000000009"),
                             QStringLiteral("Search the tests for flaky waits"));

    const QString claude = home.locations.home + QStringLiteral("/.claude");
    writeFile(claude + QStringLiteral("/debug/") + home.liveSession + QStringLiteral(".txt"),
              QByteArray(20'000, 'd'));
    writeFile(claude + QStringLiteral("/shell-snapshots/snapshot-zsh-1.sh"), "export A=1");
    writeFile(claude + QStringLiteral("/file-history/11111111-dead/abc@v1"), "of a gone session");
    writeNeverTouched(home, claude + QStringLiteral("/.credentials.json"), "{\"token\":\"x\"}");
    writeNeverTouched(home, claude + QStringLiteral("/settings.json"), "{}");
    writeNeverTouched(home, claude + QStringLiteral("/settings.local.json"), "{}");
    writeNeverTouched(home, claude + QStringLiteral("/CLAUDE.md"), "# Rules");
    writeNeverTouched(home, claude + QStringLiteral("/.mcp.json"), "{}");
    writeNeverTouched(home, claude + QStringLiteral("/plugins/cache/tool/index.js"), "x");
    writeNeverTouched(home, claude + QStringLiteral("/__store.db"), "SQLite format 3");
    writeNeverTouched(home, home.locations.claudeConfig, "{\"userID\":\"0\"}");
}

void writeCodex(FakeAgentHome& home) {
    const QString codex = home.locations.codexHome;
    const QString rollout = codex +
                            QStringLiteral("/sessions/2025/07/27/rollout-2025-07-27T10-00-00-") +
                            home.codexThread + QStringLiteral(".jsonl");
    writeFile(rollout, QByteArray(7000, 'c'));
    writeFile(codex + QStringLiteral("/sessions/2024/01/02/rollout-old.jsonl"), "old");
    sqlite3* db = createCodexDatabase(codex + QStringLiteral("/state_5.sqlite"),
                                      QStringLiteral("rollout_path TEXT, source TEXT"));
    insertThread(db, home.codexThread, home.work + QStringLiteral("/gone"),
                 QStringLiteral("Fix the flaky checkout test"), 1'753'650'000,
                 QStringLiteral("rollout_path, source"),
                 u'\'' + rollout + QStringLiteral("', 'cli'"));
    sqlite3_close(db);
    home.neverTouched.append(codex + QStringLiteral("/state_5.sqlite"));
    writeNeverTouched(home, codex + QStringLiteral("/logs_2.sqlite"), "SQLite format 3");
    writeNeverTouched(home, codex + QStringLiteral("/auth.json"), "{}");
    writeNeverTouched(home, codex + QStringLiteral("/config.toml"), "model = \"x\"");
    writeNeverTouched(home, codex + QStringLiteral("/AGENTS.md"), "# Agents");
    writeNeverTouched(home, codex + QStringLiteral("/memories/one.md"), "m");
    writeFile(codex + QStringLiteral("/log/codex-tui.log"), QByteArray(3000, 'l'));
}

void writeEditors(FakeAgentHome& home) {
    const QString storage = home.locations.editorStorages.at(1).url; // VS Code, macOS place
    home.liveWorkspace = storage + QStringLiteral("/1111");
    home.goneWorkspace = storage + QStringLiteral("/2222");
    writeFile(home.liveWorkspace + QStringLiteral("/workspace.json"),
              "{\n  \"folder\": \"file://" + home.work.toUtf8() + "/shop\"\n}");
    writeFile(home.liveWorkspace + QStringLiteral("/state.vscdb"), "SQLite format 3");
    writeFile(home.goneWorkspace + QStringLiteral("/workspace.json"),
              "{\n  \"folder\": \"file://" + home.work.toUtf8() + "/gone\"\n}");
    writeFile(home.goneWorkspace + QStringLiteral("/state.vscdb"), "SQLite format 3");
    writeFile(storage + QStringLiteral("/3333/state.vscdb"), "SQLite format 3");
    writeNeverTouched(home, QDir::cleanPath(storage + QStringLiteral("/../settings.json")), "{}");
}

// One record per conversation, in the shape the Claude app writes, under its account folders.
QString writeDesktopRecord(const FakeAgentHome& home, const QString& name, const QString& cwd,
                           const QString& cliSessionID) {
    const QString path = home.locations.claudeDesktopSessions.at(1) +
                         QStringLiteral("/0a1b2c3d/4e5f6a7b/local_") + name +
                         QStringLiteral(".json");
    QJsonObject record{{QStringLiteral("sessionId"), QStringLiteral("local_") + name},
                       {QStringLiteral("cwd"), cwd},
                       {QStringLiteral("originCwd"), cwd},
                       {QStringLiteral("title"), QStringLiteral("App ") + name},
                       {QStringLiteral("lastActivityAt"), 1'753'650'000'000.0},
                       {QStringLiteral("isArchived"), false}};
    // Conversations of the app alone continue no Claude Code session.
    if (!cliSessionID.isEmpty())
        record.insert(QStringLiteral("cliSessionId"), cliSessionID);
    writeFile(path, QJsonDocument(record).toJson());
    return path;
}

void writeDesktopRecords(FakeAgentHome& home) {
    home.liveRecord = writeDesktopRecord(home, QStringLiteral("live"),
                                         home.work + QStringLiteral("/shop"), QString());
    home.goneRecord = writeDesktopRecord(home, QStringLiteral("gone"),
                                         home.work + QStringLiteral("/gone-app"), QString());
    home.movedRecord = writeDesktopRecord(home, QStringLiteral("moved"),
                                          home.work + QStringLiteral("/old-name"), home.moved);
}

} // namespace

AgentStorage::Inputs FakeAgentHome::inputs() const {
    const QHash<QString, QString> places = newPlaces;
    return {locations, [places](const AgentHistoryIndex&) { return places; }};
}

FakeAgentHome makeFakeAgentHome(const QString& folder) {
    FakeAgentHome home;
    home.locations = makeAgentHome(folder);
    home.work = makeTempDir(QStringLiteral("work"));
    writeClaude(home);
    writeDesktopRecords(home);
    writeCodex(home);
    writeEditors(home);
    return home;
}

} // namespace corvane::test
