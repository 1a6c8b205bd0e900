#include "cli/Command.h"
#include "cli/ScanCommands.h"
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
    EXPECT_TRUE(out.startsWith(s("Reclaimed "))) << qPrintable(out);
    EXPECT_FALSE(QFile::exists(maven));
    EXPECT_TRUE(QFile::exists(pip));
}
