#include "agents/DesktopRecordsStep.h"

#include "AgentFixtures.h"
#include "support/TestEnvironment.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

const auto runStep = [](const auto&... arguments) {
    return test::runStep<DesktopRecordsStep>(arguments...);
};

} // namespace

TEST(DesktopRecordsStep, RewritesThePathValuesInPlaceAndLeavesWhatItCanNotRewriteSafely) {
    const AgentLocations locations = test::makeAgentHome();
    const QByteArray before = "{\n  \"sessionId\" : \"local_1\",\n  \"cwd\":\"/a/b\",\n"
                              "  \"originCwd\" :\t \"/a/b/src\",\n  \"gitRoot\": \"/a/bc\",\n"
                              "  \"title\": \"cwd /a/b\", \"other\": \"/a/b\",\n"
                              "  \"worktree\": {\"commonDir\": \"/a/b/.git\"}\n}";
    const QByteArray after = "{\n  \"sessionId\" : \"local_1\",\n  \"cwd\":\"/c/b\",\n"
                             "  \"originCwd\" :\t \"/c/b/src\",\n  \"gitRoot\": \"/a/bc\",\n"
                             "  \"title\": \"cwd /a/b\", \"other\": \"/a/b\",\n"
                             "  \"worktree\": {\"commonDir\": \"/c/b/.git\"}\n}";
    const QString record = locations.claudeDesktopSessions[0] + s("/x/local_1.json");
    const QString unrelated = locations.claudeDesktopSessions[1] + s("/local_2.json");
    const QString notARecord = locations.claudeDesktopSessions[1] + s("/index.json");
    test::writeFile(record, before);
    test::writeFile(unrelated, "{\"cwd\": \"/a/bc\"}");
    test::writeFile(notARecord, "{\"cwd\": \"/a/b\"}");
    // Escaped slashes are valid JSON, but the pattern looks for the path as the app writes it.
    const QString escaped = locations.claudeDesktopSessions[1] + s("/local_esc.json");
    test::writeFile(escaped, R"({"cwd": "\/a\/b"})");
    test::writeFile(locations.claudeDesktopSessions[1] + s("/local_broken.json"),
                    "{\"cwd\": \"/a/b\"");
    test::writeFile(locations.claudeDesktopSessions[1] + s("/local_binary.json"),
                    QByteArray("{\"x\":\"\xff\"}"));

    const RelinkReport preview = runStep(locations, s("/a/b"), s("/c/b"), RelinkMode::preview);
    EXPECT_EQ(preview.claudeDesktopSessions, 1);
    EXPECT_EQ(test::readBytes(record), before);

    const RelinkReport report = runStep(locations, s("/a/b"), s("/c/b"));
    const QString problem = s("Claude desktop session %1: %2");
    EXPECT_EQ(report.warnings,
              (QStringList{problem.arg(u"local_binary.json", u"is not UTF-8 text"),
                           problem.arg(u"local_broken.json", u"not valid JSON"),
                           problem.arg(u"local_esc.json", u"in-place rewrite did not match the "
                                                          u"expected result; left untouched")}));
    EXPECT_EQ(report.claudeDesktopSessions, 1);
    EXPECT_EQ(test::readBytes(record), after);
    EXPECT_EQ(test::readBytes(escaped), R"({"cwd": "\/a\/b"})");
    EXPECT_EQ(test::readBytes(unrelated), "{\"cwd\": \"/a/bc\"}");
    EXPECT_EQ(test::readBytes(notARecord), "{\"cwd\": \"/a/b\"}");
}

TEST(DesktopRecordsStep, PathsWithCharactersThatNeedEscapingSurviveTheRewrite) {
    const AgentLocations locations = test::makeAgentHome();
    const QString oldPath = s("/a/it's \"q\" \\ $1 (x)+ [y]/Проект");
    const QString newPath = s("/n/$1 \\1 \"ü\"/日本");
    const QJsonObject record{
        {s("sessionId"), s("local_q")}, {s("cwd"), oldPath + s("/sub")}, {s("originCwd"), oldPath}};
    const QString path = locations.claudeDesktopSessions[1] + s("/local_q.json");
    test::writeFile(path, QJsonDocument(record).toJson());

    const RelinkReport report = runStep(locations, oldPath, newPath);
    EXPECT_EQ(report.warnings, QStringList());
    EXPECT_EQ(report.claudeDesktopSessions, 1);
    const QJsonObject rewritten = QJsonDocument::fromJson(test::readBytes(path)).object();
    EXPECT_EQ(rewritten.value(s("cwd")).toString(), newPath + s("/sub"));
    EXPECT_EQ(rewritten.value(s("originCwd")).toString(), newPath);
    EXPECT_TRUE(test::readBytes(path).contains("日本"));
}
