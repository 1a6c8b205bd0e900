#include "shell/AppsView.h"

#include "apps/AppFixtures.h"
#include "platform/BackgroundJobs.h"
#include "platform/PlatformWords.h"
#include "shell/ShellTesting.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QTreeWidget>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// The page over a fixture Applications folder and Library, and a stand-in brew with one outdated
// formula whose upgrade asks for the Mac password.
class AppsViewTest : public testing::Test {
protected:
    void SetUp() override {
        QDir(test::library()).removeRecursively();
        test::makeBundle(apps, s("Notely.app"),
                         test::binaryPlist(test::appKeys(s("com.example.notely"), s("Notely"))),
                         QByteArray(300'000, 'n'));
        caches = test::libraryFolderWith(s("Caches/com.example.notely"), 200'000);
        support = test::libraryFolderWith(s("Application Support/com.example.notely"), 50'000);
        related = test::libraryFolderWith(s("Application Support/Notely"), 5'000);
        test::libraryFolderWith(s("Logs/com.example.gone"), 1'200'000);
        // A bundle that cannot be read, and data that may be its own.
        test::makeBundle(apps, s("Mystery.app"), "garbage");
        test::libraryFolderWith(s("Caches/org.mystery.helper"), 1'000);
        test::writeScript(brew, R"sh(
case "$*" in
"outdated --json=v2") echo '{"formulae":[{"name":"wget","installed_versions":["1.24.5"],"current_version":"1.25.0","pinned":false}],"casks":[]}' ;;
"info --json=v2 --installed --cask") echo '{"formulae":[],"casks":[]}' ;;
"upgrade wget") echo "==> Upgrading wget"; printf 'Password:'; sleep 30 ;;
esac
)sh");
        view.resize(1000, 720);
        view.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
        ASSERT_TRUE(QTest::qWaitFor(
            [this] { return model.hasLoaded() && !model.isLoading() && homebrew.hasLoaded(); },
            test::patience));
        QTest::qWait(50);
    }
    void TearDown() override {
        waitForBackgroundJobs();
        // Other pages' tests share the fake home: leave no leftovers behind for them to count.
        QDir(test::library()).removeRecursively();
    }

    QString apps = test::makeTempDir(s("apps"));
    QString brew = test::makeTempDir(s("brew")) + s("/brew");
    test::ScopedEnvironment appsDir{"CORVANE_APPLICATIONS_DIR", apps};
    test::ScopedEnvironment noFlatpak{"CORVANE_TOOL_FLATPAK", s("/nonexistent/flatpak")};
    test::ScopedEnvironment brewTool{"CORVANE_TOOL_BREW", brew};
    QString caches, support, related;
    ToastCenter toasts;
    AppsModel model{toasts};
    HomebrewModel homebrew{toasts};
    AppsView view{model, homebrew};
};

} // namespace

TEST_F(AppsViewTest, AnAppWithItsDataLeftoversAndTheRemovalSheetTickOnlyWhatIsSafe) {
    ASSERT_GE(view.tree()->topLevelItemCount(), 2);
    const QTreeWidgetItem* notely = view.tree()->topLevelItem(0);
    EXPECT_EQ(notely->text(0), s("Notely"));
    EXPECT_EQ(notely->childCount(), 3);
    EXPECT_TRUE(view.tree()->topLevelItem(1)->text(0).startsWith(s("Leftovers")));
    ASSERT_EQ(view.tree()->topLevelItemCount(), 3);
    const QTreeWidgetItem* unknown = view.tree()->topLevelItem(2);
    EXPECT_EQ(unknown->text(2), AppsModel::unknownDataText);
    ASSERT_EQ(unknown->childCount(), 1);
    EXPECT_EQ(unknown->child(0)->text(0), s("org.mystery.helper"));
    EXPECT_FALSE(unknown->child(0)->child(0)->flags() & Qt::ItemIsUserCheckable);
    test::saveScreenshot(view, s("apps-loaded"));

    AppRemovalSheet* sheet = view.openRemovalSheet(notely->data(0, Qt::UserRole).toString());
    ASSERT_TRUE(sheet);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(sheet));
    // The sheet says which copy goes by its path.
    const auto* where = sheet->findChild<QLabel*>(s("appRemovalPath"));
    ASSERT_TRUE(where);
    EXPECT_EQ(where->text(), QFileInfo(apps + s("/Notely.app")).canonicalFilePath());
    // Caches are ticked; Application Support is not; the folder only named like the app can't be.
    EXPECT_EQ(sheet->tickedData(), QSet<QString>{caches});
    for (int row = 0; row < sheet->dataList()->topLevelItemCount(); ++row) {
        const QTreeWidgetItem* item = sheet->dataList()->topLevelItem(row);
        if (item->data(0, Qt::UserRole).toString() == related) {
            EXPECT_FALSE(item->flags() & Qt::ItemIsEnabled);
            EXPECT_EQ(item->toolTip(0), AppsModel::possiblyRelatedNotRemovableText);
        }
    }
    test::saveScreenshot(*sheet, s("apps-removal-sheet"));
    sheet->accept();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !model.isRemoving() && !model.isLoading(); },
                                test::patience));
    ASSERT_TRUE(model.lastOutcome().has_value());
    EXPECT_EQ(model.lastOutcome()->appMethod, AppRemovalOutcome::Method::trash);
    EXPECT_FALSE(QFileInfo::exists(apps + s("/Notely.app")));
    EXPECT_FALSE(QFileInfo::exists(caches));
    EXPECT_TRUE(QFileInfo::exists(support));
    EXPECT_TRUE(QFileInfo::exists(related));
}

TEST_F(AppsViewTest, TheHomebrewSectionStreamsAnUpgradeAndGivesTheTerminalCommand) {
    ASSERT_EQ(view.outdatedList()->topLevelItemCount(), 1);
    view.outdatedList()->setCurrentItem(view.outdatedList()->topLevelItem(0));
    homebrew.upgrade(homebrew.outdated().first());
    ASSERT_TRUE(QTest::qWaitFor([this] { return !homebrew.isUpgrading(); }, test::patience));
    QTest::qWait(50);
    EXPECT_TRUE(view.brewOutput()->toPlainText().contains(s("==> Upgrading wget")));
    EXPECT_EQ(view.brewMessage()->text(), s("This update needs ") + PlatformWords::here().password +
                                              s(". Run it in ") + PlatformWords::here().terminal +
                                              s(": brew upgrade wget"));
    test::saveScreenshot(view, s("apps-homebrew"));
}
