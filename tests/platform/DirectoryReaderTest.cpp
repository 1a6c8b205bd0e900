#include "platform/DirectoryReader.h"

#include "platform/SizeCalculator.h"
#include "support/TreeFixture.h"

#include <QDir>
#include <QFile>
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_set>
#include <vector>

using namespace corvane;
using testing::ElementsAre;
using testing::Pair;

namespace {

using Listing = std::map<std::string, DirectoryReader::Entry>;

Listing list(DirectoryReader& reader) {
    Listing entries;
    DirectoryReader::Entry entry;
    while (reader.next(entry)) {
        const bool fresh = entries.emplace(entry.name, entry).second;
        EXPECT_TRUE(fresh) << "listed twice: " << entry.name;
    }
    EXPECT_FALSE(reader.failed());
    return entries;
}

} // namespace

TEST(DirectoryReader, ListsEveryKindWithoutDotEntries) {
    const QString root = test::makeTempDir();
    test::writeFile(root + QStringLiteral("/file.txt"), QByteArray(10'000, 'a'));
    QDir().mkpath(root + QStringLiteral("/folder/inner"));
    test::makeLink(root + QStringLiteral("/folder"), root + QStringLiteral("/link"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(root + QStringLiteral("/pipe")).constData(), 0644), 0);

    DirectoryReader kinds(root, DirectoryReader::Detail::kinds);
    ASSERT_TRUE(kinds.isOpen());
    Listing entries = list(kinds);
    std::map<std::string, EntryKind> seen;
    for (const auto& [name, entry] : entries)
        seen.emplace(name, entry.kind);
    EXPECT_THAT(seen,
                ElementsAre(Pair("file.txt", EntryKind::regularFile),
                            Pair("folder", EntryKind::directory),
                            Pair("link", EntryKind::symbolicLink), Pair("pipe", EntryKind::other)));
    EXPECT_EQ(entries["file.txt"].allocatedBytes, 0) << "sizes were not asked for";

    DirectoryReader sizes(root, DirectoryReader::Detail::kindsAndSizes);
    entries = list(sizes);
    EXPECT_EQ(entries["file.txt"].allocatedBytes,
              test::allocatedBytes(root + QStringLiteral("/file.txt")));
    EXPECT_GE(entries["file.txt"].allocatedBytes, 10'000);
    EXPECT_EQ(entries["file.txt"].privateBytes, entries["file.txt"].allocatedBytes)
        << "a file of its own frees all it holds";
    EXPECT_EQ(entries["folder"].allocatedBytes, 0);
    EXPECT_FALSE(sizes.next(entries["file.txt"])) << "the end stays the end";
}

TEST(DirectoryReader, ChildrenOpenRelativeToTheParentAndNeverThroughLinks) {
    const QString root = test::makeTempDir();
    test::writeFile(root + QStringLiteral("/real/inside.txt"));
    test::makeLink(root + QStringLiteral("/real"), root + QStringLiteral("/alias"));
    test::writeFile(root + QStringLiteral("/plain.txt"));

    DirectoryReader parent(root, DirectoryReader::Detail::kinds);
    DirectoryReader child(parent, "real");
    ASSERT_TRUE(child.isOpen());
    EXPECT_EQ(list(child).count("inside.txt"), 1u);

    DirectoryReader throughLink(parent, "alias");
    EXPECT_FALSE(throughLink.isOpen());
    EXPECT_TRUE(throughLink.failed());
    DirectoryReader::Entry entry;
    EXPECT_FALSE(throughLink.next(entry));
    EXPECT_FALSE(DirectoryReader(parent, "plain.txt").isOpen());
    EXPECT_FALSE(DirectoryReader(parent, "missing").isOpen());
    EXPECT_FALSE(DirectoryReader(DirectoryReader(parent, "missing"), "deeper").isOpen());

    // Only a root may be a link, and only when the caller says so.
    EXPECT_FALSE(
        DirectoryReader(root + QStringLiteral("/alias"), DirectoryReader::Detail::kinds).isOpen());
    DirectoryReader followed(root + QStringLiteral("/alias"), DirectoryReader::Detail::kinds,
                             DirectoryReader::RootLinks::followed);
    EXPECT_EQ(list(followed).count("inside.txt"), 1u);
}

namespace {

// A walk's report of the folders and entries it could not measure, as "name error" lines.
class SkipRecorder : public FolderVisitor {
public:
    const std::unordered_set<std::string>& notedNames() const override { return none_; }
    void folderEntered(std::string_view, qint64 fileBytes,
                       const std::vector<std::string>&) override {
        bytes += fileBytes;
    }
    void folderLeft() override {}
    void folderSkipped(std::string_view name, int errorCode) override {
        skipped.push_back(std::string(name) + ' ' + std::to_string(errorCode));
    }

    qint64 bytes = 0;
    std::vector<std::string> skipped;

private:
    std::unordered_set<std::string> none_;
};

QByteArray sortedLines(std::vector<std::string> lines) {
    std::sort(lines.begin(), lines.end());
    QByteArray text;
    for (const std::string& line : lines)
        text += QByteArray::fromStdString(line) + '\n';
    return text;
}

} // namespace

// A folder that may be listed but not searched: its entries' names are known, their attributes
// are not. What the listing alone tells is kept; an entry that needed a metadata call comes with
// the system's error and no size, and a walk reports it instead of counting made-up bytes.
TEST(DirectoryReader, EntriesThatCannotBeExaminedComeWithTheirErrorAndCountNothing) {
    const QString root = test::makeTempDir();
    const QString locked = root + QStringLiteral("/locked");
    test::writeFileOfSize(locked + QStringLiteral("/data.bin"), 20'000);
    QDir().mkpath(locked + QStringLiteral("/inner"));
    ASSERT_EQ(::chmod(QFile::encodeName(locked).constData(), 0444), 0);

    const std::optional<QByteArray> seen = test::runUnprivileged(root, [&] {
        std::vector<std::string> lines;
        DirectoryReader reader(locked, DirectoryReader::Detail::kindsAndSizes);
        DirectoryReader::Entry entry;
        while (reader.next(entry)) {
            lines.push_back(
                std::string(entry.name) + ' ' + std::to_string(static_cast<int>(entry.kind)) + ' ' +
                std::to_string(entry.error) + ' ' + std::to_string(entry.allocatedBytes));
        }
        lines.push_back(reader.failed() ? "~failed" : "~end");
        SkipRecorder recorder;
        SizeCalculator::walk(locked, recorder);
        for (const std::string& skipped : recorder.skipped)
            lines.push_back("~skipped " + skipped);
        lines.push_back("~walked " + std::to_string(recorder.bytes) + " measured " +
                        std::to_string(SizeCalculator::measure(locked).sizeBytes));
        return sortedLines(lines);
    });
    ::chmod(QFile::encodeName(locked).constData(), 0755);

    ASSERT_TRUE(seen);
    const int denied = EACCES;
    const QByteArray file = "data.bin " + QByteArray::number(int(EntryKind::other)) + ' ' +
                            QByteArray::number(denied) + " 0\n";
    EXPECT_TRUE(seen->startsWith(file)) << seen->constData();
    EXPECT_TRUE(seen->contains("~end\n")) << seen->constData();
    EXPECT_TRUE(seen->contains("~skipped data.bin " + QByteArray::number(denied) + '\n'))
        << seen->constData();
    EXPECT_TRUE(seen->contains("~skipped inner " + QByteArray::number(denied) + '\n'))
        << seen->constData();
    EXPECT_TRUE(seen->endsWith("~walked 0 measured 0\n")) << seen->constData();
}

TEST(DirectoryReader, LongListingsSpanSeveralReads) {
    const QString root = test::makeTempDir();
    const QByteArray folder = QFile::encodeName(root);
    // About 200 bytes a record: several buffers' worth.
    const QByteArray padding(180, 'p');
    for (int i = 0; i < 1500; ++i) {
        const QByteArray path = folder + '/' + QByteArray::number(i) + padding;
        ::close(::open(path.constData(), O_WRONLY | O_CREAT, 0644));
    }
    DirectoryReader reader(root, DirectoryReader::Detail::kindsAndSizes);
    const Listing entries = list(reader);
    EXPECT_EQ(entries.size(), 1500u);
    EXPECT_EQ(entries.count(std::string("1499") + padding.constData()), 1u);
}

TEST(DirectoryReader, CanonicalPathsAndPackages) {
    const QString root = test::makeTempDir();
    QDir().mkpath(root + QStringLiteral("/real/Tool.app"));
    test::makeLink(root + QStringLiteral("/real"), root + QStringLiteral("/alias"));
    EXPECT_EQ(DirectoryReader::canonicalPath(root + QStringLiteral("/alias/Tool.app")),
              root + QStringLiteral("/real/Tool.app"));
    EXPECT_EQ(DirectoryReader::canonicalPath(root + QStringLiteral("/missing")), std::nullopt);
#ifndef Q_OS_MACOS
    EXPECT_FALSE(DirectoryReader::isPackage(root + QStringLiteral("/real/Tool.app")));
#else
    EXPECT_TRUE(DirectoryReader::isPackage(root + QStringLiteral("/real/Tool.app")));
#endif
    EXPECT_FALSE(DirectoryReader::isPackage(root + QStringLiteral("/real")));
}
