#include "organize/OrganizeExecutor.h"

#include "../agents/AgentFixtures.h"
#include "OrganizeFixtures.h"
#include "platform/Paths.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>
#include <unistd.h>

namespace corvane {
namespace {

using test::s;

struct ProgressCall {
    QString source;
    int index = 0;
    int count = 0;
    bool operator==(const ProgressCall&) const = default;
};

QStringList sourcesOf(const QList<MoveRecord>& moves) {
    QStringList sources;
    for (const MoveRecord& move : moves)
        sources.append(move.source);
    return sources;
}

// Where the freedesktop Trash of the test's data folder keeps a trashed item.
QString inTrash(const QString& name) {
    return qEnvironmentVariable("XDG_DATA_HOME") + s("/Trash/files/") + name;
}

// A Trash that refuses everything, as a volume without one would.
class RefusingTrash : public PlatformTrash {
public:
    TrashMove moveToTrash(const QString&) const override {
        return TrashMove::refused(s("The volume has no Trash."));
    }
};

TEST(OrganizeExecutor, MovesProjectsWithTheirHistoryAndUndoPutsBackEveryByte) {
    const AgentLocations locations = test::makeAgentHome();
    const QString home = locations.home;
    const QString alpha = home + s("/old/alpha");
    const QString beta = home + s("/old/beta");
    const QString gamma = home + s("/Desktop/gamma");
    test::makeProject(locations, alpha, s("a1"));
    test::writeClaudeSessionIn(locations, alpha + s("/web"), s("a2"));
    test::makeProject(locations, beta, s("b1"));
    test::makeProject(locations, gamma, s("g1"));
    sqlite3* database = test::createCodexDatabase(locations.codexHome + s("/state_5.sqlite"));
    test::insertThread(database, s("t1"), gamma, s("fix"), 1);
    test::insertThread(database, s("t2"), gamma + s("-fork"), s("other"), 2);
    sqlite3_close(database);
    // History of a neighbour whose name begins with a project's stays where it is.
    test::writeClaudeSessionIn(locations, home + s("/old/alphabet"), s("n1"));
    test::writeFile(home + s("/old/.DS_Store"), "finder");
    test::writeFile(home + s("/Desktop/notes.txt"), "keep");

    const QString codexRows = s("SELECT id || ' ' || cwd FROM threads ORDER BY id");
    const auto rows = [&] {
        sqlite3* connection = test::openDatabase(locations.codexHome + s("/state_5.sqlite"));
        const QStringList values = test::queryColumn(connection, codexRows);
        sqlite3_close(connection);
        return values;
    };
    const QStringList rowsBefore = rows();
    const QMap<QString, QByteArray> historyBefore = test::folderSnapshot(locations.claudeProjects);
    const QMap<QString, QByteArray> projectsBefore = test::folderSnapshot(home + s("/old"));
    const QMap<QString, QByteArray> gammaBefore = test::folderSnapshot(gamma);

    const QString projects = home + s("/Projects");
    OrganizeEntry busy = test::readyEntry(home + s("/busy"), projects);
    busy.status = OrganizeStatus::of(OrganizeStatus::Case::busy, s("Claude Code"));
    const QList<OrganizeEntry> plan{test::readyEntry(alpha, projects, s("claude")), busy,
                                    test::readyEntry(beta, projects, s("claude")),
                                    test::readyEntry(gamma, projects, s("codex"))};
    const OrganizeExecutor executor = test::executorFor(locations);
    QList<ProgressCall> calls;
    const OrganizeExecutor::Outcome outcome =
        executor.run(plan, CancellationToken(), [&](const QString& source, int index, int count) {
            calls.append({source, index, count});
        });

    EXPECT_EQ(outcome.failures, QList<MoveFailure>());
    EXPECT_FALSE(outcome.journalError);
    EXPECT_EQ(calls, (QList<ProgressCall>{{alpha, 0, 3}, {beta, 1, 3}, {gamma, 2, 3}}));
    EXPECT_EQ(sourcesOf(outcome.run.moves), (QStringList{alpha, beta, gamma}));
    EXPECT_EQ(outcome.run.moves[0].createdFolders,
              (QStringList{projects, projects + s("/claude")}));
    EXPECT_EQ(outcome.run.moves[2].createdFolders, QStringList{projects + s("/codex")});
    EXPECT_EQ(executor.journal.lastRun(), outcome.run);

    // The emptied parent went to the Trash with its ".DS_Store"; the Desktop holds a file.
    EXPECT_EQ(outcome.run.trashedEmptyFolders, QStringList{home + s("/old")});
    EXPECT_FALSE(QFileInfo::exists(home + s("/old")));
    EXPECT_EQ(test::readBytes(inTrash(s("old/.DS_Store"))), QByteArray("finder"));
    EXPECT_EQ(test::readBytes(home + s("/Desktop/notes.txt")), QByteArray("keep"));

    // The repositories and their history are at the new places, none at the old.
    const QString newAlpha = projects + s("/claude/alpha");
    const QString newGamma = projects + s("/codex/gamma");
    EXPECT_EQ(test::folderSnapshot(newGamma), gammaBefore);
    EXPECT_EQ(test::git(newAlpha, {s("log"), s("-1"), s("--format=%s")}).standardOutput,
              "Change\n");
    EXPECT_EQ(test::sessionIDsIn(locations, newAlpha), (QStringList{s("a1"), s("a2")}));
    EXPECT_EQ(test::sessionIDsIn(locations, projects + s("/claude/beta")), QStringList{s("b1")});
    EXPECT_EQ(test::sessionIDsIn(locations, newGamma), (QStringList{s("g1"), s("t1")}));
    for (const QString& old : {alpha, beta, gamma})
        EXPECT_TRUE(test::sessionIDsIn(locations, old).isEmpty()) << old.toStdString();
    EXPECT_EQ(test::sessionIDsIn(locations, home + s("/old/alphabet")), QStringList{s("n1")});
    EXPECT_EQ(test::sessionIDsIn(locations, gamma + s("-fork")), QStringList{s("t2")});

    const OrganizeExecutor::UndoOutcome undone = executor.undoLast();
    EXPECT_EQ(undone.failures, QList<MoveFailure>());
    EXPECT_FALSE(undone.journalError);
    EXPECT_EQ(sourcesOf(undone.restored), (QStringList{gamma, beta, alpha}));
    EXPECT_TRUE(executor.journal.load().isEmpty());

    // Every file back byte for byte; the parent is back, its ".DS_Store" stays in the Trash.
    QMap<QString, QByteArray> expected = projectsBefore;
    expected.remove(s("/.DS_Store"));
    EXPECT_EQ(test::folderSnapshot(home + s("/old")), expected);
    EXPECT_EQ(test::folderSnapshot(gamma), gammaBefore);
    EXPECT_EQ(test::folderSnapshot(locations.claudeProjects), historyBefore);
    EXPECT_EQ(rows(), rowsBefore);
    EXPECT_FALSE(QFileInfo::exists(projects));
    EXPECT_EQ(test::sessionIDsIn(locations, alpha), (QStringList{s("a1"), s("a2")}));
    EXPECT_TRUE(executor.undoLast().nothingToUndo);
}

TEST(OrganizeExecutor, UndoRefusesATakenOldPlaceAndTheRestStillGoesBack) {
    const AgentLocations locations = test::makeAgentHome();
    const QString home = locations.home;
    const QString first = home + s("/code/first");
    const QString second = home + s("/code/second");
    test::makeProject(locations, first, s("f1"));
    test::makeProject(locations, second, s("s1"));
    const QString projects = home + s("/Projects");
    const OrganizeExecutor executor = test::executorFor(locations);
    const OrganizeExecutor::Outcome outcome =
        executor.run({test::readyEntry(first, projects), test::readyEntry(second, projects)});
    ASSERT_EQ(outcome.run.moves.size(), 2);
    EXPECT_EQ(outcome.run.trashedEmptyFolders, QStringList{home + s("/code")});

    // The user started a new project at the old place of the first.
    test::writeFile(first + s("/new.txt"), "new work");
    const OrganizeExecutor::UndoOutcome undone = executor.undoLast();
    EXPECT_EQ(undone.failures,
              (QList<MoveFailure>{{first, s("Something now exists at ") + first}}));
    EXPECT_EQ(sourcesOf(undone.restored), QStringList{second});
    EXPECT_TRUE(QFileInfo(second + s("/.git")).isDir());
    EXPECT_EQ(test::sessionIDsIn(locations, second), QStringList{s("s1")});
    EXPECT_EQ(test::folderSnapshot(first).keys(), QStringList{s("/new.txt")});
    EXPECT_EQ(test::sessionIDsIn(locations, projects + s("/first")), QStringList{s("f1")});

    // The refused move stays in the journal as the same run, and goes back once the place is
    // free again.
    const std::optional<OrganizeRun> left = executor.journal.lastRun();
    ASSERT_TRUE(left);
    EXPECT_EQ(left->id, outcome.run.id);
    EXPECT_EQ(left->moves, QList<MoveRecord>{outcome.run.moves[0]});
    EXPECT_EQ(left->trashedEmptyFolders, QStringList{home + s("/code")});
    QFile::rename(first + s("/new.txt"), home + s("/new.txt"));
    QDir().rmdir(first);
    const OrganizeExecutor::UndoOutcome again = executor.undoLast();
    EXPECT_EQ(again.failures, QList<MoveFailure>());
    EXPECT_EQ(sourcesOf(again.restored), QStringList{first});
    EXPECT_EQ(test::sessionIDsIn(locations, first), QStringList{s("f1")});
    EXPECT_FALSE(QFileInfo::exists(projects));
    EXPECT_TRUE(executor.journal.load().isEmpty());
}

TEST(OrganizeExecutor, ACancelledRunLeavesAJournalThatUndoesExactlyTheMovesMade) {
    const AgentLocations locations = test::makeAgentHome();
    const QString home = locations.home;
    const QStringList sources{home + s("/one/app"), home + s("/two/app"), home + s("/three/app")};
    QList<OrganizeEntry> plan;
    for (const QString& source : sources) {
        test::makeProject(locations, source, Paths::lastComponent(Paths::parentPath(source)));
        plan.append(test::readyEntry(source, home + s("/Projects"),
                                     Paths::lastComponent(Paths::parentPath(source))));
    }
    const OrganizeExecutor executor = test::executorFor(locations);
    CancellationToken cancellation;
    // The user cancels while the second move is announced; by then the first is journaled, as
    // a program that ended there would have left it.
    std::optional<OrganizeRun> journaledByThen;
    const OrganizeExecutor::Outcome outcome =
        executor.run(plan, cancellation, [&](const QString&, int index, int) {
            if (index != 1)
                return;
            journaledByThen = executor.journal.lastRun();
            cancellation.cancel();
        });

    EXPECT_EQ(outcome.failures, QList<MoveFailure>());
    EXPECT_EQ(sourcesOf(outcome.run.moves), QStringList{sources[0]});
    EXPECT_TRUE(QFileInfo(home + s("/Projects/one/app")).isDir());
    ASSERT_TRUE(journaledByThen);
    EXPECT_EQ(journaledByThen->id, outcome.run.id);
    EXPECT_EQ(journaledByThen->moves, outcome.run.moves);
    EXPECT_TRUE(QFileInfo(sources[1]).isDir());
    EXPECT_TRUE(QFileInfo(sources[2]).isDir());
    // What the cancelled run emptied is still cleared away, and journaled.
    EXPECT_EQ(outcome.run.trashedEmptyFolders, QStringList{home + s("/one")});
    EXPECT_EQ(executor.journal.load(), QList<OrganizeRun>{outcome.run});

    const OrganizeExecutor::UndoOutcome undone = executor.undoLast();
    EXPECT_EQ(undone.failures, QList<MoveFailure>());
    EXPECT_EQ(sourcesOf(undone.restored), QStringList{sources[0]});
    EXPECT_EQ(test::sessionIDsIn(locations, sources[0]), QStringList{s("one")});
    EXPECT_FALSE(QFileInfo::exists(home + s("/Projects")));
    EXPECT_TRUE(executor.journal.load().isEmpty());

    // Cancelled before the first move: nothing moves and nothing is written.
    const QByteArray journalBefore = test::readBytes(executor.journal.url());
    CancellationToken early;
    early.cancel();
    EXPECT_TRUE(executor.run(plan, early).run.moves.isEmpty());
    EXPECT_EQ(test::readBytes(executor.journal.url()), journalBefore);
    EXPECT_TRUE(QFileInfo(sources[1]).isDir());
}

TEST(OrganizeExecutor, FailuresAreListedTheRunGoesOnAndOnlyParentsInsideTheAreaAreTrashed) {
    const AgentLocations locations = test::makeAgentHome();
    const QString home = locations.home;
    OrganizeExecutor executor = test::executorFor(locations);
    executor.trashArea = home + s("/area");
    const QString taken = home + s("/area/taken/app");
    const QString inArea = home + s("/area/app");
    const QString nested = home + s("/area/nested/app");
    const QString outside = home + s("/outside/app");
    for (const QString& path : {taken, inArea, nested, outside})
        test::makeProject(locations, path, Paths::lastComponent(Paths::parentPath(path)));
    const QString projects = home + s("/Projects");
    QDir().mkpath(projects + s("/taken/app"));

    const RefusingTrash refusingTrash;
    executor.trash = &refusingTrash;
    const OrganizeExecutor::Outcome outcome = executor.run(
        {test::readyEntry(taken, projects, s("taken")), test::readyEntry(inArea, projects),
         test::readyEntry(nested, projects, s("nested")),
         test::readyEntry(outside, projects, s("outside"))});

    // The area itself and a folder outside it are never offered to the Trash; the one that
    // was stays where it is.
    EXPECT_EQ(outcome.failures,
              (QList<MoveFailure>{{taken, projects + s("/taken/app already exists.")},
                                  {home + s("/area/nested"), s("The volume has no Trash.")}}));
    EXPECT_EQ(sourcesOf(outcome.run.moves), (QStringList{inArea, nested, outside}));
    EXPECT_EQ(outcome.run.trashedEmptyFolders, QStringList());
    EXPECT_TRUE(QFileInfo(home + s("/area/nested")).isDir());
    EXPECT_TRUE(QFileInfo(home + s("/outside")).isDir());
    EXPECT_EQ(executor.journal.lastRun(), outcome.run);

    // With a working Trash the nested parent goes, and the area stays even when empty.
    QDir(home + s("/area/taken")).removeRecursively();
    executor.trash = &PlatformTrash::system();
    const OrganizeExecutor::Outcome moveBack =
        executor.moveOne(projects + s("/nested/app"), home + s("/area/nested/again/app"));
    EXPECT_EQ(moveBack.failures, QList<MoveFailure>());
    EXPECT_EQ(moveBack.run.trashedEmptyFolders, QStringList()) << "a single move trashes nothing";
    const OrganizeExecutor::Outcome last =
        executor.run({test::readyEntry(home + s("/area/nested/again/app"), projects, s("nested"))});
    EXPECT_EQ(last.run.trashedEmptyFolders, QStringList{home + s("/area/nested/again")});
    EXPECT_TRUE(OrganizeExecutor::isEmptyFolder(home + s("/area/nested")));
    EXPECT_TRUE(QFileInfo(home + s("/area")).isDir());
}

TEST(OrganizeExecutor, SingleMovesAndRelinksAreJournaledAndAFailedSaveKeepsTheMove) {
    const AgentLocations locations = test::makeAgentHome();
    const QString home = locations.home;
    const QString app = home + s("/code/app");
    test::makeProject(locations, app, s("a1"));
    const OrganizeExecutor executor = test::executorFor(locations);

    const OrganizeExecutor::Outcome refused = executor.moveOne(app, app + s("/inner"));
    EXPECT_EQ(refused.failures,
              (QList<MoveFailure>{{app, s("Cannot move a folder into itself.")}}));
    EXPECT_FALSE(QFileInfo::exists(executor.journal.url()));

    // Moved by hand, then relinked: the journal undoes the relink and touches no folder.
    QDir().rename(app, home + s("/app"));
    const OrganizeExecutor::Outcome relinked = executor.relinkOne(app, home + s("/app"));
    EXPECT_EQ(relinked.failures, QList<MoveFailure>());
    ASSERT_EQ(relinked.run.moves.size(), 1);
    EXPECT_FALSE(relinked.run.moves[0].movedFolder);
    EXPECT_EQ(executor.journal.lastRun(), relinked.run);
    EXPECT_EQ(test::sessionIDsIn(locations, home + s("/app")), QStringList{s("a1")});
    EXPECT_EQ(executor.undoLast().failures, QList<MoveFailure>());
    EXPECT_EQ(test::sessionIDsIn(locations, app), QStringList{s("a1")});
    EXPECT_TRUE(QFileInfo(home + s("/app")).isDir());

    // A journal that can't be written is reported; the move is done all the same.
    test::writeFile(home + s("/blocked"), "a file where the journal's folder should be");
    OrganizeExecutor blocked = executor;
    blocked.journal = OrganizeJournal(home + s("/blocked/organize-journal.json"));
    const OrganizeExecutor::Outcome unjournaled = blocked.moveOne(home + s("/app"), app);
    EXPECT_EQ(unjournaled.failures, QList<MoveFailure>());
    EXPECT_TRUE(unjournaled.journalError);
    EXPECT_TRUE(QFileInfo(app + s("/.git")).isDir());
    EXPECT_EQ(test::sessionIDsIn(locations, app), QStringList{s("a1")});
}

TEST(OrganizeExecutor, AnEmptyFolderHoldsNothingButDsStoreFiles) {
    const QString root = test::makeTempDir(s("empty"));
    QDir().mkpath(root + s("/nothing"));
    test::writeFile(root + s("/finder/.DS_Store"));
    test::writeFile(root + s("/hidden/.env"));
    QDir().mkpath(root + s("/sub/inner"));
    test::writeFile(root + s("/file"));
    QFile::link(root + s("/nothing"), root + s("/link"));

    EXPECT_TRUE(OrganizeExecutor::isEmptyFolder(root + s("/nothing")));
    EXPECT_TRUE(OrganizeExecutor::isEmptyFolder(root + s("/finder")));
    EXPECT_FALSE(OrganizeExecutor::isEmptyFolder(root + s("/hidden")));
    EXPECT_FALSE(OrganizeExecutor::isEmptyFolder(root + s("/sub")));
    EXPECT_FALSE(OrganizeExecutor::isEmptyFolder(root + s("/file")));
    EXPECT_FALSE(OrganizeExecutor::isEmptyFolder(root + s("/link")));
    EXPECT_FALSE(OrganizeExecutor::isEmptyFolder(root + s("/missing")));
}

TEST(OrganizeExecutor, AStandardFolderOfTheHomeStaysWhenItsProjectsLeaveIt) {
    const AgentLocations locations = test::makeAgentHome();
    const QString home = locations.home;
    OrganizeExecutor executor = test::executorFor(locations);
    executor.trashArea = home;
    const QString onDesktop = home + s("/Desktop/app");
    const QString inOld = home + s("/old/site");
    test::makeProject(locations, onDesktop, s("desktop"));
    test::makeProject(locations, inOld, s("old"));

    const OrganizeExecutor::Outcome outcome =
        executor.run({test::readyEntry(onDesktop, home + s("/Code")),
                      test::readyEntry(inOld, home + s("/Code"))});
    EXPECT_EQ(outcome.failures, QList<MoveFailure>());
    EXPECT_EQ(outcome.run.trashedEmptyFolders, QStringList{home + s("/old")});
    EXPECT_TRUE(QFileInfo(home + s("/Desktop")).isDir());
}

} // namespace
} // namespace corvane

