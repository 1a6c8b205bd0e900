#include "agents/CodexDatabaseStep.h"

#include "AgentFixtures.h"
#include "support/TestEnvironment.h"

#include <QElapsedTimer>
#include <QFile>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

const auto runStep = [](const auto&... arguments) {
    return test::runStep<CodexDatabaseStep>(arguments...);
};

QString databasePath(const AgentLocations& locations) {
    return locations.codexHome + s("/state_5.sqlite");
}

// Threads at the old path, inside it, beside it and elsewhere; one project root of each.
sqlite3* createFilledDatabase(const AgentLocations& locations, const QString& oldPath) {
    sqlite3* connection = test::createCodexDatabase(databasePath(locations));
    test::exec(connection, QStringLiteral("CREATE TABLE project_roots (project_id TEXT, position "
                                          "INTEGER, path TEXT UNIQUE, PRIMARY KEY(project_id, "
                                          "position))"));
    const QStringList paths{oldPath, oldPath + s("/src"), oldPath + u'c', s("/x") + oldPath};
    for (qsizetype index = 0; index < paths.size(); ++index) {
        test::insertThread(connection, QString::number(index), paths[index], s("t"), 1);
        test::exec(connection, s("INSERT INTO project_roots VALUES ('p', %1, '%2')")
                                   .arg(index)
                                   .arg(QString(paths[index]).replace(u'\'', s("''"))));
    }
    return connection;
}

QStringList threadFolders(sqlite3* connection) {
    return test::queryColumn(connection, s("SELECT cwd FROM threads ORDER BY id"));
}

QStringList rootFolders(sqlite3* connection) {
    return test::queryColumn(connection, s("SELECT path FROM project_roots ORDER BY position"));
}

} // namespace

TEST(CodexDatabaseStep, MovesThePathAndWhatIsInsideInBothTables) {
    const QString oldPath = s("/a/it's \"q\" %_ $1/é");
    const QString newPath = s("/c/b");
    const AgentLocations locations = test::makeAgentHome();
    sqlite3* connection = createFilledDatabase(locations, oldPath);
    const QStringList before = threadFolders(connection);

    const RelinkReport preview = runStep(locations, oldPath, newPath, RelinkMode::preview);
    EXPECT_EQ(preview.codexThreads, 2);
    EXPECT_EQ(preview.codexProjectRoots, 2);
    EXPECT_EQ(threadFolders(connection), before);

    const RelinkReport report = runStep(locations, oldPath, newPath);
    EXPECT_EQ(report.warnings, QStringList());
    EXPECT_EQ(report.codexThreads, 2);
    EXPECT_EQ(report.codexProjectRoots, 2);
    const QStringList expected{newPath, newPath + s("/src"), oldPath + u'c', s("/x") + oldPath};
    EXPECT_EQ(threadFolders(connection), expected);
    EXPECT_EQ(rootFolders(connection), expected);
    sqlite3_close(connection);
}

TEST(CodexDatabaseStep, AFailedUpdateRollsBackTheWholeChange) {
    const AgentLocations locations = test::makeAgentHome();
    sqlite3* connection = createFilledDatabase(locations, s("/a/b"));
    // The moved root would collide with one that is already there.
    test::exec(connection, s("INSERT INTO project_roots VALUES ('q', 0, '/c/b')"));

    const RelinkReport report = runStep(locations, s("/a/b"), s("/c/b"));
    EXPECT_EQ(report.warnings, QStringList{s("Codex history: updating project_roots failed.")});
    EXPECT_EQ(report.codexThreads, 0);
    EXPECT_EQ(threadFolders(connection).first(), s("/a/b"));
    sqlite3_close(connection);
}

TEST(CodexDatabaseStep, SchemasWithoutTheColumnsAndFilesThatAreNoDatabase) {
    const AgentLocations noRoots = test::makeAgentHome();
    sqlite3* connection = test::createCodexDatabase(databasePath(noRoots));
    test::insertThread(connection, s("1"), s("/a/b"), {}, 1);
    test::exec(connection, s("CREATE TABLE project_roots (project_id TEXT)"));
    const RelinkReport report = runStep(noRoots, s("/a/b"), s("/c/b"));
    EXPECT_TRUE(report.warnings.isEmpty());
    EXPECT_EQ(report.codexThreads, 1);
    EXPECT_EQ(report.codexProjectRoots, 0);
    sqlite3_close(connection);

    const AgentLocations garbage = test::makeAgentHome();
    test::writeFile(databasePath(garbage), QByteArray(4096, 'x'));
    for (const RelinkMode mode : {RelinkMode::write, RelinkMode::preview})
        EXPECT_EQ(runStep(garbage, s("/a/b"), s("/c/b"), mode).warnings,
                  QStringList{s("Codex history: could not open its database.")});
    EXPECT_EQ(test::readBytes(databasePath(garbage)), QByteArray(4096, 'x'));

    EXPECT_TRUE(runStep(test::makeAgentHome(), s("/a/b"), s("/c/b")).warnings.isEmpty());
}

// Slow on purpose: the step waits five seconds for Codex before it gives up.
TEST(CodexDatabaseStep, ADatabaseHeldByAWriterIsLeftUnchanged) {
    const AgentLocations locations = test::makeAgentHome();
    sqlite3* writer = createFilledDatabase(locations, s("/a/b"));
    test::exec(writer, s("PRAGMA journal_mode=WAL"));
    test::exec(writer, s("BEGIN IMMEDIATE"));
    test::insertThread(writer, s("busy"), s("/a/b/new"), {}, 1);

    QElapsedTimer waited;
    waited.start();
    const RelinkReport report = runStep(locations, s("/a/b"), s("/c/b"));
    EXPECT_GE(waited.elapsed(), 4500);
    EXPECT_EQ(report.warnings, QStringList{QStringLiteral("Codex history: database is busy, try "
                                                          "again when Codex is idle.")});
    EXPECT_EQ(report.codexThreads, 0);
    test::exec(writer, s("COMMIT"));
    EXPECT_EQ(threadFolders(writer),
              (QStringList{s("/a/b"), s("/a/b/src"), s("/a/bc"), s("/x/a/b"), s("/a/b/new")}));
    sqlite3_close(writer);
}
