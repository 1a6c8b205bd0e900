#include "platform/ByteFormat.h"
#include "platform/OverviewModel.h"
#include "platform/SizeCalculator.h"
#include "shell/MainWindow.h"
#include "shell/ProjectDetailView.h"
#include "shell/ProjectItemsModel.h"
#include "shell/ProjectTreeModel.h"
#include "shell/ShellTesting.h"
#include "shell/SummaryStrip.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QTest>
#include <QTreeView>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace corvane;
using test::makeDetails;
using test::makeItem;
using test::makeProject;

namespace {

class FreedSpaceViewTest : public testing::Test {
protected:
    void SetUp() override {
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    void select(const Project& project) {
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return window.projectModel().indexOf(project.id).isValid(); }, test::patience));
        window.projectView()->selectionModel()->select(window.projectModel().indexOf(project.id),
                                                       QItemSelectionModel::ClearAndSelect |
                                                           QItemSelectionModel::Rows);
    }

    QString root = test::makeTempDir(QStringLiteral("code"));
    test::FakeScans scans;
    AppModels models{scans.starter()};
    ScanSession& session = models.session;
    MainWindow window{models};
};

} // namespace

// A pnpm node_modules of 330 MB of which 12 MB are its own, beside a .venv that frees all it has.
TEST_F(FreedSpaceViewTest, TheDetailAndItsRowsSayWhatTrashingFreesAndWhereTheRestIs) {
    const Project web = makeProject(root + QStringLiteral("/web"));
    const CleanableItem modules = makeItem(web, QStringLiteral("node_modules"));
    const CleanableItem venv = makeItem(web, QStringLiteral(".venv"), ArtifactKind::virtualEnv);
    const Project api = makeProject(root + QStringLiteral("/api"));
    const CleanableItem target = makeItem(api, QStringLiteral("target"), ArtifactKind::buildOutput);
    window.scanFolder(root);
    scans.feed({ScanEvent::projectDiscovered(web), ScanEvent::projectDiscovered(api),
                ScanEvent::gitStatusUpdated(web.id, makeDetails(GitStatus::fullySynced())),
                ScanEvent::gitStatusUpdated(api.id, makeDetails(GitStatus::fullySynced())),
                ScanEvent::itemsClassified(web.id, {modules, venv}),
                ScanEvent::itemsClassified(api.id, {target}),
                ScanEvent::sizeUpdated(modules.id, SpaceUse{330'000'000, 12'000'000, nullptr},
                                       SharedWith::pnpmStore),
                ScanEvent::sizeUpdated(venv.id, 11'000'000),
                ScanEvent::sizeUpdated(target.id, SpaceUse{40'000'000, 30'000'000, nullptr}),
                ScanEvent::scanCompleted()});

    // The list is ordered by what trashing frees: api's 30 MB before web's 23 MB.
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return test::dumpTree(window.projectModel()) == QStringLiteral("api,web"); },
        test::patience))
        << qPrintable(test::dumpTree(window.projectModel()));

    select(web);
    ProjectDetailView& detail = *window.detailView();
    ASSERT_EQ(detail.project(), web);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !detail.spaceText().isEmpty(); }, test::patience));
    EXPECT_EQ(detail.spaceText(), QStringLiteral("Reclaimable: 341 MB, frees 23 MB: the rest is "
                                                 "shared with pnpm's store"));
    const ProjectItemsModel& rows = detail.itemsModel();
    ASSERT_EQ(rows.rowCount(), 2);
    const QModelIndex modulesSize = rows.index(0, ProjectItemsModel::sizeColumn);
    EXPECT_EQ(modulesSize.data().toString(), QStringLiteral("330 MB"));
    EXPECT_EQ(modulesSize.siblingAtColumn(ProjectItemsModel::freesColumn).data().toString(),
              QStringLiteral("12 MB"));
    EXPECT_EQ(modulesSize.data(Qt::ToolTipRole).toString(),
              QStringLiteral("330 MB, frees 12 MB: the rest is shared with pnpm's store"));
    EXPECT_EQ(rows.index(1, ProjectItemsModel::sizeColumn).data().toString(),
              QStringLiteral("11 MB"));
    EXPECT_EQ(detail.tickedText(), QStringLiteral("2 items ticked, 23 MB"));
    test::saveScreenshot(window, QStringLiteral("window-project-frees-less-than-its-size"));

    select(api);
    ASSERT_TRUE(QTest::qWaitFor([&] { return detail.project() == api; }, test::patience));
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            return detail.spaceText() == QStringLiteral("Reclaimable: 40 MB, frees 30 MB: the "
                                                        "rest is shared with other folders");
        },
        test::patience))
        << qPrintable(detail.spaceText());

    // The summary's totals are what trashing frees.
    SummaryStrip& summary = *window.summary();
    summary.refresh();
    EXPECT_EQ(summary.reclaimableText(), QStringLiteral("53 MB"));
    EXPECT_EQ(summary.tickedText(), QStringLiteral("53 MB"));
    session.setItemSelected(modules.id, false);
    summary.refresh();
    EXPECT_EQ(summary.tickedText(), QStringLiteral("41 MB"));
}

