#include "platform/TrashStandIn.h"

#include "platform/Locations.h"
#include "platform/Paths.h"
#include "support/TreeFixture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

bool isPresent(const QString& path) {
    return QFileInfo::exists(path) || QFileInfo(path).isSymLink();
}

} // namespace

// The folder tests put in place of the macOS Trash takes items as the Trash does: a link as the
// link, a second item of the same name beside the first, and each move recorded so that a later
// look can tell the entry from another one at its name.
TEST(TrashStandIn, TakesItemsLikeTheTrashAndRecordsWhereEachWent) {
    const QString root = test::makeTempDir(s("stand-in"));
    const QString trash = root + s("/Trash");
    test::writeFile(root + s("/a/dist/app.js"), "a");
    test::writeFile(root + s("/b/dist/app.js"), "b");
    test::writeFile(root + s("/target/keep.txt"), "kept");
    test::makeLink(root + s("/target"), root + s("/c/dist"));

    const TrashMove first = moveIntoStandIn(root + s("/a/dist"), trash);
    const TrashMove second = moveIntoStandIn(root + s("/b/dist"), trash);
    const TrashMove link = moveIntoStandIn(root + s("/c/dist"), trash);

    ASSERT_FALSE(first.failure);
    ASSERT_FALSE(second.failure);
    ASSERT_FALSE(link.failure);
    EXPECT_EQ(first.location.path, trash + s("/dist"));
    EXPECT_EQ(second.location.path, trash + s("/dist 2"));
    EXPECT_EQ(link.location.path, trash + s("/dist 3"));
    EXPECT_TRUE(QFileInfo(link.location.path).isSymLink());
    EXPECT_TRUE(QFile::exists(root + s("/target/keep.txt"))) << "the link's target stays";
    EXPECT_FALSE(isPresent(root + s("/c/dist")));
    EXPECT_TRUE(first.location.infoPath.isEmpty());
    EXPECT_EQ(first.location.entry(root + s("/a/dist")), TrashLocation::Entry::same);

    // Emptied, and another item lands at the same name: it is not the first one.
    ASSERT_TRUE(QDir(first.location.path).removeRecursively());
    test::writeFile(root + s("/d/dist"), "a file this time");
    ASSERT_EQ(moveIntoStandIn(root + s("/d/dist"), trash).location.path, first.location.path);
    EXPECT_EQ(first.location.entry(root + s("/a/dist")), TrashLocation::Entry::another);

    const TrashMove missing = moveIntoStandIn(root + s("/missing"), trash);
    ASSERT_TRUE(missing.failure);
    EXPECT_FALSE(missing.failure->isEmpty());
}

// On macOS every test trashes into the stand-in its temporary home holds, never into the Trash
// of the user running them.
TEST(TrashStandIn, TheTestsTrashOnMacIsTheStandInOfTheirHome) {
    if (!Locations::isMac())
        GTEST_SKIP() << "the freedesktop Trash follows the temporary XDG_DATA_HOME instead";
    const QString standIn = Locations::trashStandIn();
    ASSERT_TRUE(standIn.startsWith(test::fakeHome() + u'/')) << qPrintable(standIn);
    const QString item = test::makeTempDir(s("mac-trash")) + s("/build");
    test::writeFile(item + s("/out.o"), "o");

    const TrashMove move = PlatformTrash::system().moveToTrash(item);

    ASSERT_FALSE(move.failure) << qPrintable(*move.failure);
    EXPECT_EQ(Paths::parentPath(move.location.path), standIn);
    EXPECT_TRUE(QFile::exists(move.location.path + s("/out.o")));
}
