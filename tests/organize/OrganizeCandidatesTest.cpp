#include "organize/OrganizeCandidates.h"

#include "OrganizeFixtures.h"
#include "organize/ShellProfile.h"
#include "platform/PlatformWords.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <gtest/gtest.h>

namespace corvane {
namespace {

using OrganizeCandidates::originRemote;
using test::s;

TEST(OrganizeCandidates, TheOriginRemoteComesFromTheRepositoryGitKeeps) {
    const QString repo = test::makeRepo();
    EXPECT_EQ(originRemote(repo), std::nullopt);
    test::addRemote(repo, s("upstream"), s("https://example.com/them/app.git"));
    test::addRemote(repo, s("origin"), s("git@github.com:me/app.git"));
    EXPECT_EQ(originRemote(repo), s("git@github.com:me/app.git"));

    // A linked worktree has a ".git" file and shares the main repository's config.
    test::commitFiles(repo, {{s("README.md"), "hello\n"}});
    const QString worktree = test::makeTempDir(s("wt")) + s("/feature");
    test::git(repo, {s("worktree"), s("add"), s("-b"), s("feature"), worktree});
    ASSERT_TRUE(QFileInfo(worktree + s("/.git")).isFile());
    EXPECT_EQ(originRemote(worktree), s("git@github.com:me/app.git"));

    EXPECT_EQ(originRemote(test::makeTempDir(s("plain"))), std::nullopt);
}

TEST(OrganizeCandidates, TheConfigIsReadTheWayGitReadsIt) {
    const QString folder = test::makeTempDir(s("hand"));
    test::writeFile(folder + s("/.git/config"), "[core]\n\turl = wrong\n"
                                                "[remote \"origin-old\"]\n  url = wrong-too\n"
                                                "; [remote \"origin\"]\n"
                                                "[Remote \"origin\"]\n"
                                                "\t# url = commented\n"
                                                "\tfetch = +refs/heads/*:refs/remotes/origin/*\n"
                                                "\tURL\t=  \"https://host/o w/r\\\"e\" # note\n"
                                                "\turl = second\n");
    EXPECT_EQ(originRemote(folder), s("https://host/o w/r\"e"));

    // A submodule's ".git" file names its git folder relative to itself.
    const QString module = folder + s("/modules/lib");
    test::writeFile(module + s("/.git"), "gitdir: ../../.git/modules/lib\n");
    test::writeFile(folder + s("/.git/modules/lib/config"),
                    "[remote \"origin\"]\n\turl = ../lib.git\n");
    EXPECT_EQ(originRemote(module), s("../lib.git"));
}

TEST(OrganizeCandidates, FoundFoldersComeFirstAndHistoryNamesTheLeadingAgent) {
    const AgentLocations locations = test::makeAgentHome();
    const QString home = locations.home;
    test::writeClaudeSessionIn(locations, home + s("/app"), s("a"));
    test::writeClaudeSessionIn(locations, home + s("/tie/web"), s("b"));
    test::writeCodexThreads(locations, {home + s("/app/sub"), home + s("/app"), home + s("/tie")});
    test::makeRepo(home + s("/folder/one"));
    const AgentHistoryIndex index = AgentHistoryIndex::build(locations);

    const QList<HomeProjectFinder::Found> found{
        {home + s("/tie"), false}, {home + s("/app"), false}, {home + s("/cli"), false}};
    const QList<OrganizeCandidate> candidates = OrganizeCandidates::build(
        found, {home + s("/folder"), home + s("/app/"), home + s("/none"), home + s("/folder")},
        index);

    QStringList paths;
    for (const OrganizeCandidate& candidate : candidates)
        paths.append(candidate.path);
    EXPECT_EQ(paths, QStringList({home + s("/tie"), home + s("/app"), home + s("/cli"),
                                  home + s("/folder"), home + s("/none")}));
    // A tie goes to the earlier agent; more history beats the order.
    EXPECT_EQ(candidates[0].leadingAgent, AgentKind::claudeCode);
    EXPECT_EQ(candidates[1].leadingAgent, AgentKind::codex);
    EXPECT_TRUE(candidates[1].hasAgentSessions);
    EXPECT_EQ(candidates[2].leadingAgent, std::nullopt);
    EXPECT_FALSE(candidates[2].hasAgentSessions);
    EXPECT_FALSE(candidates[1].isManual);
    EXPECT_TRUE(candidates[3].isManual);
    EXPECT_TRUE(candidates[3].isWorkspace);
    EXPECT_FALSE(candidates[4].isWorkspace);
}

TEST(OrganizeCandidates, AFolderAddedByHandIsRefusedWithTheFirstReasonThatApplies) {
    const QString home = test::makeTempDir(s("home"));
    QDir().mkpath(home + s("/Documents"));
    const HomeProjectFinder finder{home, home + s("/work/Code"), false};
    ShellReferences shell;
    ShellProfile::scan(s("export PATH=$HOME/tools/bin:$HOME/.hidden/bin:$PATH"), s(".zshrc"), home,
                       false, shell);
    const auto refusal = [&](const char* path) {
        return OrganizeCandidates::refusalForManualAddition(home + s(path), finder, shell)
            .value_or(s("(accepted)"));
    };

    EXPECT_EQ(refusal(""),
              s("Your home folder itself cannot be moved. Choose a project folder inside it."));
    EXPECT_EQ(OrganizeCandidates::refusalForManualAddition(s("/srv/app"), finder, shell),
              s("Organize gathers projects from your home folder; /srv/app is outside it."));
    EXPECT_EQ(refusal("/Documents"),
              home + s("/Documents is ") + PlatformWords::here().standardFolder +
                  s(" and is never moved. Choose a project folder inside it."));
    EXPECT_EQ(refusal("/.hidden"),
              home + s("/.hidden is inside a hidden folder, where apps keep their data."));
    EXPECT_EQ(refusal("/.hidden/bin/x"),
              home + s("/.hidden/bin/x is inside a hidden folder, where apps keep their data."));
    EXPECT_EQ(refusal("/tools"), s("Your shell profile uses ") + home +
                                     s("/tools; moving anything in it could break your terminal."));
    EXPECT_EQ(refusal("/work"),
              home + s("/work contains the destination folder, so it cannot be moved into it."));
    EXPECT_EQ(refusal("/work/Code"), home + s("/work/Code is already in the destination folder."));
    EXPECT_EQ(refusal("/work/Code/app"),
              home + s("/work/Code/app is already in the destination folder."));
    for (const char* accepted : {"/Documents/site", "/tools2", "/work/Coder", "/work/other"})
        EXPECT_EQ(refusal(accepted), s("(accepted)")) << accepted;
}

} // namespace
} // namespace corvane
