#include "platform/SizeCalculator.h"
#include "platform/SpaceUse.h"
#include "support/TreeFixture.h"

#include <gtest/gtest.h>
#include <unistd.h>

using namespace corvane;
using namespace corvane::test;

namespace {

// A content-addressed store outside the project, as pnpm keeps one, with files of distinct
// sizes so that a wrong file counted shows in the sum.
struct Store {
    QString root = makeTempDir(QStringLiteral("store"));
    QString file(int index) const { return root + QStringLiteral("/files/%1.blob").arg(index); }
    void fill(int count) const {
        for (int index = 0; index < count; ++index)
            writeFileOfSize(file(index), 8192 * (index + 1));
    }
};

// node_modules as pnpm lays it out: every package file a hard link into the store, and the
// top-level names symbolic links into ".pnpm".
QString pnpmModules(const QString& project, const Store& store, int packages) {
    const QString modules = project + QStringLiteral("/node_modules");
    for (int index = 0; index < packages; ++index) {
        const QString package = QStringLiteral("pkg%1").arg(index);
        const QString inner =
            modules + QStringLiteral("/.pnpm/%1@1.0.0/node_modules/%1").arg(package);
        makeHardLink(store.file(index), inner + QStringLiteral("/index.js"));
        makeLink(inner, modules + u'/' + package);
    }
    writeFileOfSize(modules + QStringLiteral("/.modules.yaml"), 300);
    return modules;
}

} // namespace

TEST(FreedSpace, ATreeOfLinksIntoAStoreOutsideFreesNothingButItsOwnFiles) {
    const QString home = makeTempDir(QStringLiteral("home"));
    const Store store{makeFolder(home + QStringLiteral("/.local/share/pnpm/store"))};
    store.fill(5);
    const QString project = makeFolder(home + QStringLiteral("/code/app"));
    const QString modules = pnpmModules(project, store, 5);

    const SpaceUse use = SizeCalculator::measure(modules);
    qint64 linked = 0;
    for (int index = 0; index < 5; ++index)
        linked += allocatedBytes(store.file(index));
    const qint64 own = allocatedBytes(modules + QStringLiteral("/.modules.yaml"));
    EXPECT_EQ(use.sizeBytes, linked + own);
    EXPECT_EQ(use.freesBytes, own) << "only the file pnpm wrote itself goes with the folder";
    ASSERT_TRUE(use.partlyMet);
    EXPECT_EQ(use.partlyMet->size(), 5u);
    EXPECT_EQ(SizeCalculator::size(modules), use.sizeBytes) << "the size is what it always was";

    // With the store inside the measured folder, every link is met: all of it is freed, once.
    const SpaceUse both = SizeCalculator::measure(home);
    EXPECT_EQ(both.sizeBytes, 2 * linked + own);
    EXPECT_EQ(both.freesBytes, linked + own);
    EXPECT_FALSE(both.partlyMet);
}

