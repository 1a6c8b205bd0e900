#include "shell/MainWindow.h"

#include "platform/ByteFormat.h"
#include "platform/KeepStore.h"
#include "platform/SizeCalculator.h"
#include "shell/CachesView.h"
#include "shell/FailuresPanel.h"
#include "shell/ProjectDetailView.h"
#include "shell/ProjectItemsModel.h"
#include "shell/ProjectTreeModel.h"
#include "shell/ProjectsView.h"
#include "shell/ShellTesting.h"
#include "shell/SummaryStrip.h"
#include "shell/ToastOverlay.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QFileInfo>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <QToolBar>
#include <QTreeView>
#include <gtest/gtest.h>

using namespace corvane;
using test::makeDetails;
using test::makeItem;
using test::makeProject;

namespace {

QString trashed(const QString& name) {
    return qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Trash/files/") + name;
}

// The window over scans whose events the test sends itself, about real folders, so that what
// the window trashes really moves.
class MainWindowTest : public testing::Test {
protected:
    void SetUp() override {
        root = test::makeTempDir(QStringLiteral("code"));
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    // A project folder with a real artifact folder of `bytes` inside it.
    std::pair<Project, CleanableItem> makeOnDisk(const QString& name, const QString& artifact,
                                                 qint64 bytes) {
        const Project project = makeProject(root + u'/' + name);
        test::writeFile(project.url + QStringLiteral("/package.json"), "{}");
        test::writeFile(project.url + u'/' + artifact + QStringLiteral("/blob"),
                        QByteArray(bytes, 'x'));
        return {project, makeItem(project, artifact)};
    }

    QList<ScanEvent> found(const Project& project, const CleanableItem& item, qint64 bytes,
                           const GitStatus& status = GitStatus::fullySynced()) {
        return {ScanEvent::projectDiscovered(project),
                ScanEvent::gitStatusUpdated(project.id, makeDetails(status)),
                ScanEvent::itemsClassified(project.id, {item}),
                ScanEvent::sizeUpdated(item.id, bytes)};
    }

    void waitForRows(const QString& expected) {
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return test::dumpTree(window.projectsView().projectModel()) == expected; },
            test::patience))
            << qPrintable(test::dumpTree(window.projectsView().projectModel()));
    }

    void selectRow(const Project& project) {
        const QModelIndex row = window.projectsView().projectModel().indexOf(project.id);
        ASSERT_TRUE(row.isValid());
        window.projectsView().projectView()->selectionModel()->select(
            row, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    }

    // Accepts the confirmation sheet the window has open and returns what it asked.
    QString acceptConfirmation(const QString& screenshot) {
        ConfirmationSheet* box = nullptr;
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return (box = test::openSheet(window, QStringLiteral("trashConfirmation"))); },
            test::patience));
        if (!box)
            return {};
        EXPECT_TRUE(box->windowModality() == Qt::WindowModal);
        const QString question = box->text() + u' ' + box->informativeText();
        test::saveScreenshot(*box, screenshot);
        box->acceptButton()->click();
        return question;
    }

    QString root;
    test::FakeScans scans;
    AppModels models{scans.starter()};
    ScanSession& session = models.session;
    GlobalCachesModel& caches = models.caches;
    Navigation& navigation = models.navigation;
    MainWindow window{models};
};

} // namespace

