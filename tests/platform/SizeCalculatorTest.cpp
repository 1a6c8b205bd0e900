#include "platform/SizeCalculator.h"

#include "platform/MeasurementPool.h"
#include "support/TreeFixture.h"

#include <QDirIterator>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>
#include <set>
#include <thread>

using namespace corvane;
using namespace corvane::test;

namespace {

// The allocated bytes of every regular file below `root`, counted independently of the code
// under test: one lstat per file that QDirIterator lists, links not followed.
qint64 expectedSize(const QString& root) {
    qint64 total = 0;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo info(path);
        if (info.isFile() && !info.isSymLink())
            total += allocatedBytes(path);
    }
    return total;
}

QString makeMixedTree() {
    const QString root = makeTempDir(QStringLiteral("tree"));
    writeFileOfSize(root + QStringLiteral("/a.bin"), 100'000);
    writeFileOfSize(root + QStringLiteral("/.hidden"), 5000);
    writeFileOfSize(root + QStringLiteral("/pkg/index.js"), 3000);
    writeFileOfSize(root + QStringLiteral("/pkg/lib/deep/more/x.o"), 70'000);
    writeFile(root + QStringLiteral("/pkg/empty.txt"));
    makeFolder(root + QStringLiteral("/empty/inner"));
    return root;
}

} // namespace

TEST(SizeCalculator, SumsAllocatedBytesOfRegularFiles) {
    const QString root = makeMixedTree();
    const qint64 expected = expectedSize(root);
    ASSERT_GT(expected, 170'000);
    EXPECT_EQ(SizeCalculator::size(root), expected);
    EXPECT_EQ(SizeCalculator::size(root + QStringLiteral("/empty")), 0);
    // A file given directly measures itself.
    EXPECT_EQ(SizeCalculator::size(root + QStringLiteral("/a.bin")),
              allocatedBytes(root + QStringLiteral("/a.bin")));
    EXPECT_EQ(SizeCalculator::size(root + QStringLiteral("/missing")), 0);
}

TEST(SizeCalculator, SparseFilesCountTheirAllocatedBlocks) {
    const QString root = makeTempDir();
    const QString path = root + QStringLiteral("/disk.img");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(16384, 'd'));
    ASSERT_TRUE(file.resize(qint64(1) << 32));
    file.close();

    const qint64 allocated = allocatedBytes(path);
    if (allocated >= qint64(1) << 20)
        GTEST_SKIP() << "this file system allocates the holes of sparse files";
    EXPECT_EQ(SizeCalculator::size(root), allocated);
    EXPECT_GE(allocated, 16384);
}

TEST(SizeCalculator, HardLinksCountOncePerLinkAndSymbolicLinksNotAtAll) {
    const QString outside = makeTempDir();
    writeFileOfSize(outside + QStringLiteral("/big.bin"), 1 << 20);
    const QString root = makeTempDir();
    writeFileOfSize(root + QStringLiteral("/store/file.bin"), 64 * 1024);
    makeFolder(root + QStringLiteral("/app"));
    const QByteArray original = QFile::encodeName(root + QStringLiteral("/store/file.bin"));
    ASSERT_EQ(::link(original, QFile::encodeName(root + QStringLiteral("/app/file.bin"))), 0);
    ASSERT_EQ(::link(original, QFile::encodeName(root + QStringLiteral("/store/again.bin"))), 0);
    makeLink(outside, root + QStringLiteral("/linked-folder"));
    makeLink(outside + QStringLiteral("/big.bin"), root + QStringLiteral("/linked-file.bin"));
    makeLink(QStringLiteral("."), root + QStringLiteral("/loop"));

    const qint64 one = allocatedBytes(root + QStringLiteral("/store/file.bin"));
    ASSERT_GE(one, 64 * 1024);
    EXPECT_EQ(SizeCalculator::size(root), 3 * one);
    EXPECT_EQ(SizeCalculator::size(root + QStringLiteral("/linked-folder")), 0)
        << "a link given directly";
    EXPECT_EQ(SizeCalculator::size(root + QStringLiteral("/linked-file.bin")), 0);
}

TEST(SizeCalculator, TreesDeeperThanAnyPathCanSpell) {
    const QString root = makeTempDir();
    // 300 levels of 24-character names: about 7,500 characters, beyond what one path may hold.
    int fd = ::open(QFile::encodeName(root).constData(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(fd, 0);
    const char* name = "level-name-of-24-letters";
    const char* file = "leaf.bin";
    for (int level = 0; level < 300; ++level) {
        ASSERT_EQ(::mkdirat(fd, name, 0755), 0);
        const int next = ::openat(fd, name, O_RDONLY | O_DIRECTORY);
        ::close(fd);
        ASSERT_GE(next, 0);
        fd = next;
    }
    const int leaf = ::openat(fd, file, O_WRONLY | O_CREAT, 0644);
    ASSERT_GE(leaf, 0);
    const QByteArray data(8192, 'z');
    ASSERT_EQ(::write(leaf, data.constData(), data.size()), data.size());
    ::fsync(leaf);
    struct stat info {};
    ::fstat(leaf, &info);
    ::close(leaf);
    ::close(fd);

    EXPECT_EQ(SizeCalculator::size(root), static_cast<qint64>(info.st_blocks) * 512);
    // Removing by full paths fails this deep; rm works relative to each folder.
    EXPECT_EQ(std::system(("rm -rf '" + QFile::encodeName(root) + "'").constData()), 0);
}

TEST(SizeCalculator, CancellationIsNoticedWithinFiveHundredTwelveEntries) {
    const QString root = makeTempDir();
    for (int i = 0; i < 600; ++i)
        writeFile(root + QStringLiteral("/f%1").arg(i));
    CancellationToken token;
    token.cancel();
    EXPECT_THROW(SizeCalculator::size(root, token), CancelledError);
}

TEST(MeasurementPool, ReportsEverySizeOnceWithinTheThreadLimit) {
    QStringList paths;
    for (int i = 0; i < 8; ++i) {
        const QString root = makeTempDir(QStringLiteral("pool"));
        for (int f = 0; f <= i; ++f)
            writeFileOfSize(root + QStringLiteral("/d%1/f.bin").arg(f), 4096 * (f + 1));
        paths.append(root);
    }
    paths.append(makeTempDir() + QStringLiteral("/does-not-exist"));

    std::mutex lock;
    std::map<qsizetype, qint64> reported;
    std::set<std::thread::id> threads;
    SizeCalculator::sizes(paths, 2, {}, [&](qsizetype index, qint64 bytes) {
        std::lock_guard guard(lock);
        EXPECT_TRUE(reported.emplace(index, bytes).second) << "reported twice: " << index;
        threads.insert(std::this_thread::get_id());
    });
    ASSERT_EQ(reported.size(), static_cast<size_t>(paths.size()));
    for (qsizetype i = 0; i < paths.size(); ++i)
        EXPECT_EQ(reported[i], expectedSize(paths[i])) << paths[i].toStdString();
    EXPECT_LE(threads.size(), 2u);
    EXPECT_EQ(reported[paths.size() - 1], 0);
}

TEST(MeasurementPool, MeasuresWhileTheCallerGoesOnQueueing) {
    const QString first = makeMixedTree();
    const QString second = makeMixedTree();
    std::mutex lock;
    std::condition_variable changed;
    QList<qint64> sizes;
    auto record = [&](qint64 bytes) {
        std::lock_guard guard(lock);
        sizes.append(bytes);
        changed.notify_all();
    };

    MeasurementPool pool(CancellationToken{}, 2);
    pool.measure(first, record);
    {
        // The first size arrives before anyone waits for the pool.
        std::unique_lock guard(lock);
        ASSERT_TRUE(
            changed.wait_for(guard, std::chrono::seconds(60), [&] { return !sizes.isEmpty(); }));
    }
    pool.measure(second, record);
    pool.waitForAll();
    EXPECT_EQ(sizes, (QList<qint64>{expectedSize(first), expectedSize(second)}));
    pool.waitForAll();
}

TEST(MeasurementPool, CancelledWorkIsNeverReported) {
    const QString root = makeMixedTree();
    CancellationToken token;
    token.cancel();
    std::atomic<int> reports = 0;
    {
        MeasurementPool pool(token, 2);
        for (int i = 0; i < 20; ++i)
            pool.measure(root, [&](qint64) { ++reports; });
        pool.waitForAll();
    }
    EXPECT_EQ(reports, 0);
    EXPECT_THROW(SizeCalculator::sizes({root}, 2, token, [](qsizetype, qint64) {}), CancelledError);

    // Destroying a pool with work still queued drops it without waiting for it. The first
    // report holds the only worker until the pool is about to go.
    std::atomic<bool> closing = false;
    {
        MeasurementPool pool(CancellationToken{}, 1);
        for (int i = 0; i < 200; ++i) {
            pool.measure(root, [&](qint64) {
                ++reports;
                while (!closing)
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
            });
        }
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (reports == 0 && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        closing = true;
    }
    EXPECT_GE(reports, 1);
    EXPECT_LT(reports, 200);
}
