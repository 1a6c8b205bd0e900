#include "scanning/ScanEngine.h"

#include "ScanEvents.h"
#include "platform/SizeCalculator.h"
#include "scanning/RestoreHints.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

using Kind = ScanEvent::Kind;
using test::Cancel;
using test::itemNamed;
using test::itemsOf;
using test::ofKind;
using test::scanToEnd;

qint64 sizeOf(const QList<ScanEvent>& events, const QUuid& itemID) {
    for (const ScanEvent& event : events) {
        if (event.kind == Kind::sizeUpdated && event.itemID == itemID)
            return event.bytes;
    }
    return -1;
}

// A git that notes every call before running the real one.
QString countingGit(const QString& log) {
    const QString path = test::makeTempDir(QStringLiteral("bin")) + QStringLiteral("/git");
    test::writeScript(path, "echo \"$*\" >> '" + log.toUtf8() + "'\nexec /usr/bin/git \"$@\"\n");
    return path;
}

int countLines(const QString& log, const QByteArray& needle) {
    QFile file(log);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return static_cast<int>(file.readAll().count(needle));
}

} // namespace

TEST(ScanEngine, AFolderWithoutProjectsGivesProgressAndTheEnd) {
    const QString root = test::makeTempDir();
    for (int index = 0; index < 40; ++index)
        QDir().mkpath(root + QStringLiteral("/plain/f%1").arg(index));
    const QList<ScanEvent> events = scanToEnd(root);
    ASSERT_FALSE(events.isEmpty());
    EXPECT_EQ(events.last().kind, Kind::scanCompleted);
    EXPECT_EQ(ofKind(events, Kind::scanCompleted).size(), 1);
    EXPECT_EQ(ofKind(events, Kind::progress).size(), 2);
    EXPECT_EQ(ofKind(events, Kind::progress).size() + 1, events.size());
}

TEST(ScanEngine, ProjectsOfOneRepositoryShareOneInspectionAndKeepTheirEventOrder) {
    const QString log = test::makeTempDir() + QStringLiteral("/git.log");
    test::ScopedEnvironment git("CORVANE_TOOL_GIT", countingGit(log));
    const QString repo = test::makeRepo();
    test::commitFiles(repo, {{QStringLiteral("package.json"), "{}"},
                             {QStringLiteral(".gitignore"), "node_modules/\n"},
                             {QStringLiteral("packages/app/package.json"), "{}"}});
    test::writeFile(repo + QStringLiteral("/node_modules/left-pad/index.js"),
                    QByteArray(5000, 'x'));
    test::writeFile(repo + QStringLiteral("/packages/app/node_modules/a/index.js"),
                    QByteArray(9000, 'y'));

    const QList<ScanEvent> events = scanToEnd(repo);
    EXPECT_EQ(countLines(log, "status --porcelain=v2"), 1);
    const QList<ScanEvent> statuses = ofKind(events, Kind::gitStatusUpdated);
    ASSERT_EQ(statuses.size(), 2);
    EXPECT_EQ(statuses[0].details, statuses[1].details);
    EXPECT_EQ(statuses[0].details.status, GitStatus::noRemote());

    // For each project: its git state, then its items, then their sizes.
    for (const ScanEvent& discovered : ofKind(events, Kind::projectDiscovered)) {
        qsizetype statusAt = -1, itemsAt = -1;
        QSet<QUuid> itemIDs;
        for (qsizetype index = 0; index < events.size(); ++index) {
            const ScanEvent& event = events[index];
            if (event.kind == Kind::gitStatusUpdated && event.projectID == discovered.project.id)
                statusAt = index;
            if (event.kind == Kind::itemsClassified && event.projectID == discovered.project.id) {
                itemsAt = index;
                for (const CleanableItem& item : event.items)
                    itemIDs.insert(item.id);
            }
            if (event.kind == Kind::sizeUpdated && itemIDs.contains(event.itemID)) {
                EXPECT_GT(index, itemsAt);
            }
        }
        EXPECT_GE(statusAt, 0);
        EXPECT_GT(itemsAt, statusAt);
        EXPECT_EQ(itemIDs.size(), 1) << discovered.project.name.toStdString();
    }
    const CleanableItem* modules =
        itemNamed(itemsOf(events, QStringLiteral("app")), QStringLiteral("node_modules"));
    ASSERT_TRUE(modules);
    EXPECT_EQ(sizeOf(events, modules->id), SizeCalculator::size(modules->url));
    EXPECT_GT(sizeOf(events, modules->id), 0);
}

