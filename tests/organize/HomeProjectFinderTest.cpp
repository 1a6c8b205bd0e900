#include "organize/HomeProjectFinder.h"

#include "agents/AgentFixtures.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

namespace corvane {
namespace {

using test::s;
using Found = HomeProjectFinder::Found;

// A ".git" folder is all the finder looks at; real repositories are made where git matters.
void markRepository(const QString& folder) {
    QDir().mkpath(folder + s("/.git"));
}

class HomeProjectFinderTest : public ::testing::Test {
protected:
    void SetUp() override {
        locations = test::makeAgentHome();
        home = locations.home;
        finder = {home, home + s("/Code"), false};
    }

    QList<Found> find() const { return finder.find(AgentHistoryIndex::build(locations)); }

    AgentLocations locations;
    QString home;
    HomeProjectFinder finder;
};

TEST_F(HomeProjectFinderTest, FindsRepositoriesWhereverProjectsAreKeptAndNotWhereAppsKeepData) {
    test::makeRepo(home + s("/projects/app"));
    markRepository(home + s("/projects/app/vendor/lib"));
    test::writeFile(home + s("/projects/linked-tree/.git"),
                    "gitdir: /elsewhere/.git/worktrees/x\n");
    markRepository(home + s("/Documents/clients/site"));
    markRepository(home + s("/Documents/Codex/notes"));
    markRepository(home + s("/a/b/c/d/e/six"));
    markRepository(home + s("/a/b/c/d/e/f/seven"));
    // None of these is a candidate.
    markRepository(home + s("/Documents"));
    markRepository(home + s("/.config/nvim"));
    markRepository(home + s("/projects/web/node_modules/left-pad"));
    markRepository(home + s("/Tool.app/Contents"));
    markRepository(home + s("/Documents/Codex/2026-01-05"));
    markRepository(home + s("/Documents/Codex/2026-01-06/x"));
    markRepository(home + s("/Code/done"));
    markRepository(home);
    const QString outside = test::makeTempDir(s("outside"));
    markRepository(outside + s("/repo"));
    QFile::link(outside, home + s("/linked"));

    const QList<Found> expected{{home + s("/Documents/Codex/notes"), false},
                                {home + s("/Documents/clients/site"), false},
                                {home + s("/a/b/c/d/e/six"), false},
                                {home + s("/projects/app"), false},
                                {home + s("/projects/linked-tree"), false}};
    EXPECT_EQ(find(), expected);
}

TEST_F(HomeProjectFinderTest, FoldersWithAgentHistoryJoinAndTheOutermostFolderWins) {
    test::writeFile(home + s("/scratch/notes.md"));
    test::writeClaudeSessionIn(locations, home + s("/scratch"), s("a"));
    markRepository(home + s("/work/one"));
    markRepository(home + s("/work/two"));
    test::writeClaudeSessionIn(locations, home + s("/work"), s("b"));
    markRepository(home + s("/projects/app"));
    test::writeClaudeSessionIn(locations, home + s("/projects/app/src"), s("c"));
    QDir().mkpath(home + s("/projects/app/src"));
    // History in places that are never candidates, or gone.
    QDir().mkpath(home + s("/Documents"));
    for (const char* cwd : {"", "/Documents", "/.claude", "/Code/old", "/gone", "/../elsewhere"})
        test::writeClaudeSessionIn(locations, home + s(cwd), s("x") + s(cwd).replace(u'/', u'-'));
    QDir().mkpath(home + s("/.claude"));
    QDir().mkpath(home + s("/Code/old"));
    // Moving a path that runs through a link would move the project from wherever it lives.
    const QString real = test::makeTempDir(s("real"));
    QDir().mkpath(real + s("/proj"));
    QFile::link(real, home + s("/through-link"));
    test::writeClaudeSessionIn(locations, home + s("/through-link/proj"), s("y"));

    const QList<Found> expected{{home + s("/projects/app"), false},
                                {home + s("/scratch"), false},
                                {home + s("/work"), true}};
    EXPECT_EQ(find(), expected);
}

TEST_F(HomeProjectFinderTest, ExcludesEachPathTheRulesNameAndNothingElse) {
    QDir().mkpath(home + s("/Documents"));
    for (const char* path : {"", "/Documents", "/.config", "/.config/app", "/code/web/node_modules",
                             "/Tool.app/x", "/Code", "/Code/app", "/Documents/Codex/2026-01-05",
                             "/Documents/Codex/2026-01-05/x", "/.."})
        EXPECT_TRUE(finder.isExcluded(home + s(path))) << path;
    for (const char* path :
         {"/Documents/site", "/code/web", "/Codex", "/Documents/Codex/2026-1-5", "/Coder"})
        EXPECT_FALSE(finder.isExcluded(home + s(path))) << path;
    EXPECT_TRUE(finder.isExcluded(s("/tmp/project")));
    EXPECT_TRUE(finder.isExcluded(s("/private/tmp/project")));
    const HomeProjectFinder inTmp{s("/tmp/home"), s("/tmp/home/Code"), false};
    EXPECT_TRUE(inTmp.isExcluded(s("/tmp/home/project")));
}

TEST_F(HomeProjectFinderTest, AFolderHoldsRepositoriesOnlyBelowItselfAndNotThroughLinks) {
    markRepository(home + s("/work/deep/er/one"));
    EXPECT_TRUE(HomeProjectFinder::holdsRepositories(home + s("/work")));
    EXPECT_FALSE(HomeProjectFinder::holdsRepositories(home + s("/work/deep/er/one")));

    markRepository(home + s("/cache/.hidden/repo"));
    markRepository(home + s("/cache/node_modules/repo"));
    QFile::link(home + s("/work"), home + s("/cache/link"));
    EXPECT_FALSE(HomeProjectFinder::holdsRepositories(home + s("/cache")));
    EXPECT_FALSE(HomeProjectFinder::holdsRepositories(home + s("/missing")));
}

TEST_F(HomeProjectFinderTest, ACancelledSearchStops) {
    markRepository(home + s("/projects/app"));
    CancellationToken cancellation;
    cancellation.cancel();
    EXPECT_THROW(finder.find(AgentHistoryIndex::build(locations), cancellation), CancelledError);
}

} // namespace
} // namespace corvane
