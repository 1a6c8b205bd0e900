#include "shell/CachesTableModel.h"
#include "shell/ProjectItemsModel.h"
#include "shell/ShellTesting.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;
using test::makeDetails;
using test::makeItem;
using test::makeProject;

namespace {

using Tester = QAbstractItemModelTester;

class ProjectItemsModelTest : public testing::Test {
protected:
    void SetUp() override {
        root = test::makeTempDir(QStringLiteral("code"));
        ASSERT_EQ(session.chooseFolderAndScan(root), std::nullopt);
    }

    QString cell(int row, int column, int role = Qt::DisplayRole) {
        return model.index(row, column).data(role).toString();
    }

    Qt::CheckState tick(int row) {
        return model.index(row, ProjectItemsModel::folderColumn)
            .data(Qt::CheckStateRole)
            .value<Qt::CheckState>();
    }

    QString root;
    ToastCenter toasts;
    test::FakeScans scans;
    ScanSession session{toasts, scans.starter()};
    ProjectItemsModel model{session};
    Tester tester{&model, Tester::FailureReportingMode::Fatal};
};

} // namespace

TEST_F(ProjectItemsModelTest, RowsShowTheProjectsItemsInWordsAndFollowTheirMeasurements) {
    const Project app = makeProject(root + QStringLiteral("/app"));
    const CleanableItem modules = makeItem(app, QStringLiteral("packages/web/node_modules"));
    const CleanableItem out = makeItem(app, QStringLiteral("out"), ArtifactKind::unknown,
                                       CleanConfidence::ignoredButUnknown);
    const CleanableItem whole =
        makeItem(app, {}, ArtifactKind::wholeProject, CleanConfidence::reclonable);
    scans.feed({ScanEvent::projectDiscovered(app),
                ScanEvent::itemsClassified(app.id, {modules, out, whole})});
    model.setProject(app);
    ASSERT_EQ(model.rowCount(), 3);

    EXPECT_EQ(cell(0, ProjectItemsModel::folderColumn),
              QStringLiteral("packages/web/node_modules"));
    EXPECT_EQ(cell(0, ProjectItemsModel::kindColumn), QStringLiteral("Dependencies"));
    EXPECT_EQ(cell(1, ProjectItemsModel::confidenceColumn), QStringLiteral("ignored, unverified"));
    EXPECT_EQ(cell(2, ProjectItemsModel::folderColumn), QStringLiteral("The whole project folder"));
    EXPECT_EQ(cell(2, ProjectItemsModel::kindColumn), QStringLiteral("Whole project"));
    EXPECT_EQ(cell(0, ProjectItemsModel::folderColumn, Qt::ToolTipRole), modules.url);
    EXPECT_EQ(cell(0, ProjectItemsModel::sizeColumn), QStringLiteral("Measuring…"));

    QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    scans.feed({ScanEvent::sizeUpdated(modules.id, 1'500'000)});
    EXPECT_EQ(cell(0, ProjectItemsModel::sizeColumn), QStringLiteral("1.5 MB"));
    ASSERT_FALSE(changes.isEmpty());
    EXPECT_EQ(changes.last().at(0).toModelIndex().column(), ProjectItemsModel::sizeColumn);

    // Classified again, the project has new items: the rows are replaced.
    const CleanableItem fresh = makeItem(app, QStringLiteral("node_modules"));
    scans.feed({ScanEvent::itemsClassified(app.id, {fresh})});
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(cell(0, ProjectItemsModel::folderColumn), QStringLiteral("node_modules"));
    model.setProject(std::nullopt);
    EXPECT_EQ(model.rowCount(), 0);
}

