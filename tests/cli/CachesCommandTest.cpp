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
using namespace corvane::cli;

namespace {

class CachesCommandTest : public testing::Test {
protected:
    void SetUp() override {
        test::writeFile(maven + QStringLiteral("/org/lib.jar"), QByteArray(9000, 'j'));
        QDir().mkpath(pip);
    }
    void TearDown() override {
        QDir(test::fakeHome() + QStringLiteral("/.m2")).removeRecursively();
        QDir(test::fakeHome() + QStringLiteral("/.cache")).removeRecursively();
    }

    QJsonObject document() const { return QJsonDocument::fromJson(out.toUtf8()).object(); }

    const QString maven = test::fakeHome() + QStringLiteral("/.m2/repository");
    const QString pip = test::fakeHome() + QStringLiteral("/.cache/pip");
    QString out;
    QString err;
    Console console{&out, &err};
};

} // namespace

TEST_F(CachesCommandTest, ListsTheCachesOfTheHomeFolderWithTheirSizes) {
    ASSERT_EQ(runCaches(true, console), exitOk);
    const QJsonArray caches = document()[u"caches"].toArray();
    ASSERT_EQ(caches.size(), 2);
    EXPECT_EQ(caches[0][u"id"].toString(), QStringLiteral(".m2/repository"));
    EXPECT_EQ(caches[0][u"url"].toString(), maven);
    EXPECT_EQ(caches[0][u"name"].toString(), QStringLiteral("Maven repository"));
    EXPECT_FALSE(caches[0][u"detail"].toString().isEmpty());
    const qint64 mavenBytes = caches[0][u"sizeBytes"].toInteger();
    EXPECT_GE(mavenBytes, 9000);
    EXPECT_EQ(caches[1][u"id"].toString(), QStringLiteral(".cache/pip"));
    EXPECT_EQ(document()[u"totalBytes"].toInteger(),
              mavenBytes + caches[1][u"sizeBytes"].toInteger());
}

TEST_F(CachesCommandTest, CleanRefusesUnknownIdsAndADryRunMovesNothing) {
    CachesCleanRequest request{{QStringLiteral(".m2/repository"), QStringLiteral("Downloads")},
                               {true, false, true}};
    EXPECT_EQ(runCachesClean(request, console), exitRefusedOrBadArguments);
    EXPECT_TRUE(err.contains(QStringLiteral("Downloads")));
    EXPECT_TRUE(out.isEmpty());

    request.ids = {QStringLiteral(".m2/repository")};
    ASSERT_EQ(runCachesClean(request, console), exitOk);
    EXPECT_EQ(document()[u"wouldTrash"].toArray().first().toString(), maven);
    EXPECT_GE(document()[u"wouldReclaimBytes"].toInteger(), 9000);
    EXPECT_TRUE(QFile::exists(maven + QStringLiteral("/org/lib.jar")));

    out.clear();
    request.trash = {false, true, false};
    ASSERT_EQ(runCachesClean(request, console), exitOk) << qPrintable(err);
    EXPECT_TRUE(out.startsWith(QStringLiteral("Reclaimed "))) << qPrintable(out);
    EXPECT_FALSE(QFile::exists(maven));
    EXPECT_TRUE(QFile::exists(pip));
}
