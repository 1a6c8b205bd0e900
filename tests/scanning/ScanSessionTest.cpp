#include "scanning/ScanSession.h"

#include "platform/BackgroundJobs.h"
#include "platform/ByteFormat.h"
#include "platform/ToastCenter.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;
using test::makeDetails;
using test::makeItem;
using test::makeProject;

namespace {

constexpr int patience = 10000;

QDateTime day(int year) {
    return QDateTime(QDate(year, 6, 1), QTime(12, 0), Qt::UTC);
}

QStringList names(const QList<Project>& projects) {
    QStringList result;
    for (const Project& project : projects)
        result.append(project.name);
    return result;
}

// Prints a tree as "name(child,child(grandchild))", so nesting failures read plainly.
QString dump(const QList<ProjectNode>& nodes) {
    QStringList parts;
    for (const ProjectNode& node : nodes) {
        QString part = node.project.name;
        if (node.children)
            part += u'(' + dump(*node.children) + u')';
        parts.append(part);
    }
    return parts.join(u',');
}

class ScanSessionTest : public testing::Test {
protected:
    void SetUp() override { root = test::makeTempDir(QStringLiteral("code")); }

    void startScan() { ASSERT_EQ(session.chooseFolderAndScan(root), std::nullopt); }

    void waitForTrash() {
        ASSERT_TRUE(QTest::qWaitFor([this] { return !session.isTrashing(); }, patience));
    }

    QString root;
    ToastCenter toasts;
    test::FakeScans scans;
    ScanSession session{toasts, scans.starter()};
};

} // namespace

TEST_F(ScanSessionTest, RefusesTheDiskTheDesktopTheDocumentsAndTheLibraryButNotTheirSubfolders) {
    const QString home = test::fakeHome();
    const QString advice = QStringLiteral(
        " is not supported for safety. Choose the folder that holds your dev projects, for "
        "example ~/Code.");
    const std::pair<QString, QString> refused[] = {
        {QStringLiteral("/"), QStringLiteral("the whole disk")},
        {home + QStringLiteral("/Library"), QStringLiteral("the Library folder")},
        {home + QStringLiteral("/Desktop/"), QStringLiteral("the whole Desktop")},
        {home + QStringLiteral("/Code/../Documents"), QStringLiteral("the whole Documents folder")},
    };
    for (const auto& [folder, place] : refused) {
        const std::optional<ScanRefusal> refusal = session.chooseFolderAndScan(folder);
        ASSERT_TRUE(refusal) << qPrintable(folder);
        EXPECT_EQ(refusal->title, QStringLiteral("Cannot scan this folder"));
        EXPECT_EQ(refusal->text, QStringLiteral("Scanning ") + place + advice);
    }
    EXPECT_TRUE(scans.roots.isEmpty());
    EXPECT_FALSE(session.rootURL());

    const QString projects = home + QStringLiteral("/Documents/Projects");
    EXPECT_EQ(session.chooseFolderAndScan(projects + u'/'), std::nullopt);
    EXPECT_EQ(scans.roots, QList<QString>{projects});
    EXPECT_EQ(session.rootURL(), projects);
    EXPECT_TRUE(session.isScanning());
}

TEST_F(ScanSessionTest, DirtyWorkIsNeverPreTickedWhicheverArrivesFirst) {
    startScan();
    const Project early = makeProject(root + QStringLiteral("/early-dirty"));
    const Project late = makeProject(root + QStringLiteral("/late-dirty"));
    const CleanableItem earlyModules = makeItem(early, QStringLiteral("node_modules"));
    const CleanableItem lateModules = makeItem(late, QStringLiteral("node_modules"));
    const CleanableItem lateDist =
        makeItem(late, QStringLiteral("dist"), ArtifactKind::buildOutput, CleanConfidence::caution);
    const CleanableItem lateWhole =
        makeItem(late, {}, ArtifactKind::wholeProject, CleanConfidence::reclonable);
    const CleanableItem lateIgnored = makeItem(late, QStringLiteral("out"), ArtifactKind::unknown,
                                               CleanConfidence::ignoredButUnknown);

    scans.feed(
        {ScanEvent::projectDiscovered(early), ScanEvent::projectDiscovered(late),
         ScanEvent::gitStatusUpdated(early.id, makeDetails(GitStatus::dirty(3))),
         ScanEvent::itemsClassified(early.id, {earlyModules}),
         ScanEvent::itemsClassified(late.id, {lateModules, lateDist, lateWhole, lateIgnored}),
         ScanEvent::gitStatusUpdated(late.id, makeDetails(GitStatus::dirty(1)))});

    // Items that came before the news of their changes keep the safe tick they got.
    EXPECT_EQ(session.selectedItemIDs(), QSet<QUuid>{lateModules.id});
    EXPECT_EQ(session.itemsByProject().value(late.id).size(), 4);
    EXPECT_EQ(session.gitDetailsByProject().value(early.id).status, GitStatus::dirty(3));
}

