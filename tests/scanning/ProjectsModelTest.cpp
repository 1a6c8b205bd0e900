#include "scanning/ProjectsModel.h"

#include "platform/KeepStore.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;
using test::makeItem;
using test::makeProject;

namespace {

constexpr int patience = 10000;

QString idOf(const CleanableItem& item) {
    return item.id.toString(QUuid::WithoutBraces);
}

// The projects area seen as an inventory, over scans the test feeds itself about real folders.
class ProjectsModelTest : public testing::Test {
protected:
    void SetUp() override {
        for (const CleanableItem& item : {modules, dist, libTarget})
            test::writeFile(item.url + QStringLiteral("/file"), "x");
    }

    void scanEverything() {
        ASSERT_EQ(model.scan(root), std::nullopt);
        feedEverything();
    }

    void feedEverything() {
        scans.feed({ScanEvent::projectDiscovered(app), ScanEvent::projectDiscovered(lib),
                    ScanEvent::itemsClassified(app.id, {modules, dist}),
                    ScanEvent::itemsClassified(lib.id, {libTarget}),
                    ScanEvent::sizeUpdated(modules.id, 2'000), ScanEvent::sizeUpdated(dist.id, 30),
                    ScanEvent::sizeUpdated(libTarget.id, 500), ScanEvent::scanCompleted()});
    }

    void waitUntilRemoved() {
        ASSERT_TRUE(QTest::qWaitFor([this] { return !model.isRemoving(); }, patience));
    }

    QString root = test::makeTempDir(QStringLiteral("code"));
    Project app = makeProject(root + QStringLiteral("/app"));
    Project lib = makeProject(root + QStringLiteral("/lib"));
    CleanableItem modules = makeItem(app, QStringLiteral("node_modules"));
    CleanableItem dist =
        makeItem(app, QStringLiteral("dist"), ArtifactKind::buildOutput, CleanConfidence::caution);
    CleanableItem libTarget = makeItem(lib, QStringLiteral("target"));
    ToastCenter toasts;
    test::FakeScans scans;
    ScanSession session{toasts, scans.starter()};
    ProjectsModel model{session, toasts};
};

} // namespace

TEST_F(ProjectsModelTest, LoadsWhileTheScanRunsAndKeepsItsTicksInStepWithTheSessions) {
    EXPECT_FALSE(model.hasLoaded());
    ASSERT_EQ(model.scan(root), std::nullopt);
    EXPECT_TRUE(model.isLoading());
    feedEverything();
    EXPECT_FALSE(model.isLoading());
    EXPECT_TRUE(model.hasLoaded());
    // The safe items the scan ticked are the model's selection.
    EXPECT_EQ(model.selectedIDs(), (QSet<QString>{idOf(modules), idOf(libTarget)}));

    model.setSelected(idOf(modules), false);
    model.setSelected(idOf(dist), true);
    EXPECT_EQ(session.selectedItemIDs(), (QSet<QUuid>{dist.id, libTarget.id}));
    session.toggleItem(libTarget.id);
    EXPECT_EQ(model.selectedIDs(), QSet<QString>{idOf(dist)});

    // Neither a kept folder nor something the scan never offered can be ticked.
    ASSERT_EQ(session.setKept(modules.url, true), QString());
    model.setSelected(idOf(modules), true);
    model.setSelected(QUuid::createUuid().toString(QUuid::WithoutBraces), true);
    EXPECT_EQ(model.selectedIDs(), QSet<QString>{idOf(dist)});
    EXPECT_EQ(session.selectedItemIDs(), QSet<QUuid>{dist.id});
    QFile::remove(KeepStore().url());

    // A reload is a rescan of the same folder.
    model.reload();
    EXPECT_EQ(scans.roots, (QList<QString>{root, root}));
    EXPECT_TRUE(model.isLoading());
    EXPECT_TRUE(model.selectedIDs().isEmpty());
}

TEST_F(ProjectsModelTest, ATrashActionIsARemovalWhoseFailuresNameTheItems) {
    scanEverything();
    QDir(libTarget.url).removeRecursively();
    QSignalSpy removing(&model, &InventoryModel::isRemovingChanged);

    model.trash(model.trashPlan(TrashScope::everything()));
    EXPECT_TRUE(model.isRemoving());
    waitUntilRemoved();

    EXPECT_EQ(removing.count(), 2);
    EXPECT_FALSE(QFile::exists(modules.url));
    EXPECT_EQ(model.failures(), QList<ItemFailure>({{idOf(libTarget), QStringLiteral("target"),
                                                     QStringLiteral("No longer exists")}}));
    EXPECT_EQ(model.selectedIDs(), QSet<QString>{idOf(libTarget)});
}

TEST_F(ProjectsModelTest, TheScopeOfSelectedRowsTakesThemTickedOrNotButNeverAKeptOne) {
    scanEverything();
    ASSERT_EQ(session.setKept(libTarget.url, true), QString());
    const TrashPlan rows = model.trashPlan(QList<QUuid>{dist.id, libTarget.id});
    EXPECT_EQ(rows.urls(), QList<QString>{dist.url});
    // A project's scope is its own ticked items, nothing of the others.
    EXPECT_EQ(model.trashPlan(TrashScope::forProject(app)).urls(), QList<QString>{modules.url});
    QFile::remove(KeepStore().url());
}

TEST_F(ProjectsModelTest, ADryRunSaysWhatWouldMoveAndMovesNothing) {
    model.setDryRun(true);
    scanEverything();
    std::optional<TrashResult> result;
    QObject::connect(&model, &ProjectsModel::trashCompleted, &model,
                     [&result](const TrashResult& done) { result = done; });

    model.trash(model.trashPlan(TrashScope::everything()));
    waitUntilRemoved();

    ASSERT_TRUE(result);
    EXPECT_TRUE(result->wasDryRun);
    EXPECT_TRUE(QFile::exists(modules.url + QStringLiteral("/file")));
    EXPECT_TRUE(QFile::exists(libTarget.url + QStringLiteral("/file")));
    ASSERT_TRUE(toasts.current());
    EXPECT_TRUE(toasts.current()->message.startsWith(QStringLiteral("Dry run: would move 2 items")))
        << qPrintable(toasts.current()->message);
    EXPECT_EQ(session.projects().size(), 2);
    EXPECT_EQ(model.selectedIDs().size(), 2);
}