TEST_F(MainWindowTest, AScanFillsTheListLiveAndTheDetailTrashesWhatIsTickedAfterAsking) {
    const auto [app, modules] =
        makeOnDisk(QStringLiteral("app"), QStringLiteral("node_modules"), 30'000);
    const auto [site, dist] = makeOnDisk(QStringLiteral("site"), QStringLiteral("dist"), 9'000);
    EXPECT_FALSE(window.projectsView().action(ProjectsView::Action::moveToTrash)->isEnabled());
    window.scanFolder(root);
    ASSERT_EQ(scans.roots, QList<QString>{root});
    EXPECT_EQ(window.windowTitle(),
              QFileInfo(root).fileName() + QStringLiteral(" — Corvane Clean"));

    scans.feed({ScanEvent::progress(app.url)});
    scans.feed(found(app, modules, 30'000));
    waitForRows(QStringLiteral("app"));
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            return window.projectsView().statusText().startsWith(QStringLiteral("Scanning ")) &&
                   window.projectsView().statusText().endsWith(
                       QStringLiteral("1 project  ·  30 KB measured"));
        },
        test::patience))
        << qPrintable(window.projectsView().statusText());
    scans.feed(found(site, dist, 9'000, GitStatus::dirty(2)) +
               QList<ScanEvent>{ScanEvent::scanCompleted()});
    waitForRows(QStringLiteral("app,site"));
    EXPECT_EQ(window.projectsView().statusText(), QStringLiteral("2 projects in ") + root);

    selectRow(app);
    ASSERT_EQ(navigation.selection(), SidebarSelection::forProject(app));
    ProjectDetailView& detail = *window.projectsView().detailView();
    ASSERT_EQ(detail.project(), app);
    ASSERT_EQ(detail.itemsModel().rowCount(), 1);
    EXPECT_FALSE(detail.showsWholeProjectWarning());
    ASSERT_TRUE(QTest::qWaitFor([&] { return detail.trashButton()->isEnabled(); }, test::patience));
    test::saveScreenshot(window, QStringLiteral("window-project-selected"));

    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return window.projectsView().summary()->tickedText() == QStringLiteral("30 KB"); },
        test::patience))
        << qPrintable(window.projectsView().summary()->tickedText());

    detail.trashButton()->click();
    EXPECT_EQ(acceptConfirmation(QStringLiteral("sheet-move-project-items")),
              QStringLiteral(
                  "Move “node_modules” to the Trash? It frees 30 KB once the Trash is emptied. "
                  "Nothing is "
                  "deleted: you can put it back from the Trash until you empty it."));
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            return window.toastOverlay()->message() ==
                   QStringLiteral("Moved 1 item (30 KB) to the Trash");
        },
        test::patience))
        << qPrintable(window.toastOverlay()->message());
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return detail.itemsModel().rowCount() == 0; }, test::patience));
    EXPECT_FALSE(QFileInfo::exists(modules.url));
    EXPECT_TRUE(QFileInfo::exists(trashed(QStringLiteral("node_modules"))));
    EXPECT_TRUE(QFileInfo::exists(dist.url));
    test::saveScreenshot(window, QStringLiteral("window-after-trash"));
}