TEST_F(ScanSessionTest, EventsFillTheStateAndTheTotalsCountOnlyWhatIsSafe) {
    startScan();
    QSignalSpy paths(&session, &ScanSession::currentPathChanged);
    const Project app = makeProject(root + QStringLiteral("/app"));
    const CleanableItem modules = makeItem(app, QStringLiteral("node_modules"));
    const CleanableItem cache =
        makeItem(app, QStringLiteral(".turbo"), ArtifactKind::cache, CleanConfidence::safe);
    const CleanableItem dist =
        makeItem(app, QStringLiteral("dist"), ArtifactKind::buildOutput, CleanConfidence::caution);
    const CleanableItem venv = makeItem(app, QStringLiteral(".venv"), ArtifactKind::virtualEnv);

    scans.feed({ScanEvent::progress(root), ScanEvent::progress(root),
                ScanEvent::projectDiscovered(app),
                ScanEvent::gitStatusUpdated(app.id, makeDetails(GitStatus::fullySynced())),
                ScanEvent::itemsClassified(app.id, {modules, cache, dist, venv})});
    scans.feed({ScanEvent::progress(root), ScanEvent::progress(app.url),
                ScanEvent::sizeUpdated(modules.id, 4'000'000'000),
                ScanEvent::sizeUpdated(cache.id, 5'000), ScanEvent::sizeUpdated(dist.id, 700)});

    EXPECT_EQ(session.currentPath(), app.url);
    EXPECT_EQ(paths.count(), 2);
    // The venv is not measured yet and counts nothing; the caution item is not reclaimable.
    EXPECT_EQ(session.reclaimableBytes(app.id), 4'000'005'000);
    EXPECT_EQ(session.reclaimableBytes(), 4'000'005'000);
    EXPECT_EQ(session.measuredBytes(), 4'000'005'700);
    const QMap<ArtifactKind, qint64> byKind{{ArtifactKind::dependencies, 4'000'000'000},
                                            {ArtifactKind::cache, 5'000}};
    EXPECT_EQ(session.reclaimableBytesByKind(), byKind);

    session.toggleItem(dist.id);
    session.toggleItem(modules.id);
    EXPECT_EQ(session.selectedBytes(), 5'700);
    session.toggleItem(QUuid::createUuid());
    EXPECT_EQ(session.selectedItemIDs(), (QSet<QUuid>{cache.id, dist.id, venv.id}));

    // Classifying again replaces the items, and with them their ticks and sizes.
    const CleanableItem fresh = makeItem(app, QStringLiteral("node_modules"));
    scans.feed({ScanEvent::itemsClassified(app.id, {fresh}), ScanEvent::scanCompleted()});
    EXPECT_EQ(session.selectedItemIDs(), QSet<QUuid>{fresh.id});
    EXPECT_TRUE(session.sizeByItem().isEmpty());
    EXPECT_FALSE(session.isScanning());
}

TEST_F(ScanSessionTest, ActivityPutsProjectsWithoutGitFirstAndSizePutsTheLargestFirst) {
    startScan();
    const Project recent = makeProject(root + QStringLiteral("/recent"));
    const Project outside = makeProject(root + QStringLiteral("/outside-git"));
    const Project stale = makeProject(root + QStringLiteral("/stale"));
    const Project undated = makeProject(root + QStringLiteral("/undated"));
    const CleanableItem big = makeItem(stale, QStringLiteral("target"));
    const CleanableItem small = makeItem(recent, QStringLiteral("node_modules"));
    const CleanableItem medium = makeItem(undated, QStringLiteral("Pods"));
    scans.feed(
        {ScanEvent::projectDiscovered(recent), ScanEvent::projectDiscovered(outside),
         ScanEvent::projectDiscovered(stale), ScanEvent::projectDiscovered(undated),
         ScanEvent::gitStatusUpdated(recent.id, makeDetails(GitStatus::noRemote(), day(2024))),
         ScanEvent::gitStatusUpdated(stale.id, makeDetails(GitStatus::noRemote(), day(2019))),
         ScanEvent::gitStatusUpdated(undated.id, makeDetails(GitStatus::noUpstream())),
         ScanEvent::itemsClassified(stale.id, {big}),
         ScanEvent::itemsClassified(recent.id, {small}),
         ScanEvent::itemsClassified(undated.id, {medium}), ScanEvent::sizeUpdated(big.id, 900),
         ScanEvent::sizeUpdated(small.id, 10), ScanEvent::sizeUpdated(medium.id, 50)});

    EXPECT_EQ(names(session.orderedProjects()),
              (QStringList{QStringLiteral("stale"), QStringLiteral("undated"),
                           QStringLiteral("recent"), QStringLiteral("outside-git")}));

    QSignalSpy sortChanges(&session, &ScanSession::sortModeChanged);
    session.setSortMode(ProjectSortMode::activity);
    session.setSortMode(ProjectSortMode::activity);
    EXPECT_EQ(sortChanges.count(), 1);
    EXPECT_EQ(names(session.orderedProjects()),
              (QStringList{QStringLiteral("outside-git"), QStringLiteral("undated"),
                           QStringLiteral("stale"), QStringLiteral("recent")}));
}

TEST_F(ScanSessionTest, TheTreeNestsSortsEachLevelAndTheUnsyncedFilterKeepsAncestors) {
    startScan();
    const Project mono = makeProject(root + QStringLiteral("/mono"));
    const Project web = makeProject(mono.url + QStringLiteral("/web"), mono.id);
    const Project api = makeProject(mono.url + QStringLiteral("/api"), mono.id);
    const Project shared = makeProject(api.url + QStringLiteral("/shared"), api.id);
    const Project tidy = makeProject(root + QStringLiteral("/tidy"));
    const Project loose = makeProject(root + QStringLiteral("/loose"));
    const CleanableItem apiBuild = makeItem(api, QStringLiteral("build"));
    const CleanableItem webModules = makeItem(web, QStringLiteral("node_modules"));
    QList<ScanEvent> events;
    for (const Project& project : {mono, web, api, shared, tidy, loose})
        events.append(ScanEvent::projectDiscovered(project));
    for (const Project& project : {mono, web, shared, tidy})
        events.append(
            ScanEvent::gitStatusUpdated(project.id, makeDetails(GitStatus::fullySynced())));
    events.append(ScanEvent::gitStatusUpdated(api.id, makeDetails(GitStatus::aheadOfRemote(2))));
    events.append(ScanEvent::itemsClassified(api.id, {apiBuild}));
    events.append(ScanEvent::itemsClassified(web.id, {webModules}));
    events.append(ScanEvent::sizeUpdated(apiBuild.id, 100));
    events.append(ScanEvent::sizeUpdated(webModules.id, 10));
    scans.feed(events);

    EXPECT_EQ(dump(session.projectTree()), QStringLiteral("mono(api(shared),web),tidy,loose"));
    EXPECT_EQ(
        names(session.orderedProjects()),
        (QStringList{QStringLiteral("mono"), QStringLiteral("api"), QStringLiteral("shared"),
                     QStringLiteral("web"), QStringLiteral("tidy"), QStringLiteral("loose")}));

    session.setShowOnlyUnsynced(true);
    // "loose" has no git details at all, so nothing vouches for it.
    EXPECT_EQ(dump(session.projectTree()), QStringLiteral("mono(api),loose"));
    EXPECT_EQ(session.reclaimableBytes(), 110);
}

TEST_F(ScanSessionTest, AProjectHoldingALargerOneRanksByWhatTheyGiveBackTogether) {
    startScan();
    const Project mono = makeProject(root + QStringLiteral("/mono"));
    const Project app = makeProject(mono.url + QStringLiteral("/app"), mono.id);
    const Project medium = makeProject(root + QStringLiteral("/medium"));
    // Parents that name each other: listed, and summed without going round for ever.
    Project ringA = makeProject(root + QStringLiteral("/ring-a"));
    const Project ringB = makeProject(root + QStringLiteral("/ring-b"), ringA.id);
    ringA.parentProjectID = ringB.id;
    QList<ScanEvent> events;
    QHash<QUuid, qint64> sizes{
        {mono.id, 5}, {app.id, 100}, {medium.id, 50}, {ringA.id, 1}, {ringB.id, 2}};
    for (const Project& project : {mono, app, medium, ringA, ringB}) {
        const CleanableItem item = makeItem(project, QStringLiteral("node_modules"));
        events +=
            {ScanEvent::projectDiscovered(project), ScanEvent::itemsClassified(project.id, {item}),
             ScanEvent::sizeUpdated(item.id, sizes.value(project.id))};
    }
    scans.feed(events);

    const QList<ProjectNode> tree = session.projectTree();
    ASSERT_EQ(dump(tree).left(16), QStringLiteral("mono(app),medium"));
    EXPECT_EQ(tree[0].branchBytes, 105);
    EXPECT_EQ(tree[0].children->at(0).branchBytes, 100);
    EXPECT_EQ(tree[1].branchBytes, 50);
    const QHash<QUuid, qint64> branches = session.branchReclaimableBytes();
    EXPECT_EQ(branches.value(mono.id), 105);
    EXPECT_EQ(branches.value(medium.id), 50);
    EXPECT_LE(branches.value(ringA.id) + branches.value(ringB.id), 6);
    EXPECT_EQ(session.reclaimableBytes(), 158) << "the totals count each project once";
}

TEST_F(ScanSessionTest, TrashedItemsAndProjectsLeaveTheStateAndTheToastSaysWhatCameBack) {
    startScan();
    const Project app = makeProject(root + QStringLiteral("/app"));
    const Project old = makeProject(root + QStringLiteral("/old"));
    const Project oldLib = makeProject(old.url + QStringLiteral("/lib"), old.id);
    const CleanableItem modules = makeItem(app, QStringLiteral("node_modules"));
    const CleanableItem dist =
        makeItem(app, QStringLiteral("dist"), ArtifactKind::buildOutput, CleanConfidence::caution);
    const CleanableItem whole =
        makeItem(old, {}, ArtifactKind::wholeProject, CleanConfidence::reclonable);
    const CleanableItem oldModules = makeItem(old, QStringLiteral("node_modules"));
    const CleanableItem libBuild = makeItem(oldLib, QStringLiteral("build"));
    for (const CleanableItem& item : {modules, dist, oldModules, libBuild})
        test::writeFile(item.url + QStringLiteral("/file"), "x");
    scans.feed({ScanEvent::projectDiscovered(app), ScanEvent::projectDiscovered(old),
                ScanEvent::projectDiscovered(oldLib),
                ScanEvent::gitStatusUpdated(old.id, makeDetails(GitStatus::fullySynced())),
                ScanEvent::itemsClassified(app.id, {modules, dist}),
                ScanEvent::itemsClassified(old.id, {oldModules, whole}),
                ScanEvent::itemsClassified(oldLib.id, {libBuild}),
                ScanEvent::sizeUpdated(modules.id, 2'000'000), ScanEvent::sizeUpdated(dist.id, 5),
                ScanEvent::sizeUpdated(oldModules.id, 300'000),
                ScanEvent::sizeUpdated(whole.id, 1'000'000), ScanEvent::scanCompleted()});
    session.toggleItem(whole.id);

    const TrashPlan plan = session.trashPlan(TrashScope::everything());
    // The old project's own items go with it, and are not counted twice.
    EXPECT_EQ(plan.urls(), (QList<QString>{modules.url, old.url}));
    EXPECT_EQ(plan.totalBytes(), 3'000'000);

    std::optional<TrashResult> result;
    QObject::connect(&session, &ScanSession::trashCompleted, &session,
                     [&result](const TrashResult& done) { result = done; });
    session.trash(plan);
    EXPECT_TRUE(session.isTrashing());
    waitForTrash();

    ASSERT_TRUE(result);
    EXPECT_EQ(result->reclaimedBytes, 3'000'000);
    ASSERT_TRUE(toasts.current());
    EXPECT_EQ(toasts.current()->message, QStringLiteral("Moved 2 items (") +
                                             formatBytes(3'000'000) +
                                             QStringLiteral(") to the Trash"));
    EXPECT_FALSE(QFile::exists(modules.url));
    EXPECT_FALSE(QFile::exists(old.url));
    EXPECT_EQ(names(session.projects()), QStringList{QStringLiteral("app")});
    EXPECT_EQ(session.itemsByProject().value(app.id), QList<CleanableItem>{dist});
    EXPECT_FALSE(session.itemsByProject().contains(old.id));
    EXPECT_FALSE(session.itemsByProject().contains(oldLib.id));
    EXPECT_FALSE(session.gitDetailsByProject().contains(old.id));
    EXPECT_TRUE(session.selectedItemIDs().isEmpty());
    EXPECT_EQ(session.sizeByItem().keys(), QList<QUuid>{dist.id});
    EXPECT_TRUE(session.trashFailures().isEmpty());
}

TEST_F(ScanSessionTest, ATrashWhereEverythingFailsPostsNoToastAndListsTheFailures) {
    startScan();
    const Project app = makeProject(root + QStringLiteral("/app"));
    const CleanableItem vanished = makeItem(app, QStringLiteral("node_modules"));
    const Project elsewhere = makeProject(test::makeTempDir(QStringLiteral("elsewhere")));
    const CleanableItem outside = makeItem(elsewhere, QStringLiteral("target"));
    test::writeFile(outside.url + QStringLiteral("/debug"), "x");
    scans.feed({ScanEvent::projectDiscovered(app), ScanEvent::projectDiscovered(elsewhere),
                ScanEvent::itemsClassified(app.id, {vanished}),
                ScanEvent::itemsClassified(elsewhere.id, {outside}), ScanEvent::scanCompleted()});

    session.trash(session.trashPlan(TrashScope::everything()));
    waitForTrash();

    EXPECT_FALSE(toasts.current());
    const QList<TrashFailure> expected{
        {vanished.url, QStringLiteral("No longer exists")},
        {outside.url, QStringLiteral("Refused: resolves outside the scanned folder")}};
    EXPECT_EQ(session.trashFailures(), expected);
    EXPECT_TRUE(QFile::exists(outside.url + QStringLiteral("/debug")));
    EXPECT_EQ(session.selectedItemIDs(), (QSet<QUuid>{vanished.id, outside.id}));
}

TEST_F(ScanSessionTest, NothingTickedDoesNothingAndASecondRequestWaitsForNoOne) {
    startScan();
    const Project first = makeProject(root + QStringLiteral("/first"));
    const Project second = makeProject(root + QStringLiteral("/second"));
    const CleanableItem firstModules = makeItem(first, QStringLiteral("node_modules"));
    const CleanableItem secondModules = makeItem(second, QStringLiteral("node_modules"));
    test::writeFile(firstModules.url + QStringLiteral("/a.js"));
    test::writeFile(secondModules.url + QStringLiteral("/b.js"));
    scans.feed({ScanEvent::projectDiscovered(first), ScanEvent::projectDiscovered(second),
                ScanEvent::itemsClassified(first.id, {firstModules}),
                ScanEvent::itemsClassified(second.id, {secondModules}),
                ScanEvent::scanCompleted()});
    session.setItemSelected(firstModules.id, false);
    session.setItemSelected(secondModules.id, false);

    QSignalSpy trashing(&session, &ScanSession::isTrashingChanged);
    QSignalSpy completed(&session, &ScanSession::trashCompleted);
    EXPECT_TRUE(session.trashPlan(TrashScope::everything()).isEmpty());
    session.trash(session.trashPlan(TrashScope::everything()));
    EXPECT_EQ(trashing.count(), 0);

    session.toggleItem(firstModules.id);
    session.toggleItem(secondModules.id);
    session.trash(session.trashPlan(TrashScope::forProject(first)));
    session.trash(session.trashPlan(TrashScope::forProject(second)));
    waitForTrash();
    QTest::qWait(200);

    EXPECT_EQ(completed.count(), 1);
    EXPECT_FALSE(QFile::exists(firstModules.url));
    EXPECT_TRUE(QFile::exists(secondModules.url + QStringLiteral("/b.js")));
    EXPECT_EQ(session.selectedItemIDs(), QSet<QUuid>{secondModules.id});
}

TEST_F(ScanSessionTest, ATrashConfirmedDuringTheScanMovesExactlyWhatItShowed) {
    startScan();
    const Project app = makeProject(root + QStringLiteral("/app"));
    const Project old = makeProject(root + QStringLiteral("/old"));
    const Project later = makeProject(root + QStringLiteral("/later"));
    const CleanableItem modules = makeItem(app, QStringLiteral("node_modules"));
    const CleanableItem whole =
        makeItem(old, {}, ArtifactKind::wholeProject, CleanConfidence::reclonable);
    const CleanableItem laterModules = makeItem(later, QStringLiteral("node_modules"));
    for (const QString& folder : {modules.url, old.url + QStringLiteral("/src"), laterModules.url})
        test::writeFile(folder + QStringLiteral("/file"), "x");
    scans.feed({ScanEvent::projectDiscovered(app), ScanEvent::projectDiscovered(old),
                ScanEvent::itemsClassified(app.id, {modules}),
                ScanEvent::itemsClassified(old.id, {whole}),
                ScanEvent::sizeUpdated(modules.id, 40)});
    session.toggleItem(whole.id);

    // The sheet shows this plan; while it is open the scan goes on and ticks another project.
    const TrashPlan shown = session.trashPlan(TrashScope::everything());
    scans.feed({ScanEvent::projectDiscovered(later),
                ScanEvent::itemsClassified(later.id, {laterModules})});
    ASSERT_TRUE(session.selectedItemIDs().contains(laterModules.id));
    session.trash(shown);
    waitForTrash();

    EXPECT_FALSE(QFile::exists(modules.url));
    EXPECT_FALSE(QFile::exists(old.url));
    EXPECT_TRUE(QFile::exists(laterModules.url + QStringLiteral("/file")));
    EXPECT_EQ(session.selectedItemIDs(), QSet<QUuid>{laterModules.id});

    // What the scan still sends about what went to the Trash is not taken back in.
    scans.feed({ScanEvent::gitStatusUpdated(old.id, makeDetails(GitStatus::fullySynced())),
                ScanEvent::sizeUpdated(whole.id, 900), ScanEvent::sizeUpdated(laterModules.id, 7),
                ScanEvent::scanCompleted()});
    EXPECT_FALSE(session.gitDetailsByProject().contains(old.id));
    EXPECT_EQ(session.sizeByItem().keys(), QList<QUuid>{laterModules.id});
    EXPECT_EQ(names(session.projects()),
              (QStringList{QStringLiteral("app"), QStringLiteral("later")}));
}

namespace {

// A Trash that will not take folders of one name, as a locked file would make it refuse.
class RefusingTrash : public PlatformTrash {
public:
    TrashMove moveToTrash(const QString& path) const override {
        if (path.endsWith(QStringLiteral("/locked")))
            return TrashMove::refused(QStringLiteral("The item is in use."));
        return PlatformTrash::moveToTrash(path);
    }
};

} // namespace

TEST(ScanSessionFailures, OneItemTheTrashRefusesStaysTickedAndTheRestStillMoves) {
    const QString root = test::makeTempDir(QStringLiteral("refusals"));
    const RefusingTrash trash;
    ToastCenter toasts;
    test::FakeScans scans;
    ScanSession session(toasts, scans.starter(), nullptr, trash);
    ASSERT_EQ(session.chooseFolderAndScan(root), std::nullopt);
    const Project app = makeProject(root + QStringLiteral("/app"));
    const CleanableItem locked =
        makeItem(app, QStringLiteral("locked"), ArtifactKind::cache, CleanConfidence::safe);
    const CleanableItem modules = makeItem(app, QStringLiteral("node_modules"));
    for (const CleanableItem& item : {locked, modules})
        test::writeFile(item.url + QStringLiteral("/file"), "x");
    scans.feed({ScanEvent::projectDiscovered(app),
                ScanEvent::itemsClassified(app.id, {locked, modules}),
                ScanEvent::sizeUpdated(locked.id, 1'000), ScanEvent::sizeUpdated(modules.id, 20),
                ScanEvent::scanCompleted()});

    session.trash(session.trashPlan(TrashScope::everything()));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !session.isTrashing(); }, patience));

    EXPECT_EQ(session.trashFailures(),
              (QList<TrashFailure>{{locked.url, QStringLiteral("The item is in use.")}}));
    EXPECT_EQ(session.selectedItemIDs(), QSet<QUuid>{locked.id});
    EXPECT_FALSE(QFile::exists(modules.url));
    ASSERT_TRUE(toasts.current());
    EXPECT_EQ(toasts.current()->message, QStringLiteral("Moved 1 item (") + formatBytes(20) +
                                             QStringLiteral(") to the Trash"));
}

TEST_F(ScanSessionTest, ARescanDropsTheOldScanAndWhatItStillSends) {
    startScan();
    scans.feed({ScanEvent::projectDiscovered(makeProject(root + QStringLiteral("/app")))});
    QSignalSpy started(&session, &ScanSession::scanStarted);

    // The unfinished first scan is cancelled, and what it still sends never arrives.
    session.rescan();
    scans.sinks[0]->send(ScanEvent::projectDiscovered(makeProject(root + QStringLiteral("/late"))));
    ASSERT_EQ(scans.roots.size(), 2);
    EXPECT_EQ(scans.roots[1], root);
    EXPECT_EQ(started.count(), 1);
    EXPECT_TRUE(scans.sinks[0]->isCancelled());
    EXPECT_TRUE(session.projects().isEmpty());

    const Project again = makeProject(root + QStringLiteral("/app"));
    scans.feed({ScanEvent::projectDiscovered(again)});
    EXPECT_EQ(session.projects(), QList<Project>{again});
}

TEST(ScanSessionLifetime, AResultArrivingAfterTheSessionIsGoneIsDropped) {
    const QString root = test::makeTempDir(QStringLiteral("short-lived"));
    const Project app = makeProject(root + QStringLiteral("/app"));
    const CleanableItem modules = makeItem(app, QStringLiteral("node_modules"));
    test::writeFile(modules.url + QStringLiteral("/a.js"));
    ToastCenter toasts;
    test::FakeScans scans;
    {
        ScanSession session(toasts, scans.starter());
        ASSERT_EQ(session.chooseFolderAndScan(root), std::nullopt);
        scans.feed({ScanEvent::projectDiscovered(app),
                    ScanEvent::itemsClassified(app.id, {modules}), ScanEvent::scanCompleted()});
        session.trash(session.trashPlan(TrashScope::everything()));
    }
    // The trash job really ran to its end, on the pool it runs on, before the events are looked
    // at: its result must find the session's mailbox closed.
    waitForBackgroundJobs();
    EXPECT_FALSE(QFile::exists(modules.url));
    QCoreApplication::processEvents();
    EXPECT_FALSE(toasts.current());
}

TEST_F(ScanSessionTest, ARescanStartedWhenAScanCompletesBeginsCleanly) {
    startScan();
    const Project first = makeProject(root + QStringLiteral("/first"));
    bool rescanned = false;
    QObject::connect(&session, &ScanSession::isScanningChanged, &session, [this, &rescanned] {
        if (!session.isScanning() && !rescanned) {
            rescanned = true;
            session.rescan();
        }
    });
    scans.feed({ScanEvent::projectDiscovered(first), ScanEvent::scanCompleted()});

    ASSERT_EQ(scans.roots.size(), 2);
    EXPECT_TRUE(session.isScanning());
    EXPECT_TRUE(session.projects().isEmpty());
    const Project second = makeProject(root + QStringLiteral("/second"));
    scans.feed({ScanEvent::projectDiscovered(second), ScanEvent::scanCompleted()});
    EXPECT_EQ(session.projects(), QList<Project>{second});
}
