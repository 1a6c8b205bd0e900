#include "agents/CodexThreads.h"

#include "AgentFixtures.h"
#include "agents/CodexDatabase.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

QStringList idsOf(const QList<AgentSession>& sessions) {
    QStringList ids;
    for (const AgentSession& session : sessions)
        ids.append(session.id);
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
    EXPECT_EQ(CodexDatabase::latestStatePath(home), home + QStringLiteral("/state_12.sqlite"));
}

TEST(CodexThreads, ColumnsThatExistDecideTheQuery) {
    const QString home = test::makeTempDir();
    sqlite3* full = test::createCodexDatabase(home + QStringLiteral("/state_3.sqlite"),
                                              QStringLiteral("source TEXT, name TEXT"));
    const QString columns = QStringLiteral("source, name");
    test::insertThread(full, QStringLiteral("cli"), QStringLiteral("/p"), QStringLiteral("prompt"),
                       1753650000, columns, QStringLiteral("'cli', '  Named  \n'"));
    test::insertThread(full, QStringLiteral("vscode"), QStringLiteral("/p/web"),
                       QStringLiteral("from the editor"), 0, columns,
                       QStringLiteral("'vscode', NULL"));
    test::insertThread(full, QStringLiteral("exec"), QStringLiteral("/p"), QStringLiteral("x"), 1,
                       columns, QStringLiteral("'exec', NULL"));
    test::insertThread(full, QStringLiteral("sub"), QStringLiteral("/p"), QStringLiteral("x"), 1,
                       columns, QStringLiteral("'{\"subagent\":\"review\"}', NULL"));
    test::insertThread(full, QStringLiteral("nocwd"), QString(), QStringLiteral("x"), 1, columns,
                       QStringLiteral("'cli', NULL"));
    test::exec(full, QStringLiteral("INSERT INTO threads (id, cwd, source, archived) VALUES "
                                    "('archived', '/p', 'cli', 1)"));
    sqlite3_close(full);

    const QList<AgentSession> sessions = CodexThreads::read(home, false);
    EXPECT_EQ(idsOf(sessions), (QStringList{QStringLiteral("cli"), QStringLiteral("vscode")}));
    for (const AgentSession& session : sessions) {
        EXPECT_EQ(session.agent, AgentKind::codex);
        if (session.id == QStringLiteral("cli")) {
            EXPECT_EQ(session.title, QStringLiteral("Named"));
            EXPECT_EQ(session.updatedAt->toSecsSinceEpoch(), 1753650000);
        } else {
            EXPECT_EQ(session.title, QStringLiteral("from the editor"));
            EXPECT_FALSE(session.updatedAt);
        }
    }

    // An older schema: no "source" (every source counts) and no "name" (titles from prompts).
    const QString older = test::makeTempDir();
    sqlite3* plain = test::createCodexDatabase(older + QStringLiteral("/state_1.sqlite"));
    test::insertThread(plain, QStringLiteral("t"), QStringLiteral("/tmp/x"),
                       QStringLiteral("# Heading\n\n  first line  \nsecond"), 1753650000000);
    sqlite3_close(plain);
    const QList<AgentSession> olderSessions = CodexThreads::read(older, true);
    ASSERT_EQ(olderSessions.size(), 1);
    EXPECT_EQ(olderSessions[0].title, QStringLiteral("first line"));
    EXPECT_EQ(olderSessions[0].cwd, QStringLiteral("/private/tmp/x"));
    // Stored in milliseconds by one Codex version.
    EXPECT_EQ(olderSessions[0].updatedAt->toSecsSinceEpoch(), 1753650000);
}

