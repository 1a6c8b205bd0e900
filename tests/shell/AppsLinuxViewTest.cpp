#include "apps/LinuxHome.h"
#include "platform/BackgroundJobs.h"
#include "shell/AppsView.h"
#include "shell/ShellTesting.h"

#include <QTreeWidget>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

// The page over a Linux desktop: packaged apps, snaps and AppImages with their XDG data.
TEST(AppsLinuxViewTest, TheDesktopsAppsShowWithTheirInstallerAndTheSheetTicksOnlyCaches) {
    const test::LinuxHome home;
    const test::ScopedEnvironment noBundles("CORVANE_APPLICATIONS_DIR", home.dir);
    const test::ScopedEnvironment noBrew("CORVANE_TOOL_BREW", home.dir + s("/no-brew"));
    ToastCenter toasts;
    AppsModel model{toasts};
    HomebrewModel homebrew{toasts};
    AppsView view{model, homebrew};
    view.resize(1000, 720);
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return model.hasLoaded() && !model.isLoading(); }, test::patience));
    QString obsidian;
    QStringList shown;
    for (int row = 0; row < view.tree()->topLevelItemCount(); ++row) {
        const QTreeWidgetItem* item = view.tree()->topLevelItem(row);
        shown.append(item->text(0));
        if (item->text(0) == s("Obsidian")) {
            obsidian = item->data(0, Qt::UserRole).toString();
            EXPECT_TRUE(item->text(2).contains(s("AppImage"))) << item->text(2).toStdString();
        }
    }
    EXPECT_TRUE(shown.contains(s("Editor")) && shown.contains(s("Firefox")))
        << shown.join(u',').toStdString();
    test::saveScreenshot(view, s("apps-linux"));

    AppRemovalSheet* sheet = view.openRemovalSheet(obsidian);
    ASSERT_TRUE(sheet);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(sheet));
    EXPECT_EQ(sheet->tickedData(), QSet<QString>{home.dir + s("/.cache/obsidian")});
    test::saveScreenshot(*sheet, s("apps-linux-removal"));
    sheet->reject();
    waitForBackgroundJobs();
}
