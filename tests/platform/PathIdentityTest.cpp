#include "platform/PathIdentity.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::makeTempDir;

namespace {

QString s(const char* text) {
    return QString::fromUtf8(text);
}

} // namespace

// A folder kept, guarded or allowed through one spelling must be recognised through any other:
// its real path, a link to it, a link to a folder above it, or ".." after a link.
TEST(PathIdentity, AFolderIsRecognisedThroughEveryLinkThatLeadsToIt) {
    const QString root = makeTempDir(s("identity"));
    QDir().mkpath(root + s("/real/project/node_modules"));
    QDir().mkpath(root + s("/elsewhere"));
    ASSERT_TRUE(QFile::link(root + s("/real/project"), root + s("/linked")));
    ASSERT_TRUE(QFile::link(root + s("/real"), root + s("/elsewhere/up")));

    EXPECT_TRUE(PathIdentity::same(root + s("/linked"), root + s("/real/project")));
    EXPECT_TRUE(PathIdentity::same(root + s("/real/project/"), root + s("/elsewhere/up/project")));
    EXPECT_TRUE(
        PathIdentity::isInside(root + s("/linked/node_modules"), root + s("/real/project")));
    EXPECT_TRUE(
        PathIdentity::isInside(root + s("/real/project/node_modules"), root + s("/linked")));
    // ".." after a link leaves the link's target, as the kernel goes.
    EXPECT_TRUE(PathIdentity::same(root + s("/elsewhere/up/project/.."), root + s("/real")));
    // A part that does not exist yet is kept as written below its resolved folder.
    EXPECT_TRUE(PathIdentity::isInside(root + s("/linked/not-yet/deeper"), root + s("/real")));
}

TEST(PathIdentity, SiblingsEmptyFoldersAndOtherPlacesAreNotInside) {
    const QString root = makeTempDir(s("identity"));
    QDir().mkpath(root + s("/proj"));
    QDir().mkpath(root + s("/proj-old"));
    ASSERT_TRUE(QFile::link(root + s("/proj-old"), root + s("/looks-like-proj")));

    EXPECT_FALSE(PathIdentity::isInside(root + s("/proj-old"), root + s("/proj")));
    EXPECT_FALSE(PathIdentity::isInside(root + s("/looks-like-proj"), root + s("/proj")));
    EXPECT_FALSE(PathIdentity::same(root + s("/looks-like-proj"), root + s("/proj")));
    // No folder holds nothing: an empty one must never become "everything".
    EXPECT_FALSE(PathIdentity::isInside(root + s("/proj"), QString()));
    EXPECT_FALSE(PathIdentity::isInside(QString(), root));
    EXPECT_FALSE(PathIdentity::same(QString(), QString()));
    // Case counts on a volume that tells names apart by case, as this test's folder does.
    if (!PathIdentity::ignoresCase(root)) {
        EXPECT_FALSE(PathIdentity::same(root + s("/proj"), root + s("/PROJ")));
    }
}

TEST(PathIdentity, ALinkLoopEndsInsteadOfHanging) {
    const QString root = makeTempDir(s("identity"));
    ASSERT_TRUE(QFile::link(root + s("/b"), root + s("/a")));
    ASSERT_TRUE(QFile::link(root + s("/a"), root + s("/b")));
    EXPECT_FALSE(PathIdentity::isInside(root + s("/a/x"), root + s("/c")));
}
