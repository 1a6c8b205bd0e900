#include "shell/AppModels.h"
#include "shell/ArchiveFlow.h"
#include "shell/ArchivedView.h"
#include "shell/DestinationsSection.h"
#include "shell/MainWindow.h"
#include "shell/ProjectsView.h"
#include "shell/ShellTesting.h"
#include "support/FakeScan.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTableWidget>
#include <QTreeWidget>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace corvane;
using test::s;

namespace {

QStringList actionTexts(const QMenu& menu) {
    QStringList texts;
    for (const QAction* action : menu.actions()) {
        if (!action->isSeparator())
            texts.append(action->text());
    }
    return texts;
}

// The window over a scan of one project, with a drive mounted in the volumes folder.
class ArchiveViewTest : public testing::Test {
protected:
    void SetUp() override {
        home = test::fakeHome();
        const QString volumesFolder = test::makeTempDir(s("volumes"));
        volumes.emplace("CORVANE_VOLUMES_DIR", volumesFolder);
        drive = volumesFolder + s("/Backup");
        QDir().mkpath(drive);
        project = home + s("/code/shop");
        test::writeFile(project + s("/README.md"), "hello");
        test::writeFile(project + s("/src/main.c"), QByteArray(4096, 'c'));
        models.archives.services().catalog.url = home + s("/archive-catalog.json");
        window.resize(1100, 720);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        window.scanFolder(home + s("/code"));
        const Project scanned = test::makeProject(project);
        scans.feed({ScanEvent::projectDiscovered(scanned), ScanEvent::scanCompleted()});
        models.navigation.setSelection(SidebarSelection::forProject(scanned));
    }

    QString home;
    QString drive;
    QString project;
    std::optional<test::ScopedEnvironment> volumes;
    test::FakeScans scans;
    AppModels models{scans.starter()};
    MainWindow window{models};
};

// Answers every ssh call as a server that accepts the key would.
class AcceptingRunner : public ProcessRunner {
protected:
    ProcessResult execute(const Call&) const override { return {0, "OK\n", {}, 0}; }
};

} // namespace

TEST_F(ArchiveViewTest, TheMenuOffersDrivesAndServersAndTheSheetFollowsTheCopyUntilItIsVerified) {
    const QUuid nas = models.destinations.add(SavedDestination::Kind::ssh);
    SavedDestination server = *models.destinations.named(QString());
    server.name = s("nas");
    server.user = s("me");
    server.host = s("nas.local");
    models.destinations.update(server);
    const QUuid share = models.destinations.add(SavedDestination::Kind::smb);
    for (SavedDestination destination : models.destinations.destinations()) {
        if (destination.id == share) {
            destination.name = s("office");
            destination.smbURL = s("smb://files.example/office");
            models.destinations.update(destination);
        }
    }
    ASSERT_FALSE(nas.isNull());

    QMenu* menu = window.projectsView().archiveFlow().menu();
    menu->popup(window.mapToGlobal(QPoint(200, 120)));
    ASSERT_TRUE(QTest::qWaitFor([menu] { return menu->isVisible(); }, test::patience));
    EXPECT_EQ(actionTexts(*menu), (QStringList{s("Backup"), s("nas (SSH)"), s("office (connect)"),
                                               s("Choose Folder…")}));
    test::saveScreenshot(*menu, s("archive-menu"));
    menu->hide();

    // The copy waits at its first entry until the sheet has been seen.
    std::atomic<bool> seen = false;
    models.archives.services().local.beforeEntry = [&seen](const QString&) {
        while (!seen)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    };
    window.projectsView().archiveFlow().confirmArchive(ArchiveTarget::volume(drive));
    QMessageBox* box = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return (box = test::openBox(window, s("archiveConfirmation"))); }, test::patience));
    EXPECT_EQ(box->text(), s("Archive shop to ") + drive + s("/CorvaneArchive?"));
    test::clickButton(*box, QMessageBox::AcceptRole);
    ASSERT_TRUE(QTest::qWaitFor(
        [this] { return window.projectsView().archiveFlow().progressSheet() != nullptr; },
        test::patience));
    EXPECT_FALSE(window.projectsView().action(ProjectsView::Action::archiveProject)->isEnabled());
    EXPECT_TRUE(window.projectsView().archiveFlow().progressSheet()->labelText().startsWith(
        s("Archiving shop")));
    test::saveScreenshot(*window.projectsView().archiveFlow().progressSheet(),
                         s("archive-progress"));
    seen = true;

    ASSERT_TRUE(QTest::qWaitFor([this] { return !models.archives.isBusy(); }, test::patience));
    EXPECT_TRUE(QFileInfo::exists(drive + s("/CorvaneArchive/shop/src/main.c")));
    EXPECT_FALSE(QFileInfo::exists(project));
    EXPECT_EQ(models.toasts.current()->message,
              s("Archived shop to ") + drive +
                  s("/CorvaneArchive/shop, verified by content. The original is in the Trash."));
    EXPECT_TRUE(QTest::qWaitFor(
        [this] { return window.projectsView().archiveFlow().progressSheet() == nullptr; },
        test::patience));
    EXPECT_EQ(scans.roots.size(), 2) << "the scan looks again once the original is gone";
}

