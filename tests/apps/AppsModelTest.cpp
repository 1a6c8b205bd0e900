#include "apps/AppsModel.h"

#include "AppFixtures.h"
#include "platform/BackgroundJobs.h"
#include "support/GitFixture.h"

#include <QDir>
#include <QTest>
#include <atomic>
#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::s;
using Kind = AppDataItem::Kind;

namespace {

class AppsModelTest : public ::testing::Test {
protected:
    void SetUp() override { QDir(test::library()).removeRecursively(); }
    void TearDown() override { waitForBackgroundJobs(); }

    void load(AppsModel& model) {
        model.reload();
        ASSERT_TRUE(QTest::qWaitFor([&] { return !model.isLoading(); }, 20000));
    }

    QString apps = test::makeTempDir(s("apps"));
    test::ScopedEnvironment appsDir{"CORVANE_APPLICATIONS_DIR", apps};
    test::ScopedEnvironment noFlatpak{"CORVANE_TOOL_FLATPAK", s("/nonexistent/flatpak")};
    ToastCenter toasts;
};

TEST_F(AppsModelTest, LoadsOrderedInventoryWithCasksAndHidesSmallLeftovers) {
    test::makeBundle(apps, s("Lean.app"),
                     test::xmlPlist(test::appKeys(s("com.example.lean"), s("Lean"))),
                     QByteArray(200'000, 'l'));
    test::makeBundle(apps, s("ChatGPT.app"),
                     test::xmlPlist(test::appKeys(s("com.openai.chat"), s("ChatGPT"))), "c");
    const QString cache = test::libraryFolderWith(s("Caches/com.openai.chat"), 400'000);
    test::libraryFolderWith(s("Logs/com.example.big-gone"), 1'500'000);
    test::libraryFolderWith(s("Logs/com.example.small-gone"), 900'000);

    AppsModel model(toasts);
    std::atomic<int> asked = 0;
    model.setCaskMapProvider([&] {
        ++asked;
        return CaskMap{{apps + s("/ChatGPT.app"), s("chatgpt")}};
    });
    load(model);
    EXPECT_TRUE(model.hasLoaded());
    EXPECT_EQ(asked, 1);
    const AppInventory& inventory = model.inventory();
    ASSERT_EQ(inventory.apps.size(), 2);
    EXPECT_EQ(inventory.apps[0].name, s("ChatGPT"));
    EXPECT_EQ(inventory.apps[0].caskToken, s("chatgpt"));
    EXPECT_EQ(inventory.apps[1].name, s("Lean"));

    ASSERT_EQ(model.visibleOrphans().size(), 2);
    model.setHideSmallEntries(true);
    ASSERT_EQ(model.visibleOrphans().size(), 1);
    EXPECT_EQ(model.visibleOrphans()[0].bundleIdentifier, s("com.example.big-gone"));

    // Only listed items can be ticked.
    model.setSelected(cache, true);
    model.setSelected(test::library() + s("/Caches/unlisted"), true);
    EXPECT_EQ(model.selectedIDs(), QSet<QString>{cache});
}

TEST_F(AppsModelTest, ADryRunRefusesWhatARealRunWouldRefuse) {
    const QString gone = test::libraryFolderWith(s("Logs/org.gone.app"), 2'000);
    const QString back = test::libraryFolderWith(s("Logs/org.back.app"), 3'000);
    AppsModel model(toasts, true);
    load(model);
    ASSERT_EQ(model.inventory().orphans.size(), 2);
    // Installed again after the list was shown.
    test::makeBundle(apps, s("Back.app"), test::xmlPlist(test::appKeys(s("org.back.app"), s("B"))));

    model.removeLeftovers({gone, back});
    ASSERT_TRUE(QTest::qWaitFor([&] { return !model.isRemoving(); }, 20000));
    ASSERT_TRUE(model.lastOutcome());
    EXPECT_EQ(model.lastOutcome()->trashedData.size(), 1);
    EXPECT_EQ(model.lastOutcome()->failures.size(), 1);
    EXPECT_TRUE(model.lastMessage().startsWith(s("Dry run: would move 1 item")))
        << model.lastMessage().toStdString();
    EXPECT_EQ(model.failures().size(), 1);
    EXPECT_TRUE(QFileInfo::exists(gone));
    EXPECT_TRUE(QFileInfo::exists(back));
}

TEST(AppsModelPreselection, TicksOnlyExactCachesLogsAndWindowState) {
    InstalledApp app;
    app.data = {{Kind::applicationSupport, s("/L/Application Support/b"), 1, true},
                {Kind::caches, s("/L/Caches/b"), 1, true},
                {Kind::caches, s("/L/Caches/Name"), 1, false},
                {Kind::containers, s("/L/Containers/b"), 1, true},
                {Kind::preferences, s("/L/Preferences/b.plist"), 1, true},
                {Kind::savedState, s("/L/Saved Application State/b.savedState"), 1, true},
                {Kind::logs, s("/L/Logs/b"), 1, true},
                {Kind::httpStorages, s("/L/HTTPStorages/b"), 1, true},
                {Kind::launchAgents, s("/L/LaunchAgents/b.plist"), 1, true}};
    EXPECT_EQ(AppsModel::preselected(app),
              (QSet<QString>{s("/L/Caches/b"), s("/L/Saved Application State/b.savedState"),
                             s("/L/Logs/b")}));
    EXPECT_TRUE(AppsModel::preselected(InstalledApp{}).isEmpty());
}

} // namespace
