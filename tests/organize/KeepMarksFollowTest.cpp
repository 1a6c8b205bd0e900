#include "OrganizeFixtures.h"
#include "organize/OrganizeExecutor.h"
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
