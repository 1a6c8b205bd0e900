#include "shell/Navigation.h"

#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;
using test::makeItem;
using test::makeProject;

namespace {

class NavigationTest : public testing::Test {
protected:
    void SetUp() override {
        root = test::makeTempDir(QStringLiteral("code"));
        ASSERT_EQ(session.chooseFolderAndScan(root), std::nullopt);
    }

    QString root;
    ToastCenter toasts;
    test::FakeScans scans;
    ScanSession session{toasts, scans.starter()};
    Navigation navigation{session};
};

} // namespace

TEST_F(NavigationTest, ARescanSelectsTheSameProjectAgainByItsFolder) {
    const Project app = makeProject(root + QStringLiteral("/app"));
    scans.feed({ScanEvent::projectDiscovered(app), ScanEvent::scanCompleted()});
    navigation.setSelection(SidebarSelection::forProject(app));

    session.rescan();
    EXPECT_FALSE(navigation.selection());
    EXPECT_EQ(navigation.pendingSelectionPath(), app.url);

    // The new scan's project has a new identity; its folder is what finds it. It may arrive in
    // the same batch as the end of the scan.
    const Project again = makeProject(root + QStringLiteral("/app"));
    scans.feed({ScanEvent::projectDiscovered(again), ScanEvent::scanCompleted()});
    ASSERT_TRUE(navigation.selection());
    EXPECT_EQ(navigation.selection()->project, again);
    EXPECT_FALSE(navigation.pendingSelectionPath());
}

TEST_F(NavigationTest, ANextPathWinsAndIsDroppedWhenTheScanDoesNotFindIt) {
    navigation.setSelection(SidebarSelection::of(QStringLiteral("caches")));
    navigation.setNextSelectionPath(root + QStringLiteral("/gone/"));
    session.rescan();
    EXPECT_EQ(navigation.pendingSelectionPath(), root + QStringLiteral("/gone"));
    EXPECT_FALSE(navigation.nextSelectionPath());
    // An area stays where it is; only a project of the old scan is left behind.
    EXPECT_EQ(navigation.selection(), SidebarSelection::of(QStringLiteral("caches")));
    scans.feed({ScanEvent::scanCompleted()});
    EXPECT_FALSE(navigation.pendingSelectionPath());
}

TEST_F(NavigationTest, AProjectTheTrashTookIsNoLongerSelected) {
    const Project old = makeProject(root + QStringLiteral("/old"));
    const CleanableItem whole =
        makeItem(old, {}, ArtifactKind::wholeProject, CleanConfidence::reclonable);
    test::writeFile(old.url + QStringLiteral("/README"), "x");
    scans.feed({ScanEvent::projectDiscovered(old), ScanEvent::itemsClassified(old.id, {whole}),
                ScanEvent::scanCompleted()});
    navigation.setSelection(SidebarSelection::forProject(old));
    session.toggleItem(whole.id);

    session.trash(session.trashPlan(TrashScope::everything()));
    ASSERT_TRUE(QTest::qWaitFor([this] { return !session.isTrashing(); }, 10000));
    EXPECT_FALSE(navigation.selection());
}
