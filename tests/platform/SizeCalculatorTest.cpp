#include "platform/SizeCalculator.h"

#include "platform/Locations.h"
#include "platform/ProcessRunner.h"
#include "support/TreeFixture.h"

#include <QDirIterator>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utility>

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

// A folder measured on its own is left out of its parent's measurement, however the two paths
// spell its name: macOS lists some names decomposed and hands out others composed. Both forms
// lie on disk here, as two different folders, each excluded through the other spelling.
TEST(SizeCalculator, ExcludedFoldersAreLeftOutWhicheverUnicodeFormNamesThem) {
    const QString composed = QStringLiteral("R\u00e9sum\u00e9s");
    const QString decomposed = composed.normalized(QString::NormalizationForm_D);
    ASSERT_NE(composed, decomposed);
    const std::pair<QString, QString> spellings[] = {{decomposed, composed},
                                                     {composed, decomposed}};
    for (const auto& [onDisk, asked] : spellings) {
        const QString root = makeTempDir(QStringLiteral("caf\u00e9"));
        writeFileOfSize(root + u'/' + onDisk + QStringLiteral("/draft.bin"), 8 * 1024);
        writeFileOfSize(root + u'/' + onDisk + QStringLiteral("/old/archive.bin"), 96 * 1024);
        writeFileOfSize(root + u'/' + onDisk + QStringLiteral("/Caf\u00e9/menu.bin"), 32 * 1024);
        const QString folder = root + u'/' + onDisk;
        const qint64 draft = allocatedBytes(folder + QStringLiteral("/draft.bin"));

        const QString askedRoot = root.normalized(QString::NormalizationForm_D);
        EXPECT_EQ(SizeCalculator::size(root, {},
                                       {askedRoot + u'/' + asked + QStringLiteral("/old"),
                                        root + u'/' + asked + QStringLiteral("/Cafe\u0301")}),
                  draft)
            << qPrintable(asked);
        EXPECT_EQ(SizeCalculator::size(root, {}, {root + u'/' + asked}), 0) << qPrintable(asked);
        EXPECT_EQ(SizeCalculator::size(root, {}, {root + QStringLiteral("/R\u00e9sum")}),
                  expectedSize(root))
            << "a name that only begins the same";
    }
}

// A clone shares its blocks with the original until either changes: removing one of them frees
// nothing of what they share, though each still weighs its full size.
TEST(SizeCalculator, RemovingAnAPFSCloneFreesOnlyWhatItHoldsAlone) {
    if (!Locations::isMac())
        GTEST_SKIP() << "only APFS reports the blocks a file shares with its clones";
    const QString root = makeTempDir(QStringLiteral("clones"));
    writeFileOfSize(root + QStringLiteral("/original.bin"), 4 << 20);
    const ProcessResult copied = ProcessRunner::system().run(
        QStringLiteral("/bin/cp"),
        {QStringLiteral("-c"), QStringLiteral("--"), root + QStringLiteral("/original.bin"),
         root + QStringLiteral("/clone.bin")});
    ASSERT_EQ(copied.exitCode, 0) << copied.standardError.constData();

    const SpaceUse clone = SizeCalculator::measure(root + QStringLiteral("/clone.bin"));
    EXPECT_GE(clone.sizeBytes, 4 << 20);
    EXPECT_LT(clone.freesBytes, 1 << 20);
    const SpaceUse both = SizeCalculator::measure(root);
    EXPECT_EQ(both.sizeBytes, 2 * clone.sizeBytes);
    EXPECT_LT(both.freesBytes, 2 << 20);
}

TEST(SizeCalculator, CancellationIsNoticedWithinFiveHundredTwelveEntries) {
    const QString root = makeTempDir();
    for (int i = 0; i < 600; ++i)
        writeFile(root + QStringLiteral("/f%1").arg(i));
    CancellationToken token;
    token.cancel();
    EXPECT_THROW(SizeCalculator::size(root, token), CancelledError);
}
