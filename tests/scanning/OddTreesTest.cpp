// Trees that users really have and that break naive walkers: unreadable and vanishing folders,
// names that are not UTF-8, huge flat folders, special files, roots that are not folders. The
// walk and the measurement finish with what they could read.

#include "platform/SizeCalculator.h"
#include "scanning/DirectoryWalker.h"
#include "support/TreeFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;
using testing::ElementsAre;

namespace {

QStringList projectNames(const DirectoryWalker::WalkResult& result) {
    QStringList names;
    for (const Project& project : result.projects)
        names.append(project.name);
    names.sort();
    return names;
}

DirectoryWalker::WalkResult walk(const QString& root, DirectoryWalker::EventHandler onEvent = {}) {
    return DirectoryWalker(root, {}, std::move(onEvent)).walk();
}

// Creates a folder or a small file at a path given as raw bytes, which need not be UTF-8.
void makeRaw(const QByteArray& path, bool isFolder) {
    if (isFolder) {
        ASSERT_EQ(::mkdir(path.constData(), 0755), 0);
        return;
    }
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT, 0644);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::write(fd, "content", 7), 7);
    ::close(fd);
}

qint64 rawAllocated(const QByteArray& path) {
    struct stat info {};
    return ::lstat(path.constData(), &info) == 0 ? static_cast<qint64>(info.st_blocks) * 512 : -1;
}

} // namespace

