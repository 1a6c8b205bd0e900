#include "organize/OrphanFinder.h"

#include "OrganizeFixtures.h"
#include "support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <gtest/gtest.h>

namespace corvane {
namespace {

using test::s;

AgentSession session(const QString& id, const QString& cwd, std::optional<int> day = {}) {
    AgentSession made;
    made.agent = AgentKind::codex;
    made.id = id;
    made.cwd = cwd;
    if (day)
        made.updatedAt = QDateTime(QDate(2025, 3, *day), QTime(12, 0), Qt::UTC);
    return made;
}

QStringList pathsOf(const QList<OrphanedHistory>& orphans) {
    QStringList paths;
    for (const OrphanedHistory& orphan : orphans)
        paths.append(orphan.missingPath);
    return paths;
}

TEST(OrphanFinder, GroupsGoneFoldersNewestFirstAndBothSpellingsOfTmpAsOne) {
    // Unique names, so that no folder of the machine can exist at them; and none under /var or
    // /tmp but the one spelled both ways, since the Mac's rule moves those under /private.
    const QString home = s("/corvane-gone-home-%1").arg(QCoreApplication::applicationPid());
    const QString tmpName = s("tmp/corvane-gone-%1").arg(QCoreApplication::applicationPid());
    const QString existing = s("/usr");
    AgentHistoryIndex index;
    index.home = home;
    index.macPathRules = true;
    index.sessions = {session(s("old"), home + s("/b"), 1),
                      session(s("undated-z"), home + s("/z")),
                      session(s("tmp-short"), u'/' + tmpName, 2),
                      session(s("newest"), home + s("/b/"), 20),
                      session(s("here"), existing, 28),
                      session(s("undated-a"), home + s("/a")),
                      session(s("tmp-long"), s("/private/") + tmpName, 5),
                      session(s("middle"), home + s("/c"), 10),
                      session(s("no-folder"), QString(), 30)};

    const QList<OrphanedHistory> orphans = OrphanFinder::find(index, {});
    EXPECT_EQ(pathsOf(orphans),
              QStringList({home + s("/b"), home + s("/c"), s("/private/") + tmpName, home + s("/a"),
                           home + s("/z")}));
    ASSERT_EQ(orphans.size(), 5);
    EXPECT_EQ(test::idsOf(orphans[0].sessions), QStringList({s("newest"), s("old")}));
    EXPECT_EQ(test::idsOf(orphans[2].sessions), QStringList({s("tmp-long"), s("tmp-short")}));
}

class OrphanSuggestionTest : public ::testing::Test {
protected:
    void SetUp() override {
        locations = test::makeAgentHome();
        home = locations.home;
    }

    // The suggestion for history left in `missing`, or "-".
    QString suggestionFor(const char* missing, const QStringList& projects) {
        test::writeClaudeSessionIn(locations, home + s(missing), s("s%1").arg(++sessions));
        const QList<OrphanedHistory> orphans =
            OrphanFinder::find(AgentHistoryIndex::build(locations), projects);
        for (const OrphanedHistory& orphan : orphans) {
            if (orphan.missingPath == home + s(missing))
                return orphan.suggestion.value_or(s("-"));
        }
        ADD_FAILURE() << missing << " is not listed as gone";
        return {};
    }

    QString project(const char* path, const QStringList& inside = {}) {
        const QString folder = home + s(path);
        QDir().mkpath(folder + s("/.git"));
        for (const QString& sub : inside)
            QDir().mkpath(folder + u'/' + sub);
        return folder;
    }

    AgentLocations locations;
    QString home;
    int sessions = 0;
};

TEST_F(OrphanSuggestionTest, TheProjectNowCarryingTheGoneFoldersNameIsSuggested) {
    const QStringList projects{project("/Code/app", {s("src/ui")}), project("/Code/lib")};
    EXPECT_EQ(suggestionFor("/old/lib", projects), home + s("/Code/lib"));
    // A folder inside a project: the project's name with the rest below it.
    EXPECT_EQ(suggestionFor("/old/app/src/ui", projects), home + s("/Code/app/src/ui"));
    EXPECT_EQ(suggestionFor("/old/app/docs", projects), s("-"));
    EXPECT_EQ(suggestionFor("/old/other", projects), s("-"));
}

TEST_F(OrphanSuggestionTest, TheDeepestNameDecidesAndTwoPlacesThereGiveNone) {
    const QStringList projects{project("/Code/tool", {s("cli")}), project("/Code/cli"),
                               project("/Code/a/web"), project("/Code/b/web"),
                               project("/Code/site")};
    EXPECT_EQ(suggestionFor("/old/tool/cli", projects), home + s("/Code/cli"));
    EXPECT_EQ(suggestionFor("/old/web", projects), s("-"));
    // Listing one project twice is still one place.
    EXPECT_EQ(suggestionFor("/old/site", projects + projects), home + s("/Code/site"));
}

TEST_F(OrphanSuggestionTest, AClaudeAppRecordOfAFolderNoSessionNamesIsPlacedToo) {
    const QStringList projects{project("/Code/lib")};
    test::writeFile(locations.claudeDesktopSessions.at(1) + s("/a/local_1.json"),
                    R"({"sessionId":"local_1","cwd":")" + (home + s("/old/lib")).toUtf8() +
                        R"(","title":"Tidy up"})");
    test::writeFile(locations.claudeDesktopSessions.at(1) + s("/a/local_2.json"),
                    R"({"sessionId":"local_2","cwd":")" + (home + s("/old/none")).toUtf8() +
                        R"("})");
    const QHash<QString, QString> places =
        OrphanFinder::newPlaces(AgentHistoryIndex::build(locations), projects);
    EXPECT_EQ(places, (QHash<QString, QString>{{home + s("/old/lib"), home + s("/Code/lib")}}));
}

TEST(OrphanFinder, TheRepositoryRootIsTheNearestFolderWithAGitEntry) {
    const QString repo = test::makeTempDir(s("repo"));
    QDir().mkpath(repo + s("/.git"));
    QDir().mkpath(repo + s("/modules/lib/src"));
    test::writeFile(repo + s("/modules/lib/.git"), "gitdir: ../../.git/modules/lib\n");
    EXPECT_EQ(OrphanFinder::repositoryRoot(repo + s("/modules/lib/src")), repo + s("/modules/lib"));
    EXPECT_EQ(OrphanFinder::repositoryRoot(repo + s("/modules/")), repo);
    EXPECT_EQ(OrphanFinder::repositoryRoot(repo + s("/not/there/yet")), repo);
}

} // namespace
} // namespace corvane
