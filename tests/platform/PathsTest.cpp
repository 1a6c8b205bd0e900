#include "platform/Paths.h"

#include <gtest/gtest.h>

using namespace corvane;

TEST(Paths, StandardizingRemovesDotsAndTrailingSlashes) {
    EXPECT_EQ(Paths::standardized(QStringLiteral("/a/./b/../c/")), QStringLiteral("/a/c"));
    EXPECT_EQ(Paths::standardized(QStringLiteral("/a//b")), QStringLiteral("/a/b"));
    EXPECT_EQ(Paths::standardized(QStringLiteral("/")), QStringLiteral("/"));
}

TEST(Paths, PrivatePrefixOnlyUnderMacRulesAndOnlyForTmpAndVar) {
    EXPECT_EQ(Paths::withPrivatePrefix(QStringLiteral("/tmp/x"), true),
              QStringLiteral("/private/tmp/x"));
    EXPECT_EQ(Paths::withPrivatePrefix(QStringLiteral("/var/folders/a"), true),
              QStringLiteral("/private/var/folders/a"));
    EXPECT_EQ(Paths::withPrivatePrefix(QStringLiteral("/tmpfoo/x"), true),
              QStringLiteral("/tmpfoo/x"));
    EXPECT_EQ(Paths::withPrivatePrefix(QStringLiteral("/private/tmp/x"), true),
              QStringLiteral("/private/tmp/x"));
    EXPECT_EQ(Paths::withPrivatePrefix(QStringLiteral("/tmp/x"), false), QStringLiteral("/tmp/x"));
}

TEST(Paths, UnderMeansEqualOrBelowAfterASeparator) {
    EXPECT_TRUE(Paths::isUnder(QStringLiteral("/a/b"), QStringLiteral("/a/b")));
    EXPECT_TRUE(Paths::isUnder(QStringLiteral("/a/b/c"), QStringLiteral("/a/b")));
    EXPECT_TRUE(Paths::isUnder(QStringLiteral("/a/b/c"), QStringLiteral("/a/b/")));
    EXPECT_FALSE(Paths::isUnder(QStringLiteral("/a/bc"), QStringLiteral("/a/b")));
    EXPECT_FALSE(Paths::isUnder(QStringLiteral("/a"), QStringLiteral("/a/b")));
    EXPECT_TRUE(Paths::isUnder(QStringLiteral("/x"), QStringLiteral("/")));
    // An empty folder holds nothing, not even an empty path.
    EXPECT_FALSE(Paths::isUnder(QStringLiteral("/x"), QString()));
    EXPECT_FALSE(Paths::isUnder(QString(), QString()));
    EXPECT_FALSE(Paths::isUnder(QStringLiteral("relative"), QString()));
    EXPECT_EQ(Paths::pathInside(QStringLiteral("/x"), QString()), std::nullopt);
    // What lies below, never the folder itself nor a sibling that starts with its name.
    EXPECT_EQ(Paths::pathInside(QStringLiteral("/a/b/c/d"), QStringLiteral("/a/b")),
              QStringLiteral("c/d"));
    EXPECT_EQ(Paths::pathInside(QStringLiteral("/x/y"), QStringLiteral("/")),
              QStringLiteral("x/y"));
    EXPECT_EQ(Paths::pathInside(QStringLiteral("/a/b"), QStringLiteral("/a/b")), std::nullopt);
    EXPECT_EQ(Paths::pathInside(QStringLiteral("/a/bc/d"), QStringLiteral("/a/b")), std::nullopt);
}

TEST(Paths, ComponentsOfAPath) {
    EXPECT_EQ(Paths::lastComponent(QStringLiteral("/a/b c")), QStringLiteral("b c"));
    EXPECT_EQ(Paths::parentPath(QStringLiteral("/a/b")), QStringLiteral("/a"));
    EXPECT_EQ(Paths::parentPath(QStringLiteral("/a")), QStringLiteral("/"));
    EXPECT_EQ(Paths::joined(QStringLiteral("/"), QStringLiteral("a")), QStringLiteral("/a"));
    EXPECT_EQ(Paths::joined(QStringLiteral("/a"), QStringLiteral("b")), QStringLiteral("/a/b"));
    const QString home = QStringLiteral("/Users/me");
    EXPECT_EQ(Paths::withTilde(home, home), QStringLiteral("~"));
    EXPECT_EQ(Paths::withTilde(QStringLiteral("/Users/me/code/x"), home),
              QStringLiteral("~/code/x"));
    EXPECT_EQ(Paths::withTilde(QStringLiteral("/Users/meg/x"), home),
              QStringLiteral("/Users/meg/x"));
}
