#include "platform/ToastCenter.h"
#include "scanning/ScanSession.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace corvane;
using test::makeDetails;
using test::makeItem;
using test::makeProject;
using test::s;

namespace {

class ScanSessionKeepTest : public testing::Test {
protected:
    void SetUp() override {
        for (const CleanableItem& item : {appModules, appBuild, toolModules, toolTarget})
            test::writeFile(item.url + s("/content"), "bytes");
    }

    void scan(ScanSession& target, const QList<CleanableItem>& toolItems = {}) {
        ASSERT_EQ(target.chooseFolderAndScan(root), std::nullopt);
        scans.feed({ScanEvent::projectDiscovered(app), ScanEvent::projectDiscovered(tool),
                    ScanEvent::gitStatusUpdated(app.id, makeDetails(GitStatus::fullySynced())),
                    ScanEvent::itemsClassified(app.id, {appModules, appBuild}),
                    ScanEvent::itemsClassified(
                        tool.id, toolItems.isEmpty() ? QList{toolModules, toolTarget} : toolItems),
                    ScanEvent::sizeUpdated(appModules.id, 1000),
                    ScanEvent::sizeUpdated(appBuild.id, 200),
                    ScanEvent::sizeUpdated(toolModules.id, 30),
                    ScanEvent::sizeUpdated(toolTarget.id, 4), ScanEvent::scanCompleted()});
    }

    QString root = test::makeTempDir(s("code"));
    KeepStore marks{test::makeTempDir(s("support")) + s("/keep.json")};
    Project app = makeProject(root + s("/app"));
    Project tool = makeProject(root + s("/tool"));
    CleanableItem appModules = makeItem(app, s("node_modules"));
    CleanableItem appBuild = makeItem(app, s("build"), ArtifactKind::buildOutput);
    CleanableItem toolModules = makeItem(tool, s("node_modules"));
    CleanableItem toolTarget = makeItem(tool, s("target"), ArtifactKind::buildOutput);
    ToastCenter toasts;
    test::FakeScans scans;
    ScanSession session{toasts, scans.starter(), nullptr, PlatformTrash::system(), marks};
};

} // namespace

TEST_F(ScanSessionKeepTest, PackagesWithoutALockFileAreOfferedButNotTicked) {
    toolModules.restoreHint = {s("no lock file: a reinstall may pick newer versions"), true};
    toolTarget.restoreHint = {s("cargo build"), false};
    scan(session);
    EXPECT_EQ(session.selectedItemIDs(), (QSet<QUuid>{appModules.id, appBuild.id, toolTarget.id}));
    EXPECT_FALSE(session.ticksByDefault(session.items(tool.id)[0]));
    // Still the user's to tick, and still reclaimable.
    session.setItemSelected(toolModules.id, true);
    EXPECT_TRUE(session.selectedItemIDs().contains(toolModules.id));
    EXPECT_EQ(session.reclaimableBytes(tool.id), 34);
}

TEST_F(ScanSessionKeepTest, AKeptProjectIsNeverTickedCountedOrTrashedAndStaysKeptAcrossRescans) {
    ASSERT_EQ(marks.add(app.url), QString());
    ScanSession fresh{toasts, scans.starter(), nullptr, PlatformTrash::system(), marks};
    scan(fresh);
    EXPECT_EQ(fresh.keptPaths(), QStringList{app.url});
    EXPECT_TRUE(fresh.isKept(app));
    EXPECT_FALSE(fresh.isKept(tool));
    EXPECT_EQ(fresh.selectedItemIDs(), (QSet<QUuid>{toolModules.id, toolTarget.id}));
    EXPECT_EQ(fresh.reclaimableBytes(app.id), 0);
    EXPECT_EQ(fresh.reclaimableBytes(), 34);
    const QMap<ArtifactKind, qint64> byKind{{ArtifactKind::dependencies, 30},
                                            {ArtifactKind::buildOutput, 4}};
    EXPECT_EQ(fresh.reclaimableBytesByKind(), byKind);

    fresh.setItemSelected(appModules.id, true);
    EXPECT_FALSE(fresh.selectedItemIDs().contains(appModules.id));
    EXPECT_TRUE(fresh.trashPlan(TrashScope::forProject(app)).isEmpty());
    const ScanSession::PathsPlan named = fresh.trashPlan(QList<QString>{appModules.url});
    EXPECT_TRUE(named.plan.isEmpty());
    ASSERT_EQ(named.refused.size(), 1);
    EXPECT_EQ(named.refused[0].message, ScanSession::keptMessage);

    // The marks are read again at every scan.
    ASSERT_EQ(marks.remove(app.url), QString());
    ASSERT_EQ(marks.add(tool.url), QString());
    fresh.rescan();
    scans.feed(
        {ScanEvent::projectDiscovered(tool), ScanEvent::itemsClassified(tool.id, {toolModules})});
    EXPECT_EQ(fresh.keptPaths(), QStringList{tool.url});
    EXPECT_TRUE(fresh.selectedItemIDs().isEmpty());
}