TEST_F(MainWindowTest, DeleteTakesTheSelectedProjectsTickedItemsOrTheSelectedRowsOnly) {
    const auto [app, modules] =
        makeOnDisk(QStringLiteral("app"), QStringLiteral("node_modules"), 12'000);
    const auto [site, siteModules] =
        makeOnDisk(QStringLiteral("site"), QStringLiteral("node_modules"), 8'000);
    const CleanableItem dist =
        makeItem(app, QStringLiteral("dist"), ArtifactKind::buildOutput, CleanConfidence::caution);
    test::writeFile(dist.url + QStringLiteral("/main.js"), QByteArray(3'000, 'd'));
    window.scanFolder(root);
    scans.feed(found(site, siteModules, 8'000) +
               QList<ScanEvent>{ScanEvent::projectDiscovered(app),
                                ScanEvent::itemsClassified(app.id, {modules, dist}),
                                ScanEvent::sizeUpdated(modules.id, 12'000),
                                ScanEvent::sizeUpdated(dist.id, 3'000),
                                ScanEvent::scanCompleted()});
    waitForRows(QStringLiteral("app,site"));
    ASSERT_EQ(session.selectedItemIDs(), (QSet<QUuid>{modules.id, siteModules.id}));
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));

    // Both projects have ticked items; with "site" selected, Delete offers only its own.
    selectRow(site);
    ProjectsView& page = window.projectsView();
    ASSERT_TRUE(page.action(ProjectsView::Action::moveToTrash)->isEnabled());
    QTest::keyClick(page.projectView(), Qt::Key_Delete);
    ConfirmationSheet* box = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return (box = test::openSheet(window, QStringLiteral("trashConfirmation"))); },
        test::patience));
    EXPECT_EQ(page.planOnShow().urls(), QList<QString>{siteModules.url});
    EXPECT_EQ(box->text(), QStringLiteral("Move “node_modules” to the Trash?"));
    EXPECT_TRUE(box->informativeText().contains(QStringLiteral("8 KB")))
        << qPrintable(box->informativeText());
    test::saveScreenshotWithSheet(window, *box, QStringLiteral("projects-delete-selected"));
    box->acceptButton()->click();
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return !QFileInfo::exists(siteModules.url); }, test::patience));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !session.isTrashing(); }, test::patience));
    EXPECT_TRUE(QFileInfo::exists(modules.url + QStringLiteral("/blob")));

    // A row selected in the detail is what Delete takes, ticked or not.
    selectRow(app);
    QTreeView* items = page.detailView()->itemsView();
    ASSERT_TRUE(QTest::qWaitFor([&] { return items->model()->rowCount() == 2; }, test::patience));
    for (int row = 0; row < items->model()->rowCount(); ++row) {
        const QModelIndex index = items->model()->index(row, 0);
        if (index.data(ProjectItemsModel::itemIDRole).toUuid() == dist.id)
            items->selectionModel()->select(index, QItemSelectionModel::ClearAndSelect |
                                                       QItemSelectionModel::Rows);
    }
    // The sheet that closed gave the window back; shortcuts only reach the active one.
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(items, Qt::Key_Delete);
    EXPECT_EQ(acceptConfirmation(QStringLiteral("projects-delete-selected-row")),
              QStringLiteral("Move “dist” to the Trash? It frees 3 KB once the Trash is emptied. "
                             "Nothing is deleted: you can put it back from the Trash until you "
                             "empty it."));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !QFileInfo::exists(dist.url); }, test::patience));
    EXPECT_TRUE(QFileInfo::exists(modules.url + QStringLiteral("/blob")));
}

