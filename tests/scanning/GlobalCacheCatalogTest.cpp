#include "scanning/GlobalCacheCatalog.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

QStringList ids(const QList<GlobalCacheEntry>& entries) {
    QStringList result;
    for (const GlobalCacheEntry& entry : entries)
        result.append(entry.id);
    return result;
}

} // namespace

TEST(GlobalCacheCatalog, ListsExistingFoldersInTableOrderAndSkipsPlainFiles) {
    EXPECT_TRUE(GlobalCacheCatalog::listing(test::makeTempDir()).isEmpty());
    const QString home = test::makeTempDir(QStringLiteral("cache-home"));
    // Made in another order than the table's, to see that the table decides.
    QDir().mkpath(home + QStringLiteral("/.cache/pip"));
    QDir().mkpath(home + QStringLiteral("/.m2/repository"));
    test::writeFile(home + QStringLiteral("/.npm/_cacache/index-v5/00"), "x");
    QDir().mkpath(home + QStringLiteral("/Library/Developer/Xcode"));
    test::writeFile(home + QStringLiteral("/Library/Developer/Xcode/DerivedData"), "not a folder");
    QDir().mkpath(home + QStringLiteral("/Library/Caches/Homebrew"));

    const QList<GlobalCacheEntry> entries = GlobalCacheCatalog::listing(home);

    EXPECT_EQ(
        ids(entries),
        (QStringList{QStringLiteral("Library/Caches/Homebrew"), QStringLiteral(".npm/_cacache"),
                     QStringLiteral(".m2/repository"), QStringLiteral(".cache/pip")}));
    ASSERT_FALSE(entries.isEmpty());
    const GlobalCacheEntry expected{
        QStringLiteral("Library/Caches/Homebrew"), QStringLiteral("Homebrew downloads"),
        home + QStringLiteral("/Library/Caches/Homebrew"),
        QStringLiteral("Downloaded bottles and sources. Homebrew downloads again what it needs.")};
    EXPECT_EQ(entries[0], expected);
}
