#include "agents/RelinkReport.h"

#include "AgentFixtures.h"
#include "support/TestEnvironment.h"

#include <QJsonDocument>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

RelinkReport sampleReport() {
    RelinkReport report;
    report.claudeFolderMoves = {
        {s("-a-b"), s("-c-b"), s("/a/b"), s("/c/b"), std::nullopt},
        {s("-a-b-caf-"), s("-c-b-caf-"), s("/a/b/café"), s("/c/b/café"),
         QStringList{s("s1.jsonl"), s("s1")}},
    };
    report.claudeHistoryFolders = 2;
    report.claudeDesktopSessions = 3;
    report.claudeProjectSettings = 4;
    report.codexThreads = 5;
    report.codexProjectRoots = 6;
    report.codexTrustEntries = 7;
    report.warnings = {s("say \"why\"\\\n")};
    return report;
}

} // namespace

TEST(RelinkReport, SerialisesItsKeysInTheirFixedOrder) {
    EXPECT_EQ(
        RelinkReportJson::serialized(sampleReport()),
        QByteArray(
            R"({"claudeFolderMoves":[{"from":"-a-b","to":"-c-b","fromPath":"/a/b","toPath":"/c/b"},)"
            R"({"from":"-a-b-caf-","to":"-c-b-caf-","fromPath":"/a/b/café","toPath":"/c/b/café",)"
            R"("movedItems":["s1.jsonl","s1"]}],"claudeHistoryFolders":2,"claudeDesktopSessions":3,)"
            R"("claudeProjectSettings":4,"codexThreads":5,"codexProjectRoots":6,)"
            R"("codexTrustEntries":7,"warnings":["say \"why\"\\\n"]})"));
    EXPECT_EQ(RelinkReportJson::serialized(RelinkReport{}, true),
              QByteArray("{\n    \"claudeFolderMoves\": [],\n    \"claudeHistoryFolders\": 0,\n"
                         "    \"claudeDesktopSessions\": 0,\n    \"claudeProjectSettings\": 0,\n"
                         "    \"codexThreads\": 0,\n    \"codexProjectRoots\": 0,\n"
                         "    \"codexTrustEntries\": 0,\n    \"warnings\": []\n}\n"));
}

TEST(RelinkReport, ReadsBackWhatItWrote) {
    const RelinkReport report = sampleReport();
    for (const bool indented : {false, true}) {
        EXPECT_EQ(RelinkReportJson::parse(RelinkReportJson::serialized(report, indented)), report);
    }
    // A move without "movedItems" was a rename; an empty list was a merge that moved nothing.
    EXPECT_FALSE(RelinkReportJson::parse(R"({"claudeFolderMoves":[{"from":"x"}]})")
                     ->claudeFolderMoves[0]
                     .movedItems);
    EXPECT_EQ(RelinkReportJson::parse(R"({"claudeFolderMoves":[{"movedItems":[]}]})")
                  ->claudeFolderMoves[0]
                  .movedItems,
              QStringList{});
    EXPECT_EQ(RelinkReportJson::parse("{}"), RelinkReport{});
    EXPECT_FALSE(RelinkReportJson::parse("[1]"));
    EXPECT_FALSE(RelinkReportJson::parse("{broken"));
}
