#include "shell/ProjectTreeModel.h"

#include "shell/ShellTesting.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QAbstractItemModelTester>
#include <QPersistentModelIndex>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;
using test::makeDetails;
using test::makeItem;
using test::makeProject;

namespace {

class ProjectTreeModelTest : public testing::Test {
protected:
    void SetUp() override {
        root = test::makeTempDir(QStringLiteral("code"));
        ASSERT_EQ(session.chooseFolderAndScan(root), std::nullopt);
        model.setClock([] { return QDateTime(QDate(2024, 6, 10), QTime(12, 0)); });
    }

    Project project(const QString& name, const std::optional<QUuid>& parent = std::nullopt) {
        return makeProject(root + u'/' + name, parent);
    }

    // A project with one safe item of `bytes`, discovered, classified and measured.
    QList<ScanEvent> measured(const Project& project, qint64 bytes) {
        const CleanableItem item = makeItem(project, QStringLiteral("node_modules"));
        return {ScanEvent::projectDiscovered(project),
                ScanEvent::itemsClassified(project.id, {item}),
                ScanEvent::sizeUpdated(item.id, bytes)};
    }

    QString dump() { return test::dumpTree(model); }

    QString root;
    ToastCenter toasts;
    test::FakeScans scans;
    ScanSession session{toasts, scans.starter()};
    ProjectTreeModel model{session};
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

} // namespace

TEST_F(ProjectTreeModelTest, RowsArriveByInsertionAndMoveToTheirPlaceWithoutAReset) {
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    QSignalSpy inserts(&model, &QAbstractItemModel::rowsInserted);
    const Project small = project(QStringLiteral("small"));
    const Project large = project(QStringLiteral("large"));
    scans.feed(measured(small, 10));
    model.refresh();
    ASSERT_EQ(dump(), QStringLiteral("small"));
    const QPersistentModelIndex held = model.indexOf(small.id);

    scans.feed(measured(large, 5000));
    model.refresh();
    EXPECT_EQ(dump(), QStringLiteral("large,small"));
    EXPECT_EQ(resets.count(), 0);
    EXPECT_EQ(inserts.count(), 2);
    // A selection held on a row follows its project when the row moves.
    ASSERT_TRUE(held.isValid());
    EXPECT_EQ(held.row(), 1);
    EXPECT_EQ(model.projectAt(held)->id, small.id);
}

TEST_F(ProjectTreeModelTest, SubProjectsNestAndAParentFoundLateRebuildsTheTree) {
    const Project mono = project(QStringLiteral("mono"));
    const Project web = makeProject(mono.url + QStringLiteral("/web"), mono.id);
    const Project api = makeProject(mono.url + QStringLiteral("/api"), mono.id);
    scans.feed(measured(web, 30) + measured(api, 70));
    model.refresh();
    // Their parent is not listed yet, so they stand at the top.
    EXPECT_EQ(dump(), QStringLiteral("api,web"));

    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    scans.feed({ScanEvent::projectDiscovered(mono)});
    model.refresh();
    EXPECT_EQ(dump(), QStringLiteral("mono(api,web)"));
    EXPECT_EQ(resets.count(), 1);

    const Project tool = makeProject(mono.url + QStringLiteral("/tool"), mono.id);
    scans.feed(measured(tool, 50));
    model.refresh();
    EXPECT_EQ(dump(), QStringLiteral("mono(api,tool,web)"));
    EXPECT_EQ(resets.count(), 1);
}

TEST_F(ProjectTreeModelTest, TheFilterAndANewScanRemoveRowsAndTheFilterBringsThemBack) {
    const Project synced = project(QStringLiteral("synced"));
    const Project dirty = project(QStringLiteral("dirty"));
    scans.feed(measured(synced, 100) + measured(dirty, 50) +
               QList<ScanEvent>{
                   ScanEvent::gitStatusUpdated(synced.id, makeDetails(GitStatus::fullySynced())),
                   ScanEvent::gitStatusUpdated(dirty.id, makeDetails(GitStatus::dirty(2)))});
    model.refresh();
    ASSERT_EQ(dump(), QStringLiteral("synced,dirty"));

    QSignalSpy removals(&model, &QAbstractItemModel::rowsRemoved);
    session.setShowOnlyUnsynced(true);
    model.refresh();
    EXPECT_EQ(dump(), QStringLiteral("dirty"));
    EXPECT_EQ(removals.count(), 1);
    session.setShowOnlyUnsynced(false);
    model.refresh();
    EXPECT_EQ(dump(), QStringLiteral("synced,dirty"));

    session.rescan();
    model.refresh();
    EXPECT_EQ(dump(), QString());
    EXPECT_EQ(model.rowCount(), 0);
}

TEST_F(ProjectTreeModelTest, ColumnsSayTheGitStateTheActivityAndTheSizeWithItsShareOfTheLargest) {
    const Project app = project(QStringLiteral("app"));
    const Project lib = project(QStringLiteral("lib"));
    const Project loose = project(QStringLiteral("loose"));
    scans.feed(measured(app, 4'000'000) + measured(lib, 1'000'000) +
               QList<ScanEvent>{ScanEvent::projectDiscovered(loose)});
    model.refresh();
    const auto cell = [this](const Project& project, int column, int role = Qt::DisplayRole) {
        return model.indexOf(project.id, column).data(role);
    };
    EXPECT_EQ(cell(app, ProjectTreeModel::stateColumn).toString(), QStringLiteral("Checking git…"));
    EXPECT_EQ(cell(app, ProjectTreeModel::sizeColumn).toString(), QStringLiteral("4 MB"));
    EXPECT_DOUBLE_EQ(
        cell(lib, ProjectTreeModel::sizeColumn, ProjectTreeModel::barFractionRole).toDouble(),
        0.25);
    EXPECT_EQ(cell(loose, ProjectTreeModel::sizeColumn, ProjectTreeModel::bytesRole).toLongLong(),
              0);

    QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    const QDateTime lastWeek(QDate(2024, 6, 1), QTime(9, 0));
    scans.feed({ScanEvent::gitStatusUpdated(app.id, makeDetails(GitStatus::dirty(1), lastWeek)),
                ScanEvent::gitStatusUpdated(lib.id, makeDetails(GitStatus::aheadOfRemote(2))),
                ScanEvent::gitStatusUpdated(loose.id, GitDetails()), ScanEvent::scanCompleted()});
    model.refresh();
    EXPECT_FALSE(changes.isEmpty());
    EXPECT_EQ(cell(app, ProjectTreeModel::stateColumn).toString(),
              QStringLiteral("1 uncommitted change"));
    EXPECT_EQ(cell(app, ProjectTreeModel::activityColumn).toString(), QStringLiteral("9 days ago"));
    EXPECT_EQ(cell(lib, ProjectTreeModel::stateColumn).toString(),
              QStringLiteral("2 commits not pushed"));
    EXPECT_EQ(cell(lib, ProjectTreeModel::activityColumn).toString(), QStringLiteral("No commits"));
    EXPECT_EQ(cell(loose, ProjectTreeModel::stateColumn).toString(),
              QStringLiteral("Not in a git repository"));
    EXPECT_EQ(cell(loose, ProjectTreeModel::activityColumn).toString(), QString());
    EXPECT_EQ(cell(app, ProjectTreeModel::nameColumn, Qt::ToolTipRole).toString(), app.url);
    EXPECT_EQ(cell(app, ProjectTreeModel::nameColumn, ProjectTreeModel::projectIDRole).toUuid(),
              app.id);
}

TEST_F(ProjectTreeModelTest, SessionChangesReachTheRowsWithoutBeingAskedFor) {
    const Project app = project(QStringLiteral("app"));
    scans.feed(measured(app, 10));
    EXPECT_TRUE(QTest::qWaitFor([this] { return model.rowCount() == 1; }, test::patience));
    session.setSortMode(ProjectSortMode::activity);
    const Project other = project(QStringLiteral("other"));
    scans.feed({ScanEvent::projectDiscovered(other)});
    EXPECT_TRUE(
        QTest::qWaitFor([this] { return dump() == QStringLiteral("app,other"); }, test::patience))
        << qPrintable(dump());
}

TEST_F(ProjectTreeModelTest, ASizeStillBeingMeasuredSaysSoUntilTheScanEnds) {
    const Project app = project(QStringLiteral("app"));
    const Project lib = project(QStringLiteral("lib"));
    const CleanableItem modules = makeItem(app, QStringLiteral("node_modules"));
    const CleanableItem dist = makeItem(app, QStringLiteral("dist"), ArtifactKind::buildOutput);
    scans.feed({ScanEvent::projectDiscovered(app), ScanEvent::projectDiscovered(lib)});
    model.refresh();
    const auto size = [this](const Project& project) {
        return model.indexOf(project.id, ProjectTreeModel::sizeColumn).data().toString();
    };
    // Not classified yet, then classified with one item of two measured.
    EXPECT_EQ(size(app), QStringLiteral("Measuring…"));
    scans.feed({ScanEvent::itemsClassified(app.id, {modules, dist}),
                ScanEvent::itemsClassified(lib.id, {}), ScanEvent::sizeUpdated(modules.id, 4000)});
    model.refresh();
    EXPECT_EQ(size(app), QStringLiteral("Measuring…"));
    EXPECT_EQ(size(lib), QStringLiteral("Zero KB"));
    scans.feed({ScanEvent::sizeUpdated(dist.id, 2000)});
    model.refresh();
    EXPECT_EQ(size(app), QStringLiteral("6 KB"));
}

TEST_F(ProjectTreeModelTest, AProjectRowCountsTheProjectsInsideItAsAFolderWould) {
    const Project mono = project(QStringLiteral("mono"));
    const Project app = makeProject(mono.url + QStringLiteral("/app"), mono.id);
    const Project medium = project(QStringLiteral("medium"));
    const CleanableItem appModules = makeItem(app, QStringLiteral("node_modules"));
    scans.feed(measured(mono, 5'000) + measured(medium, 50'000) +
               QList<ScanEvent>{ScanEvent::projectDiscovered(app),
                                ScanEvent::itemsClassified(app.id, {appModules})});
    model.refresh();
    const auto cell = [this](const Project& project, int role = Qt::DisplayRole) {
        return model.indexOf(project.id, ProjectTreeModel::sizeColumn).data(role).toString();
    };
    // What is inside is not measured yet, so neither is the whole.
    EXPECT_EQ(cell(mono), QStringLiteral("Measuring…"));

    scans.feed({ScanEvent::sizeUpdated(appModules.id, 100'000), ScanEvent::scanCompleted()});
    model.refresh();
    EXPECT_EQ(dump(), QStringLiteral("mono(app),medium"));
    EXPECT_EQ(cell(mono), QStringLiteral("105 KB"));
    EXPECT_EQ(cell(mono, Qt::ToolTipRole),
              QStringLiteral("5 KB in this project, 100 KB in the projects inside it"));
    EXPECT_EQ(cell(app), QStringLiteral("100 KB"));
    EXPECT_EQ(cell(app, Qt::ToolTipRole), QStringLiteral("100 KB"));
    EXPECT_DOUBLE_EQ(model.indexOf(app.id, ProjectTreeModel::sizeColumn)
                         .data(ProjectTreeModel::barFractionRole)
                         .toDouble(),
                     100.0 / 105.0);
}

TEST_F(ProjectTreeModelTest,
       TheFindTextKeepsMatchesWithTheProjectsAroundThemAndAColumnOrdersEachLevel) {
    const Project mono = project(QStringLiteral("mono"));
    const Project web = makeProject(mono.url + QStringLiteral("/web"), mono.id);
    const Project api = makeProject(mono.url + QStringLiteral("/Api"), mono.id);
    const Project site = project(QStringLiteral("site"));
    scans.feed(measured(mono, 10) + measured(web, 30) + measured(api, 70) + measured(site, 500) +
               QList<ScanEvent>{ScanEvent::scanCompleted()});
    model.refresh();
    ASSERT_EQ(dump(), QStringLiteral("site,mono(Api,web)"));

    model.setFindText(QStringLiteral(" api "));
    EXPECT_EQ(dump(), QStringLiteral("mono(Api)"));
    EXPECT_EQ(model.shownRowCount(), 2);
    EXPECT_EQ(model.allRowCount(), 4);
    model.setFindText(QStringLiteral("MONO"));
    EXPECT_EQ(dump(), QStringLiteral("mono(Api,web)"));
    model.setFindText({});

    model.sort(ProjectTreeModel::nameColumn, Qt::AscendingOrder);
    EXPECT_EQ(dump(), QStringLiteral("mono(Api,web),site"));
    model.sort(ProjectTreeModel::sizeColumn, Qt::AscendingOrder);
    EXPECT_EQ(dump(), QStringLiteral("mono(web,Api),site"));
    model.sort(-1);
    EXPECT_EQ(dump(), QStringLiteral("site,mono(Api,web)"));
}
