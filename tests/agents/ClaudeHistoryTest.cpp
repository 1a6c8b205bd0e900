#include "agents/ClaudeHistory.h"

#include "AgentFixtures.h"
#include "agents/SessionHead.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

using namespace corvane;
using test::s;

TEST(ClaudeHistory,
     FolderNamesReplaceEveryCodeUnitThatIsNotAnAsciiLetterOrDigitAndNameTheirNativePath) {
    EXPECT_EQ(ClaudeHistory::encodedFolderName(s("/Users/me/my_app.web")),
              s("-Users-me-my-app-web"));
    EXPECT_EQ(ClaudeHistory::encodedFolderName(s("/Users/me/Documents/Проект")),
              s("-Users-me-Documents-------"));
    // An emoji is two UTF-16 code units, so two dashes.
    EXPECT_EQ(ClaudeHistory::encodedFolderName(s("/Users/me/😀x")), s("-Users-me---x"));
    EXPECT_EQ(ClaudeHistory::encodedFolderName(s("/a/b c$\"\\")), s("-a-b-c---"));
    // So a folder is native to every path that encodes to its name, whatever the ledger says.
    const QMap<QString, QString> ledger{{s("-x-y"), s("/x/y")}};
    EXPECT_EQ(ClaudeHistory::projectPath(s("-x-y"), s("/x_y"), ledger, false), s("/x_y"));
    // Claude Code names the folder after "/tmp/x" as given; the path compares as "/private".
    EXPECT_EQ(ClaudeHistory::projectPath(s("-tmp-x"), s("/tmp/x"), {}, true), s("/private/tmp/x"));
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
    EXPECT_EQ(SessionHead::firstCwdIn(head), s("D:\\Repos\\Backlog"));
    EXPECT_EQ(SessionHead::firstCwdIn("{\"type\":\"summary\"}\n{\"cwd\":\"/Users/me/Проект\"}"),
              s("/Users/me/Проект"));
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
    const QByteArray cwdLine = test::claudeLine(s("/p"));
    const auto firstCwdAfter = [&](qsizetype fillerSize) {
        const QString path = folder + s("/%1.jsonl").arg(fillerSize);
        test::writeFile(path, fillerOf(fillerSize) + cwdLine + cwdLine);
        return SessionHead::firstCwd(path);
    };
    // The line ends exactly at the limit.
    EXPECT_EQ(firstCwdAfter(SessionHead::byteLimit - cwdLine.size()), s("/p"));
    // It begins within the limit but ends after it: cut short, it is no JSON.
    EXPECT_FALSE(firstCwdAfter(SessionHead::byteLimit - 10));
    EXPECT_FALSE(firstCwdAfter(SessionHead::byteLimit + 100));
    // A line split across two reads is found whole.
    EXPECT_EQ(firstCwdAfter(SessionHead::chunkSize - 20), s("/p"));
    EXPECT_FALSE(SessionHead::firstCwd(folder + s("/missing.jsonl")));
}