TEST(ScanEngine, AProjectOutsideGitIsItsOwnGroupAndGenericNamesStayCautious) {
    const QString log = test::makeTempDir() + QStringLiteral("/git.log");
    test::ScopedEnvironment git("CORVANE_TOOL_GIT", countingGit(log));
    const QString root = test::makeTempDir();
    test::writeFile(root + QStringLiteral("/one/package.json"), "{}");
    test::writeFile(root + QStringLiteral("/one/build/out.js"), "x");
    test::writeFile(root + QStringLiteral("/two/Cargo.toml"), "");
    test::writeFile(root + QStringLiteral("/two/target/debug/app"), "x");
    test::writeFile(root + QStringLiteral("/three/package.json"), "{}");
    test::writeFile(root + QStringLiteral("/three/node_modules/a/index.js"), "x");

    const QList<ScanEvent> events = scanToEnd(root);
    EXPECT_EQ(countLines(log, "status"), 0);
    for (const ScanEvent& status : ofKind(events, Kind::gitStatusUpdated))
        EXPECT_EQ(status.details.status, GitStatus::notARepo());
    const CleanableItem* build =
        itemNamed(itemsOf(events, QStringLiteral("one")), QStringLiteral("build"));
    ASSERT_TRUE(build);
    EXPECT_EQ(build->confidence, CleanConfidence::caution);
    const CleanableItem* target =
        itemNamed(itemsOf(events, QStringLiteral("two")), QStringLiteral("target"));
    ASSERT_TRUE(target);
    EXPECT_EQ(target->confidence, CleanConfidence::safe);
    // Every item says what brings it back.
    EXPECT_EQ(build->restoreHint.text, QStringLiteral("npm run build"));
    EXPECT_EQ(target->restoreHint.text, QStringLiteral("cargo build"));
    const CleanableItem* modules =
        itemNamed(itemsOf(events, QStringLiteral("three")), QStringLiteral("node_modules"));
    ASSERT_TRUE(modules);
    EXPECT_EQ(modules->restoreHint, (RestoreHint{RestoreHints::noLockFile, true}));
}