// What sits in the Trash frees its space only once emptied: the strip says how much, counting
// a trashed file whose other link lives elsewhere as nothing, and measures again after a trash.
TEST_F(FreedSpaceViewTest, TheSummaryShowsWhatEmptyingTheTrashWouldGiveBack) {
    const QString trash = OverviewModel::trashFolder();
    const qint64 before = SizeCalculator::measure(trash).freesBytes;
    test::writeFile(trash + QStringLiteral("/files/old-build/app.bin"), QByteArray(300'000, 'b'));
    const QString store = test::makeTempDir(QStringLiteral("store"));
    test::writeFile(store + QStringLiteral("/blob"), QByteArray(500'000, 's'));
    QDir().mkpath(trash + QStringLiteral("/files/node_modules"));
    ASSERT_EQ(::link(QFile::encodeName(store + QStringLiteral("/blob")),
                     QFile::encodeName(trash + QStringLiteral("/files/node_modules/blob"))),
              0);
    // The gauge measured at start-up; measure what was just put there.
    models.overview.trashGauge().refresh();
    const SummaryStrip& strip = *window.summary();
    const qint64 waiting = SizeCalculator::measure(trash).freesBytes;
    ASSERT_EQ(waiting, before + SizeCalculator::size(trash + QStringLiteral("/files/old-build")))
        << "the linked blob is not counted";
    const QString expected = QStringLiteral("Trash: ") + formatBytes(waiting) +
                             QStringLiteral(" — the space comes back when you empty the Trash");
    ASSERT_TRUE(QTest::qWaitFor([&] { return strip.trashText() == expected; }, test::patience))
        << qPrintable(strip.trashText());
    test::saveScreenshot(*window.summary(), QStringLiteral("summary-strip-trash-size"));

    // Trashing an item of the scan makes the Trash hold more.
    const Project app = makeProject(root + QStringLiteral("/app"));
    const CleanableItem dist = makeItem(app, QStringLiteral("dist"), ArtifactKind::buildOutput);
    test::writeFile(dist.url + QStringLiteral("/bundle.js"), QByteArray(2'000'000, 'd'));
    window.scanFolder(root);
    scans.feed({ScanEvent::projectDiscovered(app), ScanEvent::itemsClassified(app.id, {dist}),
                ScanEvent::sizeUpdated(dist.id, 2'000'000), ScanEvent::scanCompleted()});
    session.trash(session.trashPlan(TrashScope::everything()));
    ASSERT_TRUE(QTest::qWaitFor([&] { return strip.trashText() != expected; }, test::patience));
    const qint64 after = SizeCalculator::measure(trash).freesBytes;
    EXPECT_GE(after, waiting + 2'000'000);
    EXPECT_EQ(strip.trashText(), QStringLiteral("Trash: ") + formatBytes(after) +
                                     QStringLiteral(" — the space comes back when you empty the "
                                                    "Trash"));
}