TEST(CodexThreads, TitlesComeFromTheNameOrTheFirstPlainLineOfThePrompt) {
    const QString ninety(90, u'a');
    const QString ninetyOne(91, u'b');
    EXPECT_EQ(CodexThreads::threadTitle(std::nullopt, ninety), ninety);
    EXPECT_EQ(CodexThreads::threadTitle(std::nullopt, ninetyOne),
              QString(89, u'b') + QChar(0x2026));
    EXPECT_EQ(CodexThreads::threadTitle(QStringLiteral(" \n"),
                                        QStringLiteral("# Context\nlots\n## My request:\n\n"
                                                       "## sub\n  fix the build  \n")),
              QStringLiteral("fix the build"));
    EXPECT_EQ(CodexThreads::threadTitle(std::nullopt, QStringLiteral("# only\n#headings\n")),
              std::nullopt);
    EXPECT_EQ(CodexThreads::threadTitle(std::nullopt, std::nullopt), std::nullopt);
    // Counted in characters: an emoji at the cut is kept whole, not split in half.
    const QString emojis = QString(88, u'c') + QStringLiteral("😀😀😀");
    EXPECT_EQ(CodexThreads::threadTitle(std::nullopt, emojis),
              QString(88, u'c') + QStringLiteral("😀") + QChar(0x2026));
}

TEST(CodexThreads, UnusableDatabasesGiveNoSessions) {
    const QString notADatabase = test::makeTempDir();
    test::writeFile(notADatabase + QStringLiteral("/state_5.sqlite"), "not a database at all");
    EXPECT_TRUE(CodexThreads::read(notADatabase, false).isEmpty());

    const QString noTable = test::makeTempDir();
    sqlite3* empty = nullptr;
    sqlite3_open(QFile::encodeName(noTable + QStringLiteral("/state_5.sqlite")).constData(),
                 &empty);
    test::exec(empty, QStringLiteral("CREATE TABLE other (x)"));
    sqlite3_close(empty);
    EXPECT_TRUE(CodexThreads::read(noTable, false).isEmpty());

    const QString noArchived = test::makeTempDir();
    sqlite3* old = nullptr;
    sqlite3_open(QFile::encodeName(noArchived + QStringLiteral("/state_5.sqlite")).constData(),
                 &old);
    test::exec(old, QStringLiteral("CREATE TABLE threads (id, cwd, title, updated_at); "
                                   "INSERT INTO threads VALUES ('a', '/p', 't', 1)"));
    sqlite3_close(old);
    EXPECT_TRUE(CodexThreads::read(noArchived, false).isEmpty());
}

TEST(CodexThreads, AWriteAheadLogIsReadWhileCodexKeepsWriting) {
    const QString home = test::makeTempDir();
    const QString path = home + QStringLiteral("/state_5.sqlite");
    sqlite3* writer = test::createCodexDatabase(path);
    test::exec(writer, QStringLiteral("PRAGMA journal_mode=WAL; PRAGMA wal_autocheckpoint=0"));
    test::insertThread(writer, QStringLiteral("recent"), QStringLiteral("/p"),
                       QStringLiteral("only in the log"), 1);
    ASSERT_TRUE(QFileInfo::exists(path + QStringLiteral("-wal")));
    // An immutable open ignores the log and would miss the thread.
    const Sqlite::Connection immutable = CodexDatabase::openImmutable(path);
    ASSERT_TRUE(immutable);
    EXPECT_TRUE(
        test::queryColumn(immutable.get(), QStringLiteral("SELECT id FROM threads")).isEmpty());

    // A write in progress holds no lock that keeps readers out, and is not seen half-done.
    test::exec(writer, QStringLiteral("BEGIN IMMEDIATE"));
    test::insertThread(writer, QStringLiteral("uncommitted"), QStringLiteral("/p"),
                       QStringLiteral("t"), 1);
    EXPECT_EQ(idsOf(CodexThreads::read(home, false)), QStringList{QStringLiteral("recent")});
    test::exec(writer, QStringLiteral("COMMIT"));
    EXPECT_EQ(idsOf(CodexThreads::read(home, false)),
              (QStringList{QStringLiteral("recent"), QStringLiteral("uncommitted")}));
    sqlite3_close(writer);
}
