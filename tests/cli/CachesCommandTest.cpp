#include "cli/Command.h"
#include "cli/ScanCommands.h"
#include "platform/KeepStore.h"
#include "platform/TrashService.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;
using namespace corvane::cli;

TEST(CachesCommand, ListsTheHomeFolderCachesAndCleansOnlyKnownOnesForReal) {
    const QString maven = test::fakeHome() + s("/.m2/repository");
    const QString pip = test::fakeHome() + s("/.cache/pip");
    test::writeFile(maven + s("/org/lib.jar"), QByteArray(9000, 'j'));
    QDir().mkpath(pip);
    QString out;
    QString err;
    Console console{&out, &err};
    const auto document = [&out] { return QJsonDocument::fromJson(out.toUtf8()).object(); };

    ASSERT_EQ(runCaches(true, console), exitOk);
    const QJsonArray caches = document()[u"caches"].toArray();
    ASSERT_EQ(caches.size(), 2);
    EXPECT_EQ(caches[0][u"id"].toString(), s(".m2/repository"));
    EXPECT_EQ(caches[0][u"url"].toString(), maven);
    EXPECT_EQ(caches[0][u"name"].toString(), s("Maven repository"));
    EXPECT_FALSE(caches[0][u"detail"].toString().isEmpty());
    EXPECT_EQ(caches[0][u"restoreHint"].toString(), s("rebuilt on demand"));
    const qint64 mavenBytes = caches[0][u"sizeBytes"].toInteger();
    EXPECT_GE(mavenBytes, 9000);
    EXPECT_EQ(caches[1][u"id"].toString(), s(".cache/pip"));
    EXPECT_EQ(document()[u"totalBytes"].toInteger(),
              mavenBytes + caches[1][u"sizeBytes"].toInteger());

    out.clear();
    CachesCleanRequest request{{s(".m2/repository"), s("Downloads")}, {true, false, true}};
    EXPECT_EQ(runCachesClean(request, console), exitRefusedOrBadArguments);
    EXPECT_TRUE(err.contains(s("Downloads")));
    EXPECT_TRUE(out.isEmpty());

    request.ids = {s(".m2/repository")};
    ASSERT_EQ(runCachesClean(request, console), exitOk);
    EXPECT_EQ(document()[u"wouldTrash"].toArray().first().toString(), maven);
    EXPECT_GE(document()[u"wouldReclaimBytes"].toInteger(), 9000);
    EXPECT_TRUE(QFile::exists(maven + s("/org/lib.jar")));

    out.clear();
    request.trash = {false, true, false};
    ASSERT_EQ(runCachesClean(request, console), exitOk) << qPrintable(err);
    EXPECT_TRUE(out.startsWith(s("Moved 1 item ("))) << qPrintable(out);
    EXPECT_FALSE(QFile::exists(maven));
    EXPECT_TRUE(QFile::exists(pip));
}

TEST(CachesCommand, AKeptCacheIsRefusedInADryRunAndForReal) {
    const QString cargo = test::fakeHome() + s("/.cargo/registry");
    const QString gradle = test::fakeHome() + s("/.gradle/caches");
    test::writeFile(cargo + s("/index/a"), "a");
    test::writeFile(gradle + s("/b.bin"), "b");
    // Kept through a linked spelling of the home folder.
    const QString linkedHome = test::makeTempDir(s("linked")) + s("/home");
    ASSERT_TRUE(QFile::link(test::fakeHome(), linkedHome));
    const KeepStore keep;
    ASSERT_EQ(keep.add(linkedHome + s("/.cargo")), QString());
    QString out;
    QString err;
    Console console{&out, &err};
    const auto document = [&out] { return QJsonDocument::fromJson(out.toUtf8()).object(); };

    ASSERT_EQ(runCaches(true, console), exitOk);
    QHash<QString, bool> keptByID;
    for (const QJsonValue cache : document()[u"caches"].toArray())
        keptByID.insert(cache[u"id"].toString(), cache[u"kept"].toBool());
    EXPECT_EQ(keptByID.value(s(".cargo/registry")), true);
    EXPECT_EQ(keptByID.value(s(".gradle/caches"), true), false);
    out.clear();
    ASSERT_EQ(runCaches(false, console), exitOk);
    EXPECT_TRUE(out.contains(s("  .cargo/registry  Kept\n"))) << qPrintable(out);
    EXPECT_FALSE(out.contains(s(".gradle/caches  Kept")));
    out.clear();

    CachesCleanRequest request{{s(".cargo/registry"), s(".gradle/caches")}, {true, false, true}};
    EXPECT_EQ(runCachesClean(request, console), exitSomeFailed);
    EXPECT_EQ(document()[u"wouldTrash"].toArray(), QJsonArray{gradle});
    EXPECT_EQ(document()[u"failures"].toArray().first()[u"message"].toString(),
              TrashService::keptMessage);

    out.clear();
    request.trash = {false, true, true};
    EXPECT_EQ(runCachesClean(request, console), exitSomeFailed);
    EXPECT_EQ(document()[u"failures"].toArray().first()[u"url"].toString(), cargo);
    EXPECT_TRUE(QFile::exists(cargo + s("/index/a")));
    EXPECT_FALSE(QFile::exists(gradle));
    QFile::remove(keep.url());
    // A link back to the home would lead other commands' walks in circles.
    QFile::remove(linkedHome);
}
