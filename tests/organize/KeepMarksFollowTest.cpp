#include "OrganizeFixtures.h"
#include "organize/OrganizeExecutor.h"
#include "support/KeepMarks.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <gtest/gtest.h>

namespace corvane {
namespace {

using test::s;

QStringList sorted(QStringList paths) {
    paths.sort();
    return paths;
}

TEST(OrganizeKeepMarks, AKeptProjectStaysKeptWhereOrganizeMovesItAndAgainWhereUndoPutsItBack) {
    const AgentLocations locations = test::makeAgentHome();
    const OrganizeExecutor executor = test::executorFor(locations);
    const KeepStore& marks = executor.mover.keepMarks;
    const QString root = test::makeTempDir(s("keep-moves"));
    const QString app = root + s("/scattered/app");
    // A neighbour whose name begins with the project's is not inside it.
    const QString neighbour = root + s("/scattered/app-two");
    test::makeProject(locations, app, s("k1"));
    QDir().mkpath(app + s("/vendor"));
    QDir().mkpath(neighbour);
    for (const QString& path : {app, app + s("/vendor"), neighbour})
        ASSERT_EQ(marks.add(path), QString());

    const OrganizeExecutor::Outcome outcome =
        executor.run({test::readyEntry(app, root + s("/Code"))});
    ASSERT_TRUE(outcome.failures.isEmpty());
    ASSERT_EQ(outcome.run.moves.size(), 1);
    const QString moved = outcome.run.moves[0].destination;
    ASSERT_TRUE(QFileInfo(moved + s("/vendor")).isDir());
    EXPECT_TRUE(outcome.run.moves[0].relink.warnings.isEmpty());
    EXPECT_EQ(marks.load().paths, sorted({neighbour, moved, moved + s("/vendor")}));

    const OrganizeExecutor::UndoOutcome undone = executor.undoLast();
    ASSERT_TRUE(undone.failures.isEmpty());
    EXPECT_TRUE(QFileInfo(app + s("/vendor")).isDir());
    EXPECT_EQ(marks.load().paths, sorted({app, app + s("/vendor"), neighbour}));
}

// Keep means "never removed"; a move takes the project whole, so a kept project, or one inside a
// kept folder, is gathered like any other. The kept folder it leaves stays, even empty, and no
// failure is reported for it.
TEST(OrganizeKeepMarks, AProjectLeavesAKeptFolderThatStaysEvenWhenEmpty) {
    const AgentLocations locations = test::makeAgentHome();
    OrganizeExecutor executor = test::executorFor(locations);
    executor.trashArea = locations.home;
    const QString kept = locations.home + s("/kept");
    const QString plain = locations.home + s("/plain");
    test::makeProject(locations, kept + s("/app"), s("k3"));
    test::makeProject(locations, plain + s("/site"), s("k4"));
    const test::ScopedKeepMarks marks({kept});

    const OrganizeExecutor::Outcome outcome =
        executor.run({test::readyEntry(kept + s("/app"), locations.home + s("/Code")),
                      test::readyEntry(plain + s("/site"), locations.home + s("/Code"))});
    EXPECT_EQ(outcome.failures, QList<MoveFailure>());
    EXPECT_EQ(outcome.run.moves.size(), 2);
    EXPECT_EQ(outcome.run.trashedEmptyFolders, QStringList{plain});
    EXPECT_TRUE(QFileInfo(kept).isDir());
    EXPECT_FALSE(QFileInfo::exists(kept + s("/app")));
}

TEST(OrganizeKeepMarks, UnreadableMarksNeverStopAMoveAndTheRecordSaysTheyDidNotFollow) {
    const AgentLocations locations = test::makeAgentHome();
    const OrganizeExecutor executor = test::executorFor(locations);
    const QString root = test::makeTempDir(s("keep-broken"));
    const QString app = root + s("/old/app");
    test::makeProject(locations, app, s("k2"));
    test::writeFile(executor.mover.keepMarks.url(), "{ not a list");

    const MoveRecord record = executor.mover.move(app, root + s("/new/app"));
    EXPECT_TRUE(QFileInfo(root + s("/new/app")).isDir());
    ASSERT_EQ(record.relink.warnings.size(), 1);
    EXPECT_TRUE(record.relink.warnings[0].startsWith(s("Keep marks did not follow: ")))
        << qPrintable(record.relink.warnings[0]);
    // The file is left for the user to fix.
    QFile file(executor.mover.keepMarks.url());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("{ not a list"));
}

} // namespace
} // namespace corvane