TEST_F(MainWindowTest, TheToastAfterACleanupPutsItBackWhenItsButtonIsClicked) {
    const auto [app, modules] =
        makeOnDisk(QStringLiteral("caf\u00e9 app"), QStringLiteral("node_modules"), 21'000);
    test::writeFile(modules.url + QStringLiteral("/left pad [v2]/index.js"), "exports.x = 1;\n");
    window.scanFolder(root);
    scans.feed(found(app, modules, 21'000) + QList<ScanEvent>{ScanEvent::scanCompleted()});
    waitForRows(QStringLiteral("caf\u00e9 app"));
    window.projectsView().action(ProjectsView::Action::moveAllToTrash)->trigger();
    acceptConfirmation(QStringLiteral("sheet-move-before-put-back"));
    ToastOverlay& toast = *window.toastOverlay();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return toast.message() == QStringLiteral("Moved 1 item (21 KB) to the Trash"); },
        test::patience))
        << qPrintable(toast.message());
    ASSERT_FALSE(QFileInfo::exists(modules.url));
    ASSERT_TRUE(toast.actionButton()->isVisible());
    EXPECT_EQ(toast.actionButton()->text(), QStringLiteral("Put Back"));
    test::saveScreenshot(window, QStringLiteral("window-toast-put-back"));
    // The Trash's figure, which the put back will take down again.
    const TrashGauge& trash = models.overview.trashGauge();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return trash.bytes() == SizeCalculator::measure(trash.folder()).freesBytes; },
        test::patience));
    const qint64 filled = *trash.bytes();

    QTest::mouseClick(toast.actionButton(), Qt::LeftButton);

    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return toast.message() == QStringLiteral("Put back 1 item"); }, test::patience))
        << qPrintable(toast.message());
    EXPECT_FALSE(toast.actionButton()->isVisible());
    QFile restored(modules.url + QStringLiteral("/blob"));
    ASSERT_TRUE(restored.open(QIODevice::ReadOnly));
    EXPECT_EQ(restored.readAll(), QByteArray(21'000, 'x'));
    EXPECT_TRUE(QFileInfo::exists(modules.url + QStringLiteral("/left pad [v2]/index.js")));
    // The scan looks again, so the folder that came back is listed where it belongs.
    EXPECT_EQ(scans.roots, (QList<QString>{root, root}));
    EXPECT_TRUE(QTest::qWaitFor([&] { return trash.bytes() < filled; }, test::patience))
        << *trash.bytes() << " of " << filled;
    EXPECT_TRUE(window.projectsView().summary()->trashText().startsWith(
        QStringLiteral("Trash: ") + formatBytes(*trash.bytes())));
    test::saveScreenshot(window, QStringLiteral("window-after-put-back"));
}

TEST_F(MainWindowTest, ARefusedFolderShowsTheSessionsAlertAndScansNothing) {
    window.scanFolder(test::fakeHome() + QStringLiteral("/Documents"));
    QMessageBox* alert = test::openBox(window, QStringLiteral("refusalAlert"));
    ASSERT_NE(alert, nullptr);
    EXPECT_TRUE(alert->windowModality() == Qt::WindowModal);
    EXPECT_EQ(alert->windowTitle(), QStringLiteral("Cannot scan this folder"));
    EXPECT_EQ(
        alert->informativeText(),
        QStringLiteral("Scanning the whole Documents folder is not supported for safety. "
                       "Choose the folder that holds your dev projects, for example ~/Code."));
    EXPECT_TRUE(scans.roots.isEmpty());
    EXPECT_FALSE(session.rootURL());
    test::saveScreenshot(*alert, QStringLiteral("alert-refused-folder"));
    test::saveScreenshot(window, QStringLiteral("window-before-first-scan"));
    alert->accept();
}

TEST_F(MainWindowTest, MoveAllTickedTakesEveryProjectsItemsAndListsWhatCouldNotGo) {
    const auto [app, modules] =
        makeOnDisk(QStringLiteral("app"), QStringLiteral("node_modules"), 12'000);
    const auto [lib, target] = makeOnDisk(QStringLiteral("lib"), QStringLiteral("target"), 4'000);
    const Project ghost = makeProject(root + QStringLiteral("/ghost"));
    const CleanableItem gone = makeItem(ghost, QStringLiteral(".venv"), ArtifactKind::virtualEnv);
    window.scanFolder(root);
    scans.feed(found(app, modules, 12'000) + found(lib, target, 4'000) + found(ghost, gone, 100) +
               QList<ScanEvent>{ScanEvent::scanCompleted()});
    waitForRows(QStringLiteral("app,lib,ghost"));
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            return window.projectsView().summary()->reclaimableText() == QStringLiteral("16 KB");
        },
        test::patience))
        << qPrintable(window.projectsView().summary()->reclaimableText());
    EXPECT_EQ(window.projectsView().summary()->legendTexts(),
              (QStringList{QStringLiteral("Dependencies  16 KB"),
                           QStringLiteral("Virtual environment  100 bytes")}));
    // One of the three was never on disk. A selected project does not narrow what this takes.
    selectRow(lib);
    QAction* moveAll = window.projectsView().action(ProjectsView::Action::moveAllToTrash);
    ASSERT_TRUE(moveAll->isEnabled());
    moveAll->trigger();
    EXPECT_TRUE(
        acceptConfirmation(QStringLiteral("sheet-move-everything"))
            .startsWith(QStringLiteral("Move 3 items to the Trash? Together they free 16 KB")));

    ASSERT_TRUE(QTest::qWaitFor([&] { return window.projectsView().failuresPanel()->isVisible(); },
                                test::patience));
    EXPECT_EQ(window.projectsView().failuresPanel()->lines(),
              QStringList{QStringLiteral(".venv: No longer exists")});
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            return window.toastOverlay()->message() ==
                   QStringLiteral("Moved 2 items (16 KB) to the Trash");
        },
        test::patience));
    EXPECT_FALSE(QFileInfo::exists(modules.url));
    EXPECT_FALSE(QFileInfo::exists(target.url));
    test::saveScreenshot(window, QStringLiteral("window-trash-failures"));
}