TEST_F(ProjectItemsModelTest, TickBoxesAreTheSessionsTicksBothWays) {
    const Project app = makeProject(root + QStringLiteral("/app"));
    const CleanableItem modules = makeItem(app, QStringLiteral("node_modules"));
    const CleanableItem dist =
        makeItem(app, QStringLiteral("dist"), ArtifactKind::buildOutput, CleanConfidence::caution);
    scans.feed({ScanEvent::projectDiscovered(app),
                ScanEvent::gitStatusUpdated(app.id, makeDetails(GitStatus::fullySynced())),
                ScanEvent::itemsClassified(app.id, {modules, dist})});
    model.setProject(app);
    EXPECT_EQ(tick(0), Qt::Checked);
    EXPECT_EQ(tick(1), Qt::Unchecked);
    EXPECT_TRUE(model.flags(model.index(1, 0)) & Qt::ItemIsUserCheckable);
    EXPECT_FALSE(model.flags(model.index(1, 1)) & Qt::ItemIsUserCheckable);

    EXPECT_TRUE(model.setData(model.index(1, 0), Qt::Checked, Qt::CheckStateRole));
    EXPECT_TRUE(model.setData(model.index(0, 0), Qt::Unchecked, Qt::CheckStateRole));
    EXPECT_EQ(session.selectedItemIDs(), QSet<QUuid>{dist.id});
    EXPECT_FALSE(model.setData(model.index(0, 1), Qt::Checked, Qt::CheckStateRole));

    QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    session.toggleItem(modules.id);
    EXPECT_EQ(tick(0), Qt::Checked);
    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes.first().at(2).value<QList<int>>(), QList<int>{Qt::CheckStateRole});
}

TEST(CachesTableModelTest, ListsTheCachesOfTheHomeFolderWithTicksAndSizesAndLosesTrashedRowsOnly) {
    const QString home = test::fakeHome();
    test::writeFile(home + QStringLiteral("/Library/Caches/Yarn/v6/package.tgz"),
                    QByteArray(20'000, 'y'));
    test::writeFile(home + QStringLiteral("/.npm/_cacache/index"), QByteArray(5'000, 'n'));
    test::writeFile(home + QStringLiteral("/.cargo/registry/index"), QByteArray(1'000, 'c'));
    ToastCenter toasts;
    GlobalCachesModel caches(toasts);
    CachesTableModel model(caches);
    Tester tester(&model, Tester::FailureReportingMode::Fatal);

    caches.reload();
    ASSERT_TRUE(QTest::qWaitFor([&] { return caches.hasLoaded(); }, test::patience));
    ASSERT_EQ(test::dumpTree(model), QStringLiteral("Yarn cache,npm cache,Cargo registry"));
    EXPECT_FALSE(model.index(0, CachesTableModel::sizeColumn).data().toString().isEmpty());
    EXPECT_NE(model.index(0, CachesTableModel::sizeColumn).data().toString(),
              QStringLiteral("Measuring…"));
    EXPECT_EQ(model.index(1, CachesTableModel::detailColumn).data().toString(),
              QStringLiteral("Package cache. Downloaded again on the next install."));
    EXPECT_EQ(model.index(0, 0).data(Qt::CheckStateRole).value<Qt::CheckState>(), Qt::Unchecked);

    ASSERT_TRUE(model.setData(model.index(1, 0), Qt::Checked, Qt::CheckStateRole));
    EXPECT_EQ(caches.selectedIDs(), QSet<QString>{QStringLiteral(".npm/_cacache")});
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    QSignalSpy removals(&model, &QAbstractItemModel::rowsRemoved);
    caches.trash(caches.trashPlan());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !caches.isRemoving(); }, test::patience));
    EXPECT_EQ(test::dumpTree(model), QStringLiteral("Yarn cache,Cargo registry"));
    EXPECT_EQ(removals.count(), 1);
    EXPECT_EQ(resets.count(), 0);
    EXPECT_FALSE(QFileInfo::exists(home + QStringLiteral("/.npm/_cacache")));
    for (const char* folder : {"/Library/Caches/Yarn", "/.cargo", "/.npm"})
        QDir(home + QString::fromUtf8(folder)).removeRecursively();
}
