#include "platform/JsonFile.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;

TEST(JsonFile, WritesSortedPrettyJsonAndCreatesTheFolder) {
    const QString path = test::makeTempDir() + QStringLiteral("/new/folder/file.json");
    const QJsonObject object{{QStringLiteral("zeta"), 1},
                             {QStringLiteral("alpha"), QJsonArray{true}}};
    ASSERT_EQ(JsonFile::write(path, object), QString());

    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    EXPECT_LT(text.indexOf("alpha"), text.indexOf("zeta"));
    EXPECT_TRUE(text.contains("\n    \"alpha\""));
    EXPECT_EQ(JsonFile::read(path), QJsonValue(object));
}

TEST(JsonFile, ReplacesAtomicallyLeavingNoTemporaryFiles) {
    const QString folder = test::makeTempDir();
    const QString path = folder + QStringLiteral("/state.json");
    ASSERT_EQ(JsonFile::write(path, QJsonObject{{QStringLiteral("v"), 1}}), QString());
    ASSERT_EQ(JsonFile::write(path, QJsonObject{{QStringLiteral("v"), 2}}), QString());
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("state.json")});
    EXPECT_EQ(JsonFile::read(path)->toObject().value(QStringLiteral("v")).toInt(), 2);
}

TEST(JsonFile, UnwritablePlaceGivesAMessageAndMissingOrBadFilesReadAsNothing) {
    const QString folder = test::makeTempDir();
    test::writeFile(folder + QStringLiteral("/blocker"), "a file, not a folder");
    EXPECT_FALSE(
        JsonFile::write(folder + QStringLiteral("/blocker/x.json"), QJsonObject{}).isEmpty());

    test::writeFile(folder + QStringLiteral("/bad.json"), "{ not json");
    EXPECT_FALSE(JsonFile::read(folder + QStringLiteral("/bad.json")).has_value());
    EXPECT_FALSE(JsonFile::read(folder + QStringLiteral("/absent.json")).has_value());
}

TEST(JsonFile, DatesCountFromTheFirstOf2001) {
    const QDateTime reference =
        QDateTime::fromString(QStringLiteral("2001-01-01T00:00:00Z"), Qt::ISODate);
    EXPECT_DOUBLE_EQ(JsonFile::secondsSinceReferenceDate(reference), 0.0);
    const QDateTime later = reference.addSecs(86'400);
    EXPECT_DOUBLE_EQ(JsonFile::secondsSinceReferenceDate(later), 86'400.0);
    EXPECT_EQ(JsonFile::dateFromReferenceSeconds(86'400.5).toMSecsSinceEpoch(),
              later.toMSecsSinceEpoch() + 500);
}