TEST(FreedSpace, LinksThatAllLieInsideFreeTheFileOnce) {
    const QString root = makeTempDir(QStringLiteral("target"));
    writeFileOfSize(root + QStringLiteral("/debug/deps/libcore.rlib"), 96 * 1024);
    const QString shared = root + QStringLiteral("/debug/deps/libcore.rlib");
    makeHardLink(shared, root + QStringLiteral("/debug/libcore.rlib"));
    makeHardLink(shared, root + QStringLiteral("/debug/build/out/libcore.rlib"));
    writeFileOfSize(root + QStringLiteral("/debug/app"), 40'000);

    const qint64 one = allocatedBytes(shared);
    const qint64 app = allocatedBytes(root + QStringLiteral("/debug/app"));
    const SpaceUse use = SizeCalculator::measure(root);
    EXPECT_EQ(use.sizeBytes, 3 * one + app) << "the size counts each link met";
    EXPECT_EQ(use.freesBytes, one + app) << "the blocks behind three names come back once";
    EXPECT_FALSE(use.partlyMet);

    // A single file given directly is one link of several: removing it frees nothing.
    EXPECT_EQ(SizeCalculator::measure(shared).freesBytes, 0);
    EXPECT_EQ(SizeCalculator::measure(shared).sizeBytes, one);
    EXPECT_EQ(SizeCalculator::measure(root + QStringLiteral("/debug/app")).freesBytes, app);
}

TEST(FreedSpace, AMixedTreeFreesExactlyItsPrivateFiles) {
    Store store;
    store.fill(3);
    const QString env = makeTempDir(QStringLiteral("env"));
    // Private: plain files, and a file linked twice inside.
    writeFileOfSize(env + QStringLiteral("/bin/python"), 50'000);
    writeFileOfSize(env + QStringLiteral("/lib/own.so"), 30'000);
    makeHardLink(env + QStringLiteral("/lib/own.so"), env + QStringLiteral("/lib/own-again.so"));
    // Shared: links to files whose other links are in the package cache.
    makeHardLink(store.file(0), env + QStringLiteral("/lib/site/a.py"));
    makeHardLink(store.file(2), env + QStringLiteral("/lib/site/c.py"));
    makeHardLink(store.file(2), env + QStringLiteral("/lib/site/c-copy.py"));

    const qint64 python = allocatedBytes(env + QStringLiteral("/bin/python"));
    const qint64 own = allocatedBytes(env + QStringLiteral("/lib/own.so"));
    const qint64 a = allocatedBytes(store.file(0));
    const qint64 c = allocatedBytes(store.file(2));
    const SpaceUse use = SizeCalculator::measure(env);
    EXPECT_EQ(use.sizeBytes, python + 2 * own + a + 2 * c);
    EXPECT_EQ(use.freesBytes, python + own);
    ASSERT_TRUE(use.partlyMet);
    ASSERT_EQ(use.partlyMet->size(), 2u);
    // c has three links, two of them met here.
    const auto cEntry = std::find_if(use.partlyMet->cbegin(), use.partlyMet->cend(),
                                     [c](const LinkedFile& file) { return file.bytes == c; });
    ASSERT_NE(cEntry, use.partlyMet->cend());
    EXPECT_EQ(cEntry->links, 3u);
    EXPECT_EQ(cEntry->linksMet, 2u);
}

// Trees removed together give back what their links share among themselves, and nothing that
// still has a link elsewhere.
TEST(FreedSpace, TreesRemovedTogetherFreeTheLinksTheyShare) {
    const QString root = makeTempDir(QStringLiteral("workspace"));
    writeFileOfSize(root + QStringLiteral("/a/dist/bundle.js"), 20'000);
    makeHardLink(root + QStringLiteral("/a/dist/bundle.js"),
                 root + QStringLiteral("/b/dist/bundle.js"));
    writeFileOfSize(root + QStringLiteral("/a/dist/cached.js"), 12'000);
    makeHardLink(root + QStringLiteral("/a/dist/cached.js"),
                 root + QStringLiteral("/b/dist/cached.js"));
    makeHardLink(root + QStringLiteral("/a/dist/cached.js"),
                 root + QStringLiteral("/cache/cached.js"));
    writeFileOfSize(root + QStringLiteral("/b/dist/own.js"), 4000);

    const qint64 bundle = allocatedBytes(root + QStringLiteral("/a/dist/bundle.js"));
    const qint64 cached = allocatedBytes(root + QStringLiteral("/a/dist/cached.js"));
    const qint64 own = allocatedBytes(root + QStringLiteral("/b/dist/own.js"));
    const SpaceUse a = SizeCalculator::measure(root + QStringLiteral("/a/dist"));
    const SpaceUse b = SizeCalculator::measure(root + QStringLiteral("/b/dist"));
    EXPECT_EQ(a.freesBytes, 0) << "removing a alone leaves b's links";
    EXPECT_EQ(b.freesBytes, own);

    const SpaceUse together = freedTogether({a, b});
    EXPECT_EQ(together.sizeBytes, a.sizeBytes + b.sizeBytes);
    EXPECT_EQ(together.freesBytes, own + bundle) << "the cache still holds cached.js";
    ASSERT_TRUE(together.partlyMet);
    ASSERT_EQ(together.partlyMet->size(), 1u);
    EXPECT_EQ(together.partlyMet->front().linksMet, 2u);
    EXPECT_EQ(together.partlyMet->front().bytes, cached);

    // Adding the cache completes the last file; the order of the trees does not matter.
    const SpaceUse cache = SizeCalculator::measure(root + QStringLiteral("/cache"));
    const SpaceUse all = freedTogether({cache, together});
    EXPECT_EQ(all.freesBytes, own + bundle + cached);
    EXPECT_FALSE(all.partlyMet);
    EXPECT_EQ(freedTogether({b, cache, a}), all);
    EXPECT_EQ(SizeCalculator::measure(root).freesBytes, all.freesBytes)
        << "the same as measuring the folder that holds them all";
}

// A folder measured without its parts, and the parts measured alone, add up to the folder.
TEST(FreedSpace, ExcludedPartsAddUpToTheWholeFolder) {
    Store store;
    store.fill(2);
    const QString project = makeTempDir(QStringLiteral("project"));
    writeFileOfSize(project + QStringLiteral("/src/main.ts"), 6000);
    makeHardLink(project + QStringLiteral("/src/main.ts"),
                 project + QStringLiteral("/dist/main.ts"));
    pnpmModules(project, store, 2);
    const QString dist = project + QStringLiteral("/dist");
    const QString modules = project + QStringLiteral("/node_modules");

    const SpaceUse rest = SizeCalculator::measure(project, {}, {dist, modules});
    const SpaceUse parts =
        freedTogether({SizeCalculator::measure(dist), SizeCalculator::measure(modules)});
    const SpaceUse whole = SizeCalculator::measure(project);
    const SpaceUse added = freedTogether({rest, parts});
    EXPECT_EQ(added.sizeBytes, whole.sizeBytes);
    EXPECT_EQ(added.freesBytes, whole.freesBytes);
    EXPECT_EQ(added, whole);
    EXPECT_EQ(SizeCalculator::measure(dist).freesBytes, 0) << "src keeps the other link";
}