TEST_F(MainWindowTest, TheSheetCarriesOutWhatItShowedWhileTheScanGoesOn) {
    const auto [app, modules] =
        makeOnDisk(QStringLiteral("app"), QStringLiteral("node_modules"), 5'000);
    const auto [late, lateModules] =
        makeOnDisk(QStringLiteral("late"), QStringLiteral("node_modules"), 7'000);
    window.scanFolder(root);
    scans.feed(found(app, modules, 5'000));
    waitForRows(QStringLiteral("app"));
    window.projectsView().action(ProjectsView::Action::moveAllToTrash)->trigger();
    ConfirmationSheet* box = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return (box = test::openSheet(window, QStringLiteral("trashConfirmation"))); },
        test::patience));
    EXPECT_EQ(box->text(), QStringLiteral("Move “node_modules” to the Trash?"));

    // While the sheet is open the scan finds and ticks more; the sheet never showed it.
    scans.feed(found(late, lateModules, 7'000));
    ASSERT_TRUE(session.selectedItemIDs().contains(lateModules.id));
    box->acceptButton()->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !QFileInfo::exists(modules.url); }, test::patience));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !session.isTrashing(); }, test::patience));
    EXPECT_TRUE(QFileInfo::exists(lateModules.url + QStringLiteral("/blob")));
    EXPECT_EQ(session.selectedItemIDs(), QSet<QUuid>{lateModules.id});
}

