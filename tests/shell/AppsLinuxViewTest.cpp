#include "apps/LinuxHome.h"
#include "apps/SnapApps.h"
#include "platform/BackgroundJobs.h"
#include "platform/PlatformWords.h"
#include "shell/AppsView.h"
#include "shell/ShellTesting.h"

#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// The page over a Linux desktop: packaged apps, snaps and AppImages with their XDG data.
class AppsLinuxViewTest : public testing::Test {
protected:
    void SetUp() override {
        view.resize(1000, 720);
        view.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
        waitUntilIdle();
    }
    void TearDown() override {
        waitForBackgroundJobs();
        QDir(SnapApps::dataRoot()).removeRecursively();
    }

    void waitUntilIdle() {
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return model.hasLoaded() && !model.isLoading() && !model.isRemoving(); },
            test::patience));
    }
    // The first row named `name` at any depth.
    QTreeWidgetItem* row(const QString& name) const {
        for (QTreeWidgetItemIterator it(view.tree()); *it; ++it)
            if ((*it)->text(0) == name)
                return *it;
        return nullptr;
    }

    const test::LinuxHome home;
    const test::ScopedEnvironment noBundles{"CORVANE_APPLICATIONS_DIR", home.dir};
    const test::ScopedEnvironment noBrew{"CORVANE_TOOL_BREW", home.dir + s("/no-brew")};
    ToastCenter toasts;
    AppsModel model{toasts};
    HomebrewModel homebrew{toasts};
    AppsView view{model, homebrew};
};

} // namespace

TEST_F(AppsLinuxViewTest, TheDesktopsAppsShowWithTheirInstallerAndAPackageNamesItsCommand) {
    ASSERT_TRUE(row(s("Obsidian")) && row(s("Editor")) && row(s("Firefox")));
    EXPECT_TRUE(row(s("Obsidian"))->text(2).contains(s("AppImage")));
    test::saveScreenshot(view, s("apps-linux"));

    AppRemovalSheet* sheet =
        view.openRemovalSheet(row(s("Obsidian"))->data(0, Qt::UserRole).toString());
    ASSERT_TRUE(sheet);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(sheet));
    EXPECT_EQ(sheet->tickedData(), QSet<QString>{home.dir + s("/.cache/obsidian")});
    test::saveScreenshot(*sheet, s("apps-linux-removal-sheet"));
    sheet->reject();

    // A package's sheet takes nothing: it shows the command its package manager needs.
    const QString editor = row(s("Editor"))->data(0, Qt::UserRole).toString();
    sheet = view.openRemovalSheet(editor);
    ASSERT_TRUE(sheet);
    EXPECT_FALSE(sheet->dataList()->isVisibleTo(sheet));
    EXPECT_TRUE(sheet->tickedData().isEmpty());
    sheet->accept();
    waitUntilIdle();
    const QString shown = view.failuresLabel()->text();
    EXPECT_TRUE(
        shown.endsWith(PlatformWords::here().terminal + s(": sudo apt remove example-editor")))
        << shown.toStdString();
    EXPECT_TRUE(QFileInfo::exists(home.dir + s("/.config/org.example.Editor")));
    test::saveScreenshot(view, s("apps-linux-removal"));
}

TEST_F(AppsLinuxViewTest, LeftoversSayWhoKnowsTheAppIsGoneAndTheSheetListsWhatGoes) {
    // Obsidian, seen when the page first loaded, is deleted; snap says Spotify is gone.
    ASSERT_TRUE(QFile::remove(home.obsidian));
    ASSERT_TRUE(QFile::remove(home.user + s("/appimagekit-obsidian.desktop")));
    test::writeFile(SnapApps::dataFolder(s("spotify")) + s("/common/cache"), QByteArray(4096, 'x'));
    model.reload();
    waitUntilIdle();

    QTreeWidgetItem* obsidian = row(s("appimagekit-obsidian"));
    QTreeWidgetItem* spotify = row(s("spotify"));
    ASSERT_TRUE(obsidian && spotify);
    EXPECT_TRUE(obsidian->text(2).startsWith(s("Obsidian was listed here until ")))
        << obsidian->text(2).toStdString();
    EXPECT_EQ(spotify->text(2), s("snap says spotify is no longer installed."));
    EXPECT_EQ(obsidian->childCount(), 3);
    EXPECT_FALSE(row(s("ripgrep"))) << "a tool's folder is never a leftover";
    test::saveScreenshot(view, s("apps-linux-leftovers"));

    obsidian->child(0)->setCheckState(0, Qt::Checked);
    spotify->child(0)->setCheckState(0, Qt::Checked);
    view.confirmLeftoversRemoval();
    ConfirmationSheet* sheet = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return (sheet = test::openSheet(*view.window(), s("leftoversConfirmation"))); },
        test::patience));
    EXPECT_EQ(sheet->text(), s("Move 2 leftover item(s) to the Trash?"));
    EXPECT_EQ(test::dumpTree(*sheet->list()->model()),
              s("appimagekit-obsidian,    obsidian,spotify,    spotify"));
    EXPECT_TRUE(sheet->cancelButton()->isDefault());
    test::saveScreenshotWithSheet(view, *sheet, s("apps-linux-leftovers-confirmation"));
    sheet->acceptButton()->click();
    waitUntilIdle();
    EXPECT_FALSE(QFileInfo::exists(home.dir + s("/.config/obsidian")));
    EXPECT_FALSE(QFileInfo::exists(SnapApps::dataFolder(s("spotify"))));
    EXPECT_TRUE(QFileInfo::exists(home.dir + s("/.local/state/obsidian")));
}