TEST_F(ScanSessionKeepTest, MarkingAnItemUnticksItAtOnceAndAKeptItemProtectsItsWholeProject) {
    tool.gitRepoURL = tool.url;
    const CleanableItem toolWhole =
        makeItem(tool, {}, ArtifactKind::wholeProject, CleanConfidence::reclonable);
    scan(session, {toolModules, toolTarget, toolWhole});
    session.setItemSelected(toolWhole.id, true);
    ASSERT_TRUE(session.selectedItemIDs().contains(toolWhole.id));

    QSignalSpy kept(&session, &ScanSession::keptPathsChanged);
    QSignalSpy ticks(&session, &ScanSession::selectedItemIDsChanged);
    ASSERT_EQ(session.setKept(toolTarget.url, true), QString());
    EXPECT_EQ(kept.count(), 1);
    EXPECT_EQ(ticks.count(), 1);
    EXPECT_EQ(marks.load().paths, QStringList{toolTarget.url});
    // The whole project would take the kept folder along.
    EXPECT_TRUE(session.isKept(toolWhole));
    EXPECT_FALSE(session.isKept(toolModules));
    EXPECT_EQ(session.selectedItemIDs(), (QSet<QUuid>{appModules.id, appBuild.id, toolModules.id}));
    EXPECT_EQ(session.reclaimableBytes(tool.id), 30);

    ASSERT_EQ(session.setKept(toolTarget.url, false), QString());
    EXPECT_EQ(kept.count(), 2);
    EXPECT_TRUE(session.keptPaths().isEmpty());
    session.setItemSelected(toolTarget.id, true);
    EXPECT_TRUE(session.selectedItemIDs().contains(toolTarget.id));
}

TEST_F(ScanSessionKeepTest, UnreadableMarksAreReportedTickNothingAndAreNeverOverwritten) {
    test::writeFile(marks.url(), "[\"/code/app\",");
    ScanSession broken{toasts, scans.starter(), nullptr, PlatformTrash::system(), marks};
    scan(broken);
    ASSERT_TRUE(broken.keepError());
    EXPECT_TRUE(broken.selectedItemIDs().isEmpty());
    EXPECT_TRUE(broken.setKept(app.url, true).contains(marks.url()));
    QFile file(marks.url());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("[\"/code/app\","));
}

TEST_F(ScanSessionKeepTest, AProjectKeptThroughALinkIsKeptWhenScannedThroughItsRealPath) {
    const QString linkedRoot = test::makeTempDir(s("linked")) + s("/code");
    ASSERT_TRUE(QFile::link(root, linkedRoot));
    ASSERT_EQ(marks.add(linkedRoot + s("/app")), QString());
    ScanSession fresh{toasts, scans.starter(), nullptr, PlatformTrash::system(), marks};
    scan(fresh);
    EXPECT_TRUE(fresh.isKept(app));
    EXPECT_EQ(fresh.selectedItemIDs(), (QSet<QUuid>{toolModules.id, toolTarget.id}));
    const ScanSession::PathsPlan named = fresh.trashPlan(QList<QString>{appBuild.url});
    ASSERT_EQ(named.refused.size(), 1);
    EXPECT_EQ(named.refused[0].message, ScanSession::keptMessage);
}