TEST_F(ArchiveViewTest, TheArchivedPageRestoresInPlaceAndSaysWhyWhenItCannot) {
    models.archives.archive(project, ArchiveTarget::volume(drive));
    ASSERT_TRUE(QTest::qWaitFor([this] { return !models.archives.isBusy(); }, test::patience));
    ASSERT_FALSE(models.archives.archiveErrorMessage())
        << models.archives.archiveErrorMessage()->toStdString();
    window.showArea(QStringLiteral("archived"));
    ArchivedView* view = window.page<ArchivedView>();
    ASSERT_TRUE(
        QTest::qWaitFor([view] { return view->list()->topLevelItemCount() == 1; }, test::patience));
    EXPECT_EQ(view->list()->topLevelItem(0)->text(1), drive + s("/CorvaneArchive/shop"));
    EXPECT_TRUE(view->restoreButton()->isEnabled());
    EXPECT_EQ(view->hintLabel()->text(),
              s("Copy it back to ") + project + s(". The archived copy is never touched."));
    test::saveScreenshot(window, s("archived-projects"));

    view->restoreButton()->click();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !models.archives.isBusy(); }, test::patience));
    EXPECT_TRUE(QFileInfo::exists(project + s("/src/main.c")));
    EXPECT_TRUE(QFileInfo::exists(drive + s("/CorvaneArchive/shop/src/main.c")));
    ASSERT_TRUE(QTest::qWaitFor(
        [view] { return view->list()->topLevelItem(0)->text(3).startsWith(s("Restored to ")); },
        test::patience));
    EXPECT_FALSE(view->restoreButton()->isEnabled());
    EXPECT_TRUE(view->restoreElsewhereButton()->isEnabled());
    EXPECT_EQ(view->hintLabel()->text(), project + s(" is taken; choose another folder. The "
                                                     "archived copy is never touched."));

    // With the drive gone, neither way back is offered.
    QDir(drive).removeRecursively();
    models.archives.reload();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !models.archives.isLoading(); }, test::patience));
    EXPECT_FALSE(view->restoreElsewhereButton()->isEnabled());
    EXPECT_EQ(view->hintLabel()->text(), s("Connect the drive or share that holds this archive"));
}

TEST(DestinationsSectionTest, ServersAreEditedInPlaceAndTheTestSaysWhatSshAnswered) {
    DestinationsStore store;
    const AcceptingRunner runner;
    DestinationsSection section(store, nullptr, runner);
    section.resize(600, 320);
    section.show();
    EXPECT_EQ(section.table()->rowCount(), 0);
    store.add(SavedDestination::Kind::ssh);
    ASSERT_EQ(section.table()->rowCount(), 1);
    EXPECT_EQ(section.table()->item(0, 3)->text(), s("~/CorvaneArchive"));
    section.table()->item(0, 2)->setText(s("me@nas.local"));
    section.table()->item(0, 0)->setText(s("nas"));
    ASSERT_EQ(DestinationsStore().destinations().size(), 1);
    EXPECT_EQ(DestinationsStore().destinations().first().host, s("nas.local"));
    EXPECT_EQ(DestinationsStore().destinations().first().user, s("me"));

    section.table()->selectRow(0);
    section.testSelected();
    ASSERT_TRUE(QTest::qWaitFor([&] { return section.resultLabel()->text() == s("Connected"); },
                                test::patience))
        << section.resultLabel()->text().toStdString();
    test::saveScreenshot(section, s("archive-destinations"));
}