TEST(ScanEngine, OnlyASyncedRepositoryWithNothingLocalIsOfferedWhole) {
    const test::SyncedRepo synced = test::makeSyncedRepo();
    test::writeFile(synced.repo + QStringLiteral("/.gitignore"), "node_modules/\n");
    test::commitAll(synced.repo);
    test::git(synced.repo, {QStringLiteral("push")});
    test::writeFile(synced.repo + QStringLiteral("/package.json"), "{}");
    test::commitAll(synced.repo);
    test::git(synced.repo, {QStringLiteral("push")});
    test::writeFile(synced.repo + QStringLiteral("/node_modules/x/big.bin"),
                    QByteArray(70'000, 'z'));

    const QString name = QDir(synced.repo).dirName();
    QList<ScanEvent> events = scanToEnd(synced.repo);
    const CleanableItem* whole = itemNamed(itemsOf(events, name), name);
    ASSERT_TRUE(whole);
    EXPECT_EQ(whole->kind, ArtifactKind::wholeProject);
    EXPECT_EQ(whole->confidence, CleanConfidence::reclonable);
    // The whole project counts its artifact folders once, as a plain measurement would.
    EXPECT_EQ(sizeOf(events, whole->id), SizeCalculator::size(synced.repo));

    test::git(synced.repo, {QStringLiteral("branch"), QStringLiteral("experiment")});
    events = scanToEnd(synced.repo);
    EXPECT_FALSE(itemNamed(itemsOf(events, name), name)) << "a branch without upstream";
    test::git(synced.repo,
              {QStringLiteral("branch"), QStringLiteral("-D"), QStringLiteral("experiment")});

    test::writeFile(synced.repo + QStringLiteral("/package.json"), "{\"name\":\"wip\"}");
    test::git(synced.repo, {QStringLiteral("stash")});
    events = scanToEnd(synced.repo);
    EXPECT_FALSE(itemNamed(itemsOf(events, name), name)) << "a stash entry";
    EXPECT_TRUE(itemNamed(itemsOf(events, name), QStringLiteral("node_modules")));
}

TEST(ScanEngine, IgnoredFoldersNoCatalogNameCoversAreOfferedUnverified) {
    const QString repo = test::makeRepo();
    test::commitFiles(repo, {{QStringLiteral("package.json"), "{}"},
                             {QStringLiteral(".gitignore"), "generated/\nassets/\nPods/\n"},
                             {QStringLiteral("ios/Podfile"), ""}});
    test::writeFile(repo + QStringLiteral("/generated/data.bin"), "x");
    test::writeFile(repo + QStringLiteral("/assets/blob"), "x");
    test::writeFile(repo + QStringLiteral("/assets/build/out"), "x");
    // A catalog name whose sibling condition fails is no catalog folder: git has the last word.
    test::writeFile(repo + QStringLiteral("/Pods/Lib/lib.swift"), "x");
    test::writeFile(repo + QStringLiteral("/ios/Pods/Lib/lib.swift"), "x");

    const QList<ScanEvent> events = scanToEnd(repo);
    const ScanEvent* items = itemsOf(events, QDir(repo).dirName());
    const CleanableItem* generated = itemNamed(items, QStringLiteral("generated"));
    ASSERT_TRUE(generated);
    EXPECT_EQ(generated->kind, ArtifactKind::unknown);
    EXPECT_EQ(generated->confidence, CleanConfidence::ignoredButUnknown);
    // A folder that holds a catalog folder is not offered around it, so nothing is offered twice.
    const CleanableItem* build = itemNamed(items, QStringLiteral("build"));
    ASSERT_TRUE(build);
    EXPECT_EQ(build->confidence, CleanConfidence::safe);
    EXPECT_FALSE(itemNamed(items, QStringLiteral("assets")));

    const CleanableItem* loosePods = test::itemAt(events, repo + QStringLiteral("/Pods"));
    ASSERT_TRUE(loosePods);
    EXPECT_EQ(loosePods->kind, ArtifactKind::unknown);
    EXPECT_EQ(loosePods->confidence, CleanConfidence::ignoredButUnknown);
    const CleanableItem* pods = test::itemAt(events, repo + QStringLiteral("/ios/Pods"));
    ASSERT_TRUE(pods);
    EXPECT_EQ(pods->kind, ArtifactKind::dependencies);
    EXPECT_EQ(pods->confidence, CleanConfidence::safe);
}

TEST(ScanEngine, ACancelledScanStillEndsWithScanCompletedAndNothingFollowsIt) {
    const QString root = test::makeTempDir();
    for (int index = 0; index < 200; ++index)
        test::writeFile(root + QStringLiteral("/p%1/package.json").arg(index), "{}");
    for (int index = 0; index < 6; ++index)
        test::commitFiles(test::makeRepo(root + QStringLiteral("/r%1").arg(index)),
                          {{QStringLiteral("package.json"), "{}"}});
    for (const Cancel cancel : {Cancel::atOnce, Cancel::afterFirstProject}) {
        const QList<ScanEvent> events = scanToEnd(root, {}, cancel);
        ASSERT_FALSE(events.isEmpty());
        EXPECT_EQ(events.last().kind, Kind::scanCompleted);
        EXPECT_EQ(ofKind(events, Kind::scanCompleted).size(), 1);
    }
}
