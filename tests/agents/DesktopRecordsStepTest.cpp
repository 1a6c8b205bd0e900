#include "agents/DesktopRecordsStep.h"

#include "AgentFixtures.h"
#include "support/TestEnvironment.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

RelinkReport runStep(const AgentLocations& locations, const QString& oldPath,
                     const QString& newPath, RelinkMode mode = RelinkMode::write) {
    RelinkReport report;
    DesktopRecordsStep::run({locations, {oldPath, newPath}, mode, report});
    return report;
}

} // namespace

TEST(DesktopRecordsStep, RewritesThePathValuesInPlaceAndNothingElse) {
    const AgentLocations locations = test::makeAgentHome();
    const QByteArray before = "{\n  \"sessionId\" : \"local_1\",\n  \"cwd\":\"/a/b\",\n"
                              "  \"originCwd\" :\t \"/a/b/src\",\n  \"gitRoot\": \"/a/bc\",\n"
                              "  \"title\": \"cwd /a/b\", \"other\": \"/a/b\",\n"
                              "  \"worktree\": {\"commonDir\": \"/a/b/.git\"}\n}";
    const QByteArray after = "{\n  \"sessionId\" : \"local_1\",\n  \"cwd\":\"/c/b\",\n"
                             "  \"originCwd\" :\t \"/c/b/src\",\n  \"gitRoot\": \"/a/bc\",\n"
                             "  \"title\": \"cwd /a/b\", \"other\": \"/a/b\",\n"
                             "  \"worktree\": {\"commonDir\": \"/c/b/.git\"}\n}";
    const QString record = locations.claudeDesktopSessions[0] + QStringLiteral("/x/local_1.json");
    const QString unrelated = locations.claudeDesktopSessions[1] + QStringLiteral("/local_2.json");
    const QString notARecord = locations.claudeDesktopSessions[1] + QStringLiteral("/index.json");
    test::writeFile(record, before);
    test::writeFile(unrelated, "{\"cwd\": \"/a/bc\"}");
    test::writeFile(notARecord, "{\"cwd\": \"/a/b\"}");

    const RelinkReport preview =
        runStep(locations, QStringLiteral("/a/b"), QStringLiteral("/c/b"), RelinkMode::preview);
    EXPECT_EQ(preview.claudeDesktopSessions, 1);
    EXPECT_EQ(test::readBytes(record), before);

    const RelinkReport report = runStep(locations, QStringLiteral("/a/b"), QStringLiteral("/c/b"));
    EXPECT_TRUE(report.warnings.isEmpty()) << report.warnings.join(u'\n').toStdString();
    EXPECT_EQ(report.claudeDesktopSessions, 1);
    EXPECT_EQ(test::readBytes(record), after);
    EXPECT_EQ(test::readBytes(unrelated), "{\"cwd\": \"/a/bc\"}");
    EXPECT_EQ(test::readBytes(notARecord), "{\"cwd\": \"/a/b\"}");
}

TEST(DesktopRecordsStep, PathsWithCharactersThatNeedEscapingSurviveTheRewrite) {
    const AgentLocations locations = test::makeAgentHome();
    const QString oldPath = QStringLiteral("/a/it's \"q\" \\ $1 (x)+ [y]/Проект");
    const QString newPath = QStringLiteral("/n/$1 \\1 \"ü\"/日本");
    const QJsonObject record{{QStringLiteral("sessionId"), QStringLiteral("local_q")},
                             {QStringLiteral("cwd"), oldPath + QStringLiteral("/sub")},
                             {QStringLiteral("originCwd"), oldPath}};
    const QString path = locations.claudeDesktopSessions[1] + QStringLiteral("/local_q.json");
    test::writeFile(path, QJsonDocument(record).toJson());

    const RelinkReport report = runStep(locations, oldPath, newPath);
    EXPECT_TRUE(report.warnings.isEmpty()) << report.warnings.join(u'\n').toStdString();
    EXPECT_EQ(report.claudeDesktopSessions, 1);
    const QJsonObject rewritten = QJsonDocument::fromJson(test::readBytes(path)).object();
    EXPECT_EQ(rewritten.value(QStringLiteral("cwd")).toString(), newPath + QStringLiteral("/sub"));
    EXPECT_EQ(rewritten.value(QStringLiteral("originCwd")).toString(), newPath);
    EXPECT_TRUE(test::readBytes(path).contains("日本"));
}

TEST(DesktopRecordsStep, RecordsThatCanNotBeRewrittenSafelyAreLeftAsTheyAre) {
    const AgentLocations locations = test::makeAgentHome();
    const QString folder = locations.claudeDesktopSessions[1];
    // Escaped slashes are valid JSON, but the pattern looks for the path as the app writes it.
    const QByteArray escaped = R"({"cwd": "\/a\/b"})";
    test::writeFile(folder + QStringLiteral("/local_escaped.json"), escaped);
    test::writeFile(folder + QStringLiteral("/local_broken.json"), "{\"cwd\": \"/a/b\"");
    test::writeFile(folder + QStringLiteral("/local_binary.json"), QByteArray("{\"x\":\"\xff\"}"));

    const RelinkReport report = runStep(locations, QStringLiteral("/a/b"), QStringLiteral("/c/b"));
    EXPECT_EQ(report.warnings,
              (QStringList{QStringLiteral("Claude desktop session local_binary.json: is not UTF-8 "
                                          "text"),
                           QStringLiteral("Claude desktop session local_broken.json: not valid "
                                          "JSON"),
                           QStringLiteral("Claude desktop session local_escaped.json: in-place "
                                          "rewrite did not match the expected result; left "
                                          "untouched")}));
    EXPECT_EQ(report.claudeDesktopSessions, 0);
    EXPECT_EQ(test::readBytes(folder + QStringLiteral("/local_escaped.json")), escaped);
}
