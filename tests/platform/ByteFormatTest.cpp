#include "platform/ByteFormat.h"

#include <QLocale>
#include <QStringList>
#include <gtest/gtest.h>

using corvane::formatBytes;

TEST(ByteFormat, DecimalUnitsWithTheDecimalsMacOSShows) {
    EXPECT_EQ(formatBytes(0), QStringLiteral("Zero KB"));
    EXPECT_EQ(formatBytes(1), QStringLiteral("1 byte"));
    EXPECT_EQ(formatBytes(999), QStringLiteral("999 bytes"));
    EXPECT_EQ(formatBytes(1000), QStringLiteral("1 KB"));
    EXPECT_EQ(formatBytes(12'345), QStringLiteral("12 KB"));
    EXPECT_EQ(formatBytes(1'500'000), QStringLiteral("1.5 MB"));
    EXPECT_EQ(formatBytes(2'000'000'000), QStringLiteral("2 GB"));
    EXPECT_EQ(formatBytes(1'234'567'890), QStringLiteral("1.23 GB"));
    EXPECT_EQ(formatBytes(3'210'000'000'000), QStringLiteral("3.21 TB"));
    // Rounding up to a thousand moves to the next unit; the extremes do not overflow.
    EXPECT_EQ(formatBytes(999'999), QStringLiteral("1 MB"));
    EXPECT_EQ(formatBytes(999'960'000), QStringLiteral("1 GB"));
    EXPECT_EQ(formatBytes(std::numeric_limits<qint64>::max()), QStringLiteral("9.22 EB"));
    EXPECT_EQ(formatBytes(-1'500'000), QStringLiteral("-1.5 MB"));
}

TEST(ByteFormat, TheDecimalPointIsTheUsersLocales) {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const QStringList german{formatBytes(1'500'000), formatBytes(2'000'000'000),
                             formatBytes(1'234'560'000), formatBytes(999)};
    QLocale::setDefault(before);
    EXPECT_EQ(german, (QStringList{QStringLiteral("1,5 MB"), QStringLiteral("2 GB"),
                                   QStringLiteral("1,23 GB"), QStringLiteral("999 bytes")}));
}
