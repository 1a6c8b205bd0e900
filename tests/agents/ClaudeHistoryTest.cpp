#include "agents/ClaudeHistory.h"

#include "AgentFixtures.h"
#include "agents/SessionHead.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

using namespace corvane;

TEST(ClaudeHistory, FolderNamesReplaceEveryCodeUnitThatIsNotAnAsciiLetterOrDigit) {
    EXPECT_EQ(ClaudeHistory::encodedFolderName(QStringLiteral("/Users/me/my_app.web")),
              QStringLiteral("-Users-me-my-app-web"));
    EXPECT_EQ(ClaudeHistory::encodedFolderName(QStringLiteral("/Users/me/Documents/Проект")),
              QStringLiteral("-Users-me-Documents-------"));
    // An emoji is two UTF-16 code units, so two dashes.
    EXPECT_EQ(ClaudeHistory::encodedFolderName(QStringLiteral("/Users/me/😀x")),
              QStringLiteral("-Users-me---x"));
    EXPECT_EQ(ClaudeHistory::encodedFolderName(QStringLiteral("/a/b c$\"\\")),
              QStringLiteral("-a-b-c---"));
}

TEST(SessionHead, FirstTopLevelCwdDecidesAfterLinesWithoutOne) {
    const QByteArray head =
        "{\"type\":\"summary\",\"summary\":\"x\"}\n"
        "{\"type\":\"user\",\"message\":{\"content\":\"set \\\"cwd\\\": to /wrong\"}}\n"
        "{\"type\":\"user\",\"message\":{\"cwd\":\"/nested/not/top\"}}\n"
        "not json but \"cwd\" mentioned\n"
        "{\"cwd\":\"\",\"type\":\"user\"}\n"
        "{\"cwd\":\"D:\\\\Repos\\\\Backlog\",\"type\":\"user\"}\n"
        "{\"cwd\":\"/later\"}\n";
    EXPECT_EQ(SessionHead::firstCwdIn(head), QStringLiteral("D:\\Repos\\Backlog"));
    EXPECT_EQ(SessionHead::firstCwdIn("{\"type\":\"summary\"}\n{\"cwd\":\"/Users/me/Проект\"}"),
              QStringLiteral("/Users/me/Проект"));
    EXPECT_FALSE(
        SessionHead::firstCwdIn("{\"type\":\"summary\"}\n{\"cwd\":\"/partial").has_value());
}

namespace {

// Lines without a "cwd" of exactly `size` bytes in all, the last one ending in a newline.
QByteArray fillerOf(qsizetype size) {
    QByteArray filler;
    while (filler.size() < size) {
        const qsizetype line = std::min<qsizetype>(size - filler.size(), 60'000);
        const QByteArray start = "{\"type\":\"file-history-snapshot\",\"pad\":\"";
        filler += start + QByteArray(line - start.size() - 3, 'x') + "\"}\n";
    }
    return filler;
}

} // namespace

TEST(SessionHead, ReadsNoFurtherThanTheByteLimit) {
    const QString folder = test::makeTempDir();
    const QByteArray cwdLine = test::claudeLine(QStringLiteral("/p"));
    const auto firstCwdAfter = [&](qsizetype fillerSize) {
        const QString path = folder + QStringLiteral("/%1.jsonl").arg(fillerSize);
        test::writeFile(path, fillerOf(fillerSize) + cwdLine + cwdLine);
        return SessionHead::firstCwd(path);
    };
    // The line ends exactly at the limit.
    EXPECT_EQ(firstCwdAfter(SessionHead::byteLimit - cwdLine.size()), QStringLiteral("/p"));
    // It begins within the limit but ends after it: cut short, it is no JSON.
    EXPECT_FALSE(firstCwdAfter(SessionHead::byteLimit - 10));
    EXPECT_FALSE(firstCwdAfter(SessionHead::byteLimit + 100));
    // A line split across two reads is found whole.
    EXPECT_EQ(firstCwdAfter(SessionHead::chunkSize - 20), QStringLiteral("/p"));
    EXPECT_FALSE(SessionHead::firstCwd(folder + QStringLiteral("/missing.jsonl")));
}

TEST(ClaudeHistory, AMovedFolderTakesItsPathFromTheLedgerAndANativeOneFromItsSessions) {
    const QMap<QString, QString> ledger{{QStringLiteral("-c-b"), QStringLiteral("/c/b")}};
    // Native history: the session's folder encodes to the folder's name.
    EXPECT_EQ(
        ClaudeHistory::projectPath(QStringLiteral("-c-b"), QStringLiteral("/c/b"), ledger, false),
        QStringLiteral("/c/b"));
    EXPECT_EQ(
        ClaudeHistory::projectPath(QStringLiteral("-x-y"), QStringLiteral("/x_y"), ledger, false),
        QStringLiteral("/x_y"));
    // Moved here by a relink: the sessions still name the old folder.
    EXPECT_EQ(
        ClaudeHistory::projectPath(QStringLiteral("-c-b"), QStringLiteral("/a/b"), ledger, false),
        QStringLiteral("/c/b"));
    EXPECT_EQ(ClaudeHistory::projectPath(QStringLiteral("-c-b"), std::nullopt, ledger, false),
              QStringLiteral("/c/b"));
    EXPECT_FALSE(ClaudeHistory::projectPath(QStringLiteral("-d"), std::nullopt, ledger, false));
    // Claude Code names the folder after "/tmp/x" as given; the path compares as "/private".
    EXPECT_EQ(
        ClaudeHistory::projectPath(QStringLiteral("-tmp-x"), QStringLiteral("/tmp/x"), {}, true),
        QStringLiteral("/private/tmp/x"));
}