TEST_F(MainWindowTest, TheCachesPageListsTicksAndTrashesCachesOrSaysThereAreNone) {
    const QString home = test::fakeHome();
    test::writeFile(home + QStringLiteral("/Library/Caches/Yarn/v6/archive.tgz"),
                    QByteArray(8'000, 'y'));
    test::writeFile(home + QStringLiteral("/go/pkg/mod/cache/download/x.zip"),
                    QByteArray(3'000, 'g'));
    const KeepStore keep;
    ASSERT_EQ(keep.add(home + QStringLiteral("/Library/Caches/Yarn")), QString());
    auto* sidebar = window.findChild<QListWidget*>(QStringLiteral("sidebar"));
    ASSERT_NE(sidebar, nullptr);
    sidebar->setCurrentRow(2);
    ASSERT_EQ(navigation.selection(), SidebarSelection::of(QStringLiteral("caches")));
    CachesView& view = *window.page<CachesView>();
    // The projects' figures and actions stay on their own page.
    EXPECT_FALSE(window.projectsView().summary()->isVisible());
    EXPECT_FALSE(window.projectsView().toolBar()->isVisible());
    ASSERT_TRUE(view.isVisible());
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return caches.hasLoaded() && !caches.isLoading(); }, test::patience));
    QFile::remove(keep.url());
    ASSERT_EQ(test::dumpTree(view.model()), QStringLiteral("Yarn cache — Kept,Go module cache"));
    EXPECT_FALSE(view.trashButton()->isEnabled());
    // The kept cache's box is shown, disabled, and a tick on it is ignored.
    const QModelIndex kept = view.model().index(0, 0);
    EXPECT_TRUE(view.model().flags(kept).testFlag(Qt::ItemIsUserCheckable));
    EXPECT_FALSE(view.model().flags(kept).testFlag(Qt::ItemIsEnabled));
    view.model().setData(kept, Qt::Checked, Qt::CheckStateRole);
    EXPECT_TRUE(caches.selectedIDs().isEmpty());
    test::saveScreenshot(window, QStringLiteral("window-caches"));

    ASSERT_TRUE(view.model().setData(view.model().index(1, 0), Qt::Checked, Qt::CheckStateRole));
    EXPECT_TRUE(view.trashButton()->isEnabled());
    EXPECT_TRUE(view.tickedText().startsWith(QStringLiteral("1 cache ticked, ")))
        << qPrintable(view.tickedText());
    // The Delete key on this page asks about the ticked caches, and only those.
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    view.listView()->setFocus();
    QTest::keyClick(view.listView(), Qt::Key_Delete);
    EXPECT_TRUE(acceptConfirmation(QStringLiteral("sheet-move-cache"))
                    .startsWith(QStringLiteral("Move “cache” to the Trash?")));
    ASSERT_TRUE(QTest::qWaitFor([&] { return view.model().rowCount() == 1; }, test::patience));
    EXPECT_FALSE(QFileInfo::exists(home + QStringLiteral("/go/pkg/mod/cache")));
    EXPECT_TRUE(window.toastOverlay()->message().startsWith(QStringLiteral("Moved 1 item (")));

    // Back to the projects and again to the caches: the list is not measured twice by itself.
    sidebar->setCurrentRow(1);
    EXPECT_EQ(navigation.selection(), std::nullopt);
    sidebar->setCurrentRow(2);
    EXPECT_EQ(view.model().rowCount(), 1);
    test::writeFile(home + QStringLiteral("/unrelated"));
    QDir(home + QStringLiteral("/Library/Caches/Yarn")).removeRecursively();
    view.rescanButton()->click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return view.showsEmptyState(); }, test::patience));
    test::saveScreenshot(window, QStringLiteral("window-caches-empty"));
}

TEST_F(MainWindowTest, SortAndFilterControlsDriveTheSessionAndFollowIt) {
    window.projectsView().action(ProjectsView::Action::sortByActivity)->trigger();
    EXPECT_EQ(session.sortMode(), ProjectSortMode::activity);
    session.setSortMode(ProjectSortMode::size);
    EXPECT_TRUE(window.projectsView().action(ProjectsView::Action::sortBySize)->isChecked());
    window.projectsView().action(ProjectsView::Action::showOnlyUnsynced)->trigger();
    EXPECT_TRUE(session.showOnlyUnsynced());
    session.setShowOnlyUnsynced(false);
    EXPECT_FALSE(window.projectsView().action(ProjectsView::Action::showOnlyUnsynced)->isChecked());
    EXPECT_FALSE(window.projectsView().action(ProjectsView::Action::rescan)->isEnabled());
}

TEST_F(MainWindowTest, TheSidebarTheGoMenuAndTheirShortcutsFollowTheTableOfAreas) {
    const QList<AreaRow>& areas = Areas::all();
    ASSERT_EQ(window.sidebar()->count(), areas.size());
    ASSERT_EQ(window.areaActions().size(), areas.size());
    for (int row = 0; row < areas.size(); ++row) {
        EXPECT_TRUE(window.sidebar()->item(row)->text().startsWith(areas[row].name));
        EXPECT_NE(window.page(areas[row].id), nullptr) << qPrintable(areas[row].id);
    }
    EXPECT_EQ(window.areaActions()[2]->text(), QStringLiteral("Developer Caches"));
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_3, Qt::ControlModifier);
    EXPECT_EQ(navigation.selection(), SidebarSelection::of(QStringLiteral("caches")));
    EXPECT_EQ(window.sidebar()->currentRow(), 2);
    QTest::keyClick(&window, Qt::Key_1, Qt::ControlModifier);
    EXPECT_EQ(navigation.selection(), SidebarSelection::of(Areas::overview));
}
