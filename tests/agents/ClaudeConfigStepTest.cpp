#include "agents/ClaudeConfigStep.h"

#include "AgentFixtures.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

const auto runStep = [](const auto&... arguments) {
    return test::runStep<ClaudeConfigStep>(arguments...);
};

const QByteArray unusualConfig = "{\n  \"numStartups\": 42,\n  \"projects\"   :\n\t {\n"
                                 "    \"/a/b\": {\"allowedTools\": [], \"mcpServers\": "
                                 "{\"x\": {\"command\": \"run\", \"args\": [\"é\"]}}},\n"
                                 "    \"/a/b/src\": {\"hasTrustDialogAccepted\": true},\n"
                                 "    \"/a/bc\": {\"hasTrustDialogAccepted\": false},\n"
                                 "    \"/c/b/src\": {\"existing\": 1}\n  },\n"
                                 "  \"userID\": \"0\"\n}\n";

} // namespace

TEST(ClaudeConfigStep, InsertsTheNewEntriesAndKeepsEveryOtherByte) {
    const AgentLocations locations = test::makeAgentHome();
    test::writeFile(locations.claudeConfig, unusualConfig);
    QFile::setPermissions(locations.claudeConfig, QFileDevice::ReadOwner | QFileDevice::WriteOwner);

    EXPECT_EQ(runStep(locations, s("/a/b"), s("/c/b"), RelinkMode::preview).claudeProjectSettings,
              1);
    EXPECT_EQ(test::readBytes(locations.claudeConfig), unusualConfig);

    const RelinkReport report = runStep(locations, s("/a/b"), s("/c/b"));
    EXPECT_EQ(report.warnings, QStringList());
    // "/a/b/src" would become "/c/b/src", which has settings of its own: those stay.
    EXPECT_EQ(report.claudeProjectSettings, 1);
    const qsizetype brace = unusualConfig.indexOf('{', unusualConfig.indexOf("\"projects\"")) + 1;
    EXPECT_EQ(test::readBytes(locations.claudeConfig),
              unusualConfig.left(brace) +
                  "\"/c/b\":{\"allowedTools\":[],\"mcpServers\":{\"x\":{\"args\":[\"é\"],"
                  "\"command\":\"run\"}}}," +
                  unusualConfig.mid(brace));
    EXPECT_EQ(QFile::permissions(locations.claudeConfig),
              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadUser |
                  QFileDevice::WriteUser);

    // Run again (an undo followed by a redo): the entries are there, nothing is added twice.
    EXPECT_EQ(runStep(locations, s("/a/b"), s("/c/b")).claudeProjectSettings, 0);
}

TEST(ClaudeConfigStep, KeysWithCharactersThatNeedEscapingAreWrittenAsValidJson) {
    const AgentLocations locations = test::makeAgentHome();
    const QString oldPath = s("/a/\"q\" \\ $1/Проект");
    const QString newPath = s("/n/$0 \\\\ \"ü\"");
    const QJsonObject projects{{oldPath, QJsonObject{{s("t"), true}}}};
    test::writeFile(locations.claudeConfig,
                    QJsonDocument(QJsonObject{{s("projects"), projects}}).toJson());

    const RelinkReport report = runStep(locations, oldPath, newPath);
    EXPECT_EQ(report.warnings, QStringList());
    const QJsonObject result = QJsonDocument::fromJson(test::readBytes(locations.claudeConfig))
                                   .object()
                                   .value(s("projects"))
                                   .toObject();
    EXPECT_EQ(result.keys(), (QStringList{oldPath, newPath}));
    EXPECT_EQ(result.value(newPath), projects.value(oldPath));
    EXPECT_TRUE(test::readBytes(locations.claudeConfig).contains("\"/n/$0 \\\\\\\\ \\\"ü\\\"\""));
}

TEST(ClaudeConfigStep, FilesItCanNotEditSafelyAreLeftUntouched) {
    struct Case {
        const char* contents;
        const char* warning;
    };
    const Case cases[] = {
        {"{\"projects\": {\"/a/b\": {}}", "~/.claude.json is not valid JSON"},
        {"{\"projects\": {\"/a/b\": {\"projects\": {}}}}",
         "could not place the new entries safely; left untouched"},
        // The key written with an escape is still "projects" to a parser, not to the pattern.
        {"{\"proj\\u0065cts\": {\"/a/b\": {}}}",
         "could not place the new entries safely; left untouched"},
        // ...which then finds the wrong object: the check after the edit catches it.
        {"{\"proj\\u0065cts\": {\"/a/b\": {}}, \"other\": {\"projects\": {\"k\": 1}}}",
         "in-place rewrite did not match the expected result; left untouched"},
    };
    for (const Case& testCase : cases) {
        const AgentLocations locations = test::makeAgentHome();
        test::writeFile(locations.claudeConfig, testCase.contents);
        const RelinkReport report = runStep(locations, s("/a/b"), s("/c/b"));
        EXPECT_EQ(report.warnings, QStringList{s("Claude Code project settings: ") +
                                               QLatin1String(testCase.warning)})
            << testCase.contents;
        EXPECT_EQ(report.claudeProjectSettings, 0);
        EXPECT_EQ(test::readBytes(locations.claudeConfig), testCase.contents);
    }
    // No file at all is nothing to do.
    EXPECT_TRUE(runStep(test::makeAgentHome(), s("/a/b"), s("/c/b")).warnings.isEmpty());
}

TEST(ClaudeConfigStep, TheCopiesOfARelinkCutShortGoAgainButNotOnesChangedSince) {
    const AgentLocations locations = test::makeAgentHome();
    test::writeFile(locations.claudeConfig, unusualConfig);
    ASSERT_EQ(runStep(locations, s("/a/b"), s("/c/b")).claudeProjectSettings, 1);
    ASSERT_NE(test::readBytes(locations.claudeConfig), unusualConfig);

    RelinkReport report;
    ClaudeConfigStep::removeCopies({locations, {s("/a/b"), s("/c/b")}, RelinkMode::write, report});
    EXPECT_EQ(report.warnings, QStringList());
    EXPECT_EQ(test::readBytes(locations.claudeConfig), unusualConfig);

    // A copy Claude Code has since changed is the user's now.
    runStep(locations, s("/a/b"), s("/c/b"));
    QByteArray changed = test::readBytes(locations.claudeConfig);
    changed.replace("{\"allowedTools\":[]", "{\"allowedTools\":[\"Bash\"]");
    test::writeFile(locations.claudeConfig, changed);
    ClaudeConfigStep::removeCopies({locations, {s("/a/b"), s("/c/b")}, RelinkMode::write, report});
    EXPECT_EQ(test::readBytes(locations.claudeConfig), changed);
}
