// What a scan promises to free, measured over real folders with real hard links.

#include "platform/ByteFormat.h"
#include "platform/SizeCalculator.h"
#include "scanning/ScanEngine.h"
#include "scanning/ScanSession.h"
#include "support/GitFixture.h"
#include "support/TreeFixture.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace corvane;
using namespace corvane::test;

namespace {

bool scanned(ScanSession& session, const QString& root) {
    if (session.chooseFolderAndScan(root))
        return false;
    QElapsedTimer clock;
    clock.start();
    while (session.isScanning() && clock.elapsed() < 60'000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return !session.isScanning();
}

CleanableItem itemAt(const ScanSession& session, const QString& url) {
    for (const QList<CleanableItem>& items : session.itemsByProject()) {
        for (const CleanableItem& item : items) {
            if (item.url == url)
                return item;
        }
    }
    ADD_FAILURE() << "no item at " << url.toStdString();
    return CleanableItem({}, url, {}, ArtifactKind::unknown, CleanConfidence::caution);
}

// Three projects: "web" with a pnpm node_modules linked into a store outside the scan, "engine"
// whose Cargo target links its own files, and "mono" whose two artifact folders share a file.
struct Workspace {
    QString root = makeTempDir(QStringLiteral("code"));
    QString store = makeTempDir(QStringLiteral("pnpm-store"));
    qint64 storeBytes = 0;
    qint64 webOwn = 0;
    qint64 rlib = 0;
    qint64 engineOwn = 0;
    qint64 shared = 0;
    qint64 modulesOwn = 0;
    qint64 turboOwn = 0;

    QString path(const char* relative) const { return root + u'/' + QString::fromUtf8(relative); }

    Workspace() {
        writeFile(path("web/package.json"), "{}");
        // Lock files, so that the packages are ticked by default.
        writeFile(path("web/pnpm-lock.yaml"), "lockfileVersion: '9.0'\n");
        for (int index = 0; index < 4; ++index) {
            const QString blob = store + QStringLiteral("/files/%1").arg(index);
            writeFileOfSize(blob, 16'384 * (index + 1));
            storeBytes += allocatedBytes(blob);
            makeHardLink(blob, path("web/node_modules/.pnpm/p@1/node_modules/p/") +
                                   QStringLiteral("f%1.js").arg(index));
        }
        writeFileOfSize(path("web/node_modules/.modules.yaml"), 900);
        webOwn = allocatedBytes(path("web/node_modules/.modules.yaml"));

        writeFile(path("engine/Cargo.toml"), "[package]\n");
        writeFileOfSize(path("engine/target/debug/deps/libx.rlib"), 64'000);
        makeHardLink(path("engine/target/debug/deps/libx.rlib"),
                     path("engine/target/debug/libx.rlib"));
        writeFileOfSize(path("engine/target/debug/engine"), 20'000);
        rlib = allocatedBytes(path("engine/target/debug/libx.rlib"));
        engineOwn = allocatedBytes(path("engine/target/debug/engine"));

        writeFile(path("mono/package.json"), "{}");
        writeFile(path("mono/package-lock.json"), "{}");
        writeFileOfSize(path("mono/node_modules/dep/index.js"), 40'000);
        makeHardLink(path("mono/node_modules/dep/index.js"), path("mono/.turbo/cache/index.js"));
        writeFileOfSize(path("mono/node_modules/dep/own.js"), 5000);
        writeFileOfSize(path("mono/.turbo/log.txt"), 3000);
        shared = allocatedBytes(path("mono/node_modules/dep/index.js"));
        modulesOwn = allocatedBytes(path("mono/node_modules/dep/own.js"));
        turboOwn = allocatedBytes(path("mono/.turbo/log.txt"));
    }
};

} // namespace

TEST(FreedSpaceScan, EachItemAndProjectPromisesOnlyWhatTrashingFrees) {
    const Workspace ws;
    ToastCenter toasts;
    ScanSession session(toasts, ScanEngine::scan);
    ASSERT_TRUE(scanned(session, ws.root));

    const CleanableItem web = itemAt(session, ws.path("web/node_modules"));
    const SpaceUse webSpace = session.spaceByItem().value(web.id);
    EXPECT_EQ(webSpace.sizeBytes, ws.storeBytes + ws.webOwn);
    EXPECT_EQ(session.sizeByItem().value(web.id), webSpace.sizeBytes);
    EXPECT_EQ(webSpace.freesBytes, ws.webOwn) << "the store keeps every package file";
    EXPECT_EQ(session.sharedWith(web.id), SharedWith::pnpmStore);

    const CleanableItem target = itemAt(session, ws.path("engine/target"));
    EXPECT_EQ(session.spaceByItem().value(target.id).sizeBytes, 2 * ws.rlib + ws.engineOwn);
    EXPECT_EQ(session.spaceByItem().value(target.id).freesBytes, ws.rlib + ws.engineOwn);

    const CleanableItem modules = itemAt(session, ws.path("mono/node_modules"));
    const CleanableItem turbo = itemAt(session, ws.path("mono/.turbo"));
    EXPECT_EQ(session.spaceByItem().value(modules.id).freesBytes, ws.modulesOwn);
    EXPECT_EQ(session.spaceByItem().value(turbo.id).freesBytes, ws.turboOwn);
    EXPECT_EQ(session.sharedWith(modules.id), SharedWith::otherFolders);
    // Trashing both frees the file they share; the project counts it, neither item does.
    EXPECT_EQ(session.reclaimableBytes(modules.projectID), ws.modulesOwn + ws.turboOwn + ws.shared);
    EXPECT_EQ(session.reclaimableSizeBytes(modules.projectID),
              2 * ws.shared + ws.modulesOwn + ws.turboOwn);
    EXPECT_EQ(session.freedBytes({modules.id}), ws.modulesOwn);
    EXPECT_EQ(session.freedBytes({modules.id, turbo.id}),
              session.reclaimableBytes(modules.projectID));

    const qint64 everything =
        ws.webOwn + ws.rlib + ws.engineOwn + ws.modulesOwn + ws.turboOwn + ws.shared;
    EXPECT_EQ(session.reclaimableBytes(), everything);
    EXPECT_EQ(session.reclaimableBytesByKind().value(ArtifactKind::dependencies),
              ws.webOwn + ws.modulesOwn);
    EXPECT_EQ(session.selectedBytes(), everything) << "every safe item starts ticked";
    session.setItemSelected(turbo.id, false);
    EXPECT_EQ(session.selectedBytes(), everything - ws.turboOwn - ws.shared);
    EXPECT_GT(session.measuredBytes(), everything) << "what the items seem to weigh";
}

TEST(FreedSpaceScan, TheTrashReportsWhatWasFreed) {
    const Workspace ws;
    ToastCenter toasts;
    ScanSession session(toasts, ScanEngine::scan);
    ASSERT_TRUE(scanned(session, ws.root));
    const std::optional<Project> web = session.projectAt(ws.path("web"));
    ASSERT_TRUE(web);

    const TrashPlan plan = session.trashPlan(TrashScope::forProject(*web));
    EXPECT_EQ(plan.totalBytes(), ws.webOwn);
    std::optional<TrashResult> result;
    QObject::connect(&session, &ScanSession::trashCompleted, &session,
                     [&result](const TrashResult& done) { result = done; });
    session.trash(plan);
    QElapsedTimer clock;
    clock.start();
    while (!result && clock.elapsed() < 30'000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->outcome.trashed, QList<QString>{ws.path("web/node_modules")});
    EXPECT_EQ(result->reclaimedBytes, ws.webOwn);
    ASSERT_TRUE(toasts.current());
    EXPECT_EQ(toasts.current()->message, QStringLiteral("Moved 1 item (") + formatBytes(ws.webOwn) +
                                             QStringLiteral(") to the Trash"));
    EXPECT_TRUE(QFileInfo::exists(ws.store + QStringLiteral("/files/0")))
        << "the store is untouched";
}

// The whole project is measured as its folder without the items, plus the items: a file linked
// between an item and the rest of the project is freed with the whole, not with the item.
TEST(FreedSpaceScan, AWholeProjectFreesWhatItsItemsShareWithTheRestOfIt) {
    const SyncedRepo synced = makeSyncedRepo();
    commitFiles(synced.repo, {{QStringLiteral("package.json"), "{}"},
                              {QStringLiteral(".gitignore"), "node_modules/\n"},
                              {QStringLiteral("lib/index.js"), QByteArray(30'000, 's')}});
    pushWithUpstream(synced.repo);
    makeHardLink(synced.repo + QStringLiteral("/lib/index.js"),
                 synced.repo + QStringLiteral("/node_modules/lib/index.js"));
    writeFileOfSize(synced.repo + QStringLiteral("/node_modules/dep/own.js"), 7000);

    ToastCenter toasts;
    ScanSession session(toasts, ScanEngine::scan);
    ASSERT_TRUE(scanned(session, synced.repo));
    const CleanableItem modules = itemAt(session, synced.repo + QStringLiteral("/node_modules"));
    const CleanableItem whole = itemAt(session, synced.repo);
    ASSERT_EQ(whole.kind, ArtifactKind::wholeProject);

    const SpaceUse expected = SizeCalculator::measure(synced.repo);
    EXPECT_EQ(session.spaceByItem().value(whole.id).sizeBytes, expected.sizeBytes);
    EXPECT_EQ(session.spaceByItem().value(whole.id).freesBytes, expected.freesBytes);
    EXPECT_EQ(session.spaceByItem().value(modules.id).freesBytes,
              allocatedBytes(synced.repo + QStringLiteral("/node_modules/dep/own.js")));
    // Ticking the whole and its part does not meet the part's links twice.
    session.setItemSelected(whole.id, true);
    EXPECT_EQ(session.selectedBytes(), expected.freesBytes);
}
