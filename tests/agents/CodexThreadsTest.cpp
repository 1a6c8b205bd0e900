#include "agents/CodexThreads.h"

#include "AgentFixtures.h"
#include "agents/CodexDatabase.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

QStringList sortedIDs(const QList<AgentSession>& sessions) {
    QStringList ids = test::idsOf(sessions);
    ids.sort();
    return ids;
}

} // namespace

TEST(CodexDatabase, TheHighestWholeGenerationIsRead) {
    const QString home = test::makeTempDir();
    EXPECT_FALSE(CodexDatabase::latestStatePath(home));
    for (const char* name : {"state_5.sqlite", "state_12.sqlite", "state_x.sqlite",
                             "state_99.sqlite-wal", "state_+100.sqlite", "logs_200.sqlite"})
        test::writeFile(home + u'/' + QLatin1String(name));
    EXPECT_EQ(CodexDatabase::latestStatePath(home), home + s("/state_12.sqlite"));
}

TEST(CodexThreads, ColumnsThatExistDecideTheQuery) {
    const QString home = test::makeTempDir();
    sqlite3* full =
        test::createCodexDatabase(home + s("/state_3.sqlite"), s("source TEXT, name TEXT"));
    const QString columns = s("source, name");
    test::insertThread(full, s("cli"), s("/p"), s("prompt"), 1753650000, columns,
                       s("'cli', '  Named  \n'"));
    test::insertThread(full, s("vscode"), s("/p/web"), s("from the editor"), 0, columns,
                       s("'vscode', NULL"));
    test::insertThread(full, s("exec"), s("/p"), s("x"), 1, columns, s("'exec', NULL"));
    test::insertThread(full, s("sub"), s("/p"), s("x"), 1, columns,
                       s("'{\"subagent\":\"review\"}', NULL"));
    test::insertThread(full, s("nocwd"), QString(), s("x"), 1, columns, s("'cli', NULL"));
    test::exec(full, QStringLiteral("INSERT INTO threads (id, cwd, source, archived) VALUES "
                                    "('archived', '/p', 'cli', 1)"));
    sqlite3_close(full);

    const QList<AgentSession> sessions = CodexThreads::read(home, false);
    EXPECT_EQ(sortedIDs(sessions), (QStringList{s("cli"), s("vscode")}));
    for (const AgentSession& session : sessions) {
        EXPECT_EQ(session.agent, AgentKind::codex);
        if (session.id == s("cli")) {
            EXPECT_EQ(session.title, s("Named"));
            EXPECT_EQ(session.updatedAt->toSecsSinceEpoch(), 1753650000);
        } else {
            EXPECT_EQ(session.title, s("from the editor"));
            EXPECT_FALSE(session.updatedAt);
        }
    }

    // An older schema: no "source" (every source counts) and no "name" (titles from prompts).
    const QString older = test::makeTempDir();
    sqlite3* plain = test::createCodexDatabase(older + s("/state_1.sqlite"));
    test::insertThread(plain, s("t"), s("/tmp/x"), s("# Heading\n\n  first line  \nsecond"),
                       1753650000000);
    sqlite3_close(plain);
    const QList<AgentSession> olderSessions = CodexThreads::read(older, true);
    ASSERT_EQ(olderSessions.size(), 1);
    EXPECT_EQ(olderSessions[0].title, s("first line"));
    EXPECT_EQ(olderSessions[0].cwd, s("/private/tmp/x"));
    // Stored in milliseconds by one Codex version.
    EXPECT_EQ(olderSessions[0].updatedAt->toSecsSinceEpoch(), 1753650000);
}

