#include "platform/DirectoryReader.h"

#include "support/TreeFixture.h"

#include <QDir>
#include <QFile>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

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