namespace corvane {

TEST(OrganizeExecutor, MovesCutShortAreTakenBackAtEitherStageAndOneUnderWayIsLeftAlone) {
    const AgentLocations locations = test::makeAgentHome();
    const QString home = locations.home;
    const QString app = home + s("/code/app");
    const QString site = home + s("/code/site");
    test::makeProject(locations, app, s("a1"));
    test::makeProject(locations, site, s("s1"));
    const OrganizeExecutor executor = test::executorFor(locations);
    const QMap<QString, QByteArray> appBefore = test::folderSnapshot(app);

    // What the journal holds at each stage of a real move: the intent comes before the change.
    QList<MoveRecord> stages;
    const QString destination = home + s("/Code/new/app");
    executor.mover.move(app, destination, [&](const MoveRecord& pending) {
        stages.append(pending);
        EXPECT_EQ(QFileInfo::exists(destination), pending.stage == MoveRecord::Stage::relinking);
    });
    ASSERT_EQ(stages.size(), 2);
    EXPECT_EQ(stages[0].createdFolders, (QStringList{home + s("/Code"), home + s("/Code/new")}));
    // Cut short while relinking (here: after the whole relink): all of it goes back.
    OrganizeRun cut;
    cut.id = QUuid::createUuid();
    cut.moves = {stages[1]};
    // A move whose process still runs is under way, not cut short.
    OrganizeRun underWay;
    underWay.id = QUuid::createUuid();
    underWay.moves = {{site,
                       home + s("/elsewhere/site"),
                       {},
                       {},
                       true,
                       MoveRecord::Stage::moving,
                       static_cast<qint64>(::getppid())}};
    ASSERT_EQ(executor.journal.save(underWay).error, QString());
    ASSERT_EQ(executor.journal.save(cut).error, QString());

    const OrganizeExecutor::UndoOutcome recovered = executor.recoverInterrupted();
    EXPECT_EQ(recovered.failures, QList<MoveFailure>());
    EXPECT_EQ(recovered.restored, QList<MoveRecord>{stages[1]});
    EXPECT_EQ(test::folderSnapshot(app), appBefore);
    EXPECT_FALSE(QFileInfo::exists(home + s("/Code")));
    EXPECT_EQ(test::sessionIDsIn(locations, app), QStringList{s("a1")});
    EXPECT_EQ(executor.journal.load(), QList<OrganizeRun>{underWay});
    EXPECT_TRUE(executor.recoverInterrupted().nothingToUndo);

    // Cut short before its rename: only the folders it had made go.
    QDir().mkpath(home + s("/Code/new"));
    cut.moves = {stages[0]};
    ASSERT_EQ(executor.journal.save(cut).error, QString());
    EXPECT_EQ(executor.undoLast().restored, QList<MoveRecord>{stages[0]});
    EXPECT_EQ(test::folderSnapshot(app), appBefore);
    EXPECT_FALSE(QFileInfo::exists(home + s("/Code")));
    EXPECT_EQ(executor.journal.load(), QList<OrganizeRun>{underWay});
}

} // namespace corvane