TEST(CodexThreads, TitlesComeFromTheNameOrTheFirstPlainLineOfThePrompt) {
    const QString ninety(90, u'a');
    const QString ninetyOne(91, u'b');
    EXPECT_EQ(CodexThreads::threadTitle(std::nullopt, ninety), ninety);
    EXPECT_EQ(CodexThreads::threadTitle(std::nullopt, ninetyOne),
              QString(89, u'b') + QChar(0x2026));
    EXPECT_EQ(
        CodexThreads::threadTitle(s(" \n"), QStringLiteral("# Context\nlots\n## My request:\n\n"
                                                           "## sub\n  fix the build  \n")),
        s("fix the build"));
    EXPECT_EQ(CodexThreads::threadTitle(std::nullopt, s("# only\n#headings\n")), std::nullopt);
    EXPECT_EQ(CodexThreads::threadTitle(std::nullopt, std::nullopt), std::nullopt);
    // Counted in characters: an emoji at the cut is kept whole, not split in half.
    const QString emojis = QString(88, u'c') + s("😀😀😀");
    EXPECT_EQ(CodexThreads::threadTitle(std::nullopt, emojis),
              QString(88, u'c') + s("😀") + QChar(0x2026));
}

TEST(CodexThreads, UnusableDatabasesGiveNoSessions) {
    const QString notADatabase = test::makeTempDir();
    test::writeFile(notADatabase + s("/state_5.sqlite"), "not a database at all");
    EXPECT_TRUE(CodexThreads::read(notADatabase, false).isEmpty());

    const QString noTable = test::makeTempDir();
    test::createDatabase(noTable + s("/state_5.sqlite"), s("CREATE TABLE other (x)"));
    EXPECT_TRUE(CodexThreads::read(noTable, false).isEmpty());

    const QString noArchived = test::makeTempDir();
    test::createDatabase(noArchived + s("/state_5.sqlite"),
                         QStringLiteral("CREATE TABLE threads (id, cwd, title, updated_at); "
                                        "INSERT INTO threads VALUES ('a', '/p', 't', 1)"));
    EXPECT_TRUE(CodexThreads::read(noArchived, false).isEmpty());
}

TEST(CodexThreads, AWriteAheadLogIsReadWhileCodexKeepsWriting) {
    const QString home = test::makeTempDir();
    const QString path = home + s("/state_5.sqlite");
    sqlite3* writer = test::createCodexDatabase(path);
    test::exec(writer, s("PRAGMA journal_mode=WAL; PRAGMA wal_autocheckpoint=0"));
    test::insertThread(writer, s("recent"), s("/p"), s("only in the log"), 1);
    ASSERT_TRUE(QFileInfo::exists(path + s("-wal")));
    // An immutable open ignores the log and would miss the thread.
    const Sqlite::Connection immutable = CodexDatabase::openImmutable(path);
    ASSERT_TRUE(immutable);
    EXPECT_TRUE(test::queryColumn(immutable.get(), s("SELECT id FROM threads")).isEmpty());

    // A write in progress holds no lock that keeps readers out, and is not seen half-done.
    test::exec(writer, s("BEGIN IMMEDIATE"));
    test::insertThread(writer, s("uncommitted"), s("/p"), s("t"), 1);
    EXPECT_EQ(sortedIDs(CodexThreads::read(home, false)), QStringList{s("recent")});
    test::exec(writer, s("COMMIT"));
    EXPECT_EQ(sortedIDs(CodexThreads::read(home, false)),
              (QStringList{s("recent"), s("uncommitted")}));
    sqlite3_close(writer);
}

TEST(AgentSession, ResumeCommandsRunInTheSessionFolderWithEveryWordQuoted) {
    AgentSession codex{
        AgentKind::codex, s("0199a3c2-5d1e"), {}, {}, s("/Users/me/it's here"), {}, {}};
    EXPECT_EQ(resumeCommand(codex),
              s("cd '/Users/me/it'\\''s here' && codex resume 0199a3c2-5d1e"));
    AgentSession claude = codex;
    claude.agent = AgentKind::claudeCode;
    claude.id = s("x; rm -rf ~");
    EXPECT_EQ(resumeCommand(claude),
              s("cd '/Users/me/it'\\''s here' && claude --resume 'x; rm -rf ~'"));
    claude.agent = AgentKind::cursor;
    EXPECT_EQ(resumeCommand(claude), std::nullopt);
}
