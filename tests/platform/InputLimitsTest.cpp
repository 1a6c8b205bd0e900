#include "platform/InputLimits.h"

#include "support/TestEnvironment.h"

#include <QFile>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// A file of `size` bytes that takes no room: only the size is ever looked at before a refusal.
QString sparseFile(qint64 size) {
    const QString path = test::makeTempDir() + s("/big");
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(size));
    return path;
}

TEST(InputLimits, AFileIsReadUpToItsLimitAndRefusedWholeOneByteBeyond) {
    const qint64 limit = InputLimits::smallFileBytes;
    const InputLimits::FileRead under = InputLimits::readFile(sparseFile(limit), limit);
    ASSERT_TRUE(under.bytes);
    EXPECT_EQ(under.bytes->size(), limit);
    EXPECT_EQ(under.problem, QString());

    const InputLimits::FileRead over = InputLimits::readFile(sparseFile(limit + 1), limit);
    EXPECT_FALSE(over.bytes);
    EXPECT_EQ(over.problem, s("it is larger than 1 MB, more than such a file can be"));
}

TEST(InputLimits, ALineIsReadUpToItsLimitAndTheWholeInputRefusedOneByteBeyond) {
    const QByteArray longest(InputLimits::lineBytes, 'x');
    const InputLimits::Records under = InputLimits::split("first\n" + longest + "\nlast");
    ASSERT_TRUE(under.records);
    EXPECT_EQ(under.records->size(), 3);
    EXPECT_EQ(under.records->at(1), longest);

    // Past the limit nothing is handed on, not even the lines before the long one.
    const InputLimits::Records over = InputLimits::split("first\n" + longest + "x\nlast");
    EXPECT_FALSE(over.records);
    EXPECT_EQ(over.problem, s("a line is longer than 1 MB, more than such a line can be"));
    // NUL-ended records are measured the same way.
    EXPECT_FALSE(InputLimits::split(QByteArray("? a\0", 4) + longest + "x", '\0').records);
}

TEST(InputLimits, RecordsAreReadUpToTheirCountAndTheWholeInputRefusedOneBeyond) {
    // Each line ended, as programs print them: the empty rest after the last is no line.
    const QByteArray exactly = QByteArray("p1\n").repeated(InputLimits::recordCount);
    const InputLimits::Records under = InputLimits::split(exactly);
    ASSERT_TRUE(under.records) << under.problem.toStdString();
    EXPECT_EQ(under.records->first(), "p1");

    const InputLimits::Records over = InputLimits::split(exactly + "p2");
    EXPECT_FALSE(over.records);
    EXPECT_EQ(over.problem,
              s("it holds more than 1000000 entries, more than such a listing can be"));
    EXPECT_FALSE(InputLimits::split(exactly + "\n").records);
}

TEST(InputLimits, SplitKeepsEveryRecordAsQtWould) {
    // Empty records stay, so that readers that count fields or records see what was printed.
    const QList<QByteArray> inputs{QByteArray(), "\n", "a", "a\n\nb\n", QByteArray("\0a\0", 3)};
    for (const QByteArray& input : inputs) {
        for (const char separator : {'\n', '\0'}) {
            const InputLimits::Records split = InputLimits::split(input, separator);
            ASSERT_TRUE(split.records);
            EXPECT_EQ(*split.records, input.split(separator)) << input.toHex().toStdString();
        }
    }
}

TEST(InputLimits, ARefusalNamesItsSource) {
    EXPECT_EQ(InputLimits::refusal(s("git status in /w/shop"), s("a line is longer than 1 MB")),
              s("Could not read git status in /w/shop: a line is longer than 1 MB"));
}

} // namespace