TEST(OddTrees, UnreadableFoldersContributeNothing) {
    const QString root = makeTempDir();
    writeFile(root + QStringLiteral("/open/package.json"));
    writeFile(root + QStringLiteral("/locked/hidden/package.json"));
    writeFile(root + QStringLiteral("/web/package.json"));
    writeFileOfSize(root + QStringLiteral("/web/node_modules/readable.js"), 10'000);
    writeFileOfSize(root + QStringLiteral("/web/node_modules/sealed/secret.js"), 50'000);
    ::chmod(QFile::encodeName(root + QStringLiteral("/locked")).constData(), 0);
    ::chmod(QFile::encodeName(root + QStringLiteral("/web/node_modules/sealed")).constData(), 0);

    const std::optional<QByteArray> seen = runUnprivileged(root, [&] {
        const DirectoryWalker::WalkResult result = walk(root);
        const qint64 bytes = SizeCalculator::size(root + QStringLiteral("/web/node_modules"));
        return (projectNames(result).join(u',') + u'|' + QString::number(bytes)).toUtf8();
    });
    ::chmod(QFile::encodeName(root + QStringLiteral("/locked")).constData(), 0755);
    ::chmod(QFile::encodeName(root + QStringLiteral("/web/node_modules/sealed")).constData(), 0755);

    ASSERT_TRUE(seen) << "the unprivileged walk did not finish";
    const qint64 readable = allocatedBytes(root + QStringLiteral("/web/node_modules/readable.js"));
    EXPECT_EQ(QString::fromUtf8(*seen), QStringLiteral("open,web|") + QString::number(readable));
}

TEST(OddTrees, FoldersVanishingDuringTheWalk) {
    const QString root = makeTempDir();
    const QStringList names{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"),
                            QStringLiteral("d")};
    for (const QString& name : names)
        writeFile(root + u'/' + name + QStringLiteral("/inner/Cargo.toml"));
    // The first project found takes all its siblings away before the walk reaches them.
    bool removed = false;
    const DirectoryWalker::WalkResult result = walk(root, [&](const ScanEvent& event) {
        if (event.kind != ScanEvent::Kind::projectDiscovered || removed)
            return;
        removed = true;
        const QString survivor = QFileInfo(event.project.url).dir().dirName();
        for (const QString& name : names) {
            if (name != survivor)
                QDir(root + u'/' + name).removeRecursively();
        }
    });
    ASSERT_EQ(result.projects.size(), 1);
    EXPECT_EQ(SizeCalculator::size(root + QStringLiteral("/gone")), 0);
}

TEST(OddTrees, NamesThatAreNotUtf8) {
    const QString root = makeTempDir();
    const QByteArray raw = QFile::encodeName(root);
    writeFile(root + QStringLiteral("/app/package.json"));
    makeFolder(root + QStringLiteral("/app/node_modules"));
    makeRaw(raw + "/app/node_modules/caf\xe9", true);
    makeRaw(raw + "/app/node_modules/caf\xe9/index.js", false);
    makeRaw(raw + "/app/node_modules/lib\xff.js", false);
    // A project below a folder whose name cannot be spelled as text is not reported.
    makeRaw(raw + "/caf\xe9-projects", true);
    makeRaw(raw + "/caf\xe9-projects/package.json", false);
    writeFile(root + QStringLiteral("/résumé/go.mod"));

    const DirectoryWalker::WalkResult result = walk(root);
    EXPECT_THAT(projectNames(result), ElementsAre(u"app", u"résumé"));
    const QString app = root + QStringLiteral("/app");
    QStringList candidates;
    for (const Project& project : result.projects) {
        if (project.url == app)
            candidates = result.candidatesByProject.value(project.id).values();
    }
    EXPECT_THAT(candidates, ElementsAre(app + QStringLiteral("/node_modules")));

    // Measuring works on the raw names: both odd entries count.
    const qint64 odd = rawAllocated(raw + "/app/node_modules/caf\xe9/index.js") +
                       rawAllocated(raw + "/app/node_modules/lib\xff.js");
    ASSERT_GT(odd, 0);
    EXPECT_EQ(SizeCalculator::size(app + QStringLiteral("/node_modules")), odd);
}

TEST(OddTrees, AFolderOfOneHundredThousandEntries) {
    const QString root = makeTempDir();
    const QString big = root + QStringLiteral("/big");
    writeFile(big + QStringLiteral("/package.json"));
    makeFolder(big + QStringLiteral("/node_modules"));
    const QByteArray folder = QFile::encodeName(big);
    for (int i = 0; i < 100'000; ++i) {
        const QByteArray path = folder + "/entry-" + QByteArray::number(i) + ".json";
        const int fd = ::open(path.constData(), O_WRONLY | O_CREAT, 0644);
        ASSERT_GE(fd, 0);
        if (i % 1000 == 0) {
            ASSERT_EQ(::write(fd, "{}", 2), 2);
        }
        ::close(fd);
    }
    const qint64 oneSmallFile = allocatedBytes(big + QStringLiteral("/entry-0.json"));

    const DirectoryWalker::WalkResult result = walk(root);
    ASSERT_EQ(result.projects.size(), 1);
    EXPECT_EQ(result.candidatesByProject.value(result.projects[0].id),
              QSet<QString>{big + QStringLiteral("/node_modules")});
    EXPECT_EQ(SizeCalculator::size(big), 100 * oneSmallFile);
}

TEST(OddTrees, RootsThatAreNotFolders) {
    const QString base = makeTempDir();
    writeFile(base + QStringLiteral("/file.txt"), "not a folder");
    ASSERT_EQ(::mkfifo(QFile::encodeName(base + QStringLiteral("/pipe")).constData(), 0644), 0);
    writeFile(base + QStringLiteral("/project/package.json"));
    ASSERT_EQ(
        ::mkfifo(QFile::encodeName(base + QStringLiteral("/project/ipc.fifo")).constData(), 0644),
        0);

    for (const QString& root : {base + QStringLiteral("/file.txt"), base + QStringLiteral("/pipe"),
                                base + QStringLiteral("/missing")}) {
        QList<ScanEvent> events;
        DirectoryWalker walker(root, {}, [&](const ScanEvent& event) { events.append(event); });
        const DirectoryWalker::WalkResult result = walker.walk();
        EXPECT_TRUE(result.projects.isEmpty()) << root.toStdString();
        ASSERT_EQ(events.size(), 1) << "one progress for the one folder visited";
        EXPECT_EQ(events[0].currentPath, root);
    }
    EXPECT_EQ(SizeCalculator::size(base + QStringLiteral("/pipe")), 0);
    EXPECT_THAT(projectNames(walk(base)), ElementsAre(u"project"));
    EXPECT_EQ(SizeCalculator::size(base + QStringLiteral("/project")),
              allocatedBytes(base + QStringLiteral("/project/package.json")));
}
