#include "organize/OrganizePlanner.h"

#include "OrganizeFixtures.h"
#include "organize/HomeProjectFinder.h"
#include "organize/OrganizeCandidates.h"
#include "organize/ShellProfile.h"
#include "platform/Volumes.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace corvane {
namespace {

using OrganizePlanner::remoteOwner;
using test::s;

// "path: status(detail)" per entry, relative to `home`, so a failure shows the whole plan.
QStringList described(const QList<OrganizeEntry>& plan, const QString& home) {
    QStringList lines;
    for (const OrganizeEntry& entry : plan) {
        QString line =
            entry.candidate.path.mid(home.size() + 1) + s(": ") + caseName(entry.status.kind);
        if (!entry.status.detail.isEmpty())
            line += u'(' + entry.status.detail + u')';
        lines.append(line);
    }
    return lines;
}

class OrganizePlannerTest : public ::testing::Test {
protected:
    void SetUp() override {
        locations = test::makeAgentHome();
        home = locations.home;
        destination = home + s("/Code");
        QDir().mkpath(destination);
    }

    QList<OrganizeCandidate> candidates(const QStringList& manual = {}) const {
        const AgentHistoryIndex index = AgentHistoryIndex::build(locations);
        const HomeProjectFinder finder{home, destination, false};
        return OrganizeCandidates::build(finder.find(index), manual, index);
    }

    AgentLocations locations;
    QString home;
    QString destination;
};

TEST_F(OrganizePlannerTest, EveryRuleOfThePlanOverARealHome) {
    if (!QFileInfo::exists(s("/usr/bin/lsof")) && !QFileInfo::exists(s("/usr/sbin/lsof")))
        GTEST_SKIP() << "lsof is not installed here";
    for (const char* repo : {"/a/app", "/b/app", "/busy/api", "/code/tool", "/shop", "/taken/lib",
                             "/Documents/Codex/2026-01-05/x"})
        test::makeRepo(home + s(repo));
    QDir().mkpath(home + s("/busy/api/src"));
    QDir().mkpath(destination + s("/lib"));
    QDir().mkpath(destination + s("/done"));
    test::writeFile(home + s("/.zshrc"), "export PATH=\"$HOME/code/tool/bin:$PATH\"\n");

    QProcess child;
    child.setWorkingDirectory(home + s("/busy/api/src"));
    child.start(s("/bin/sleep"), {s("30")});
    ASSERT_TRUE(child.waitForStarted());
    const QList<ProcessInspector::WorkingProcess> processes = ProcessInspector().workingProcesses();
    child.kill();
    child.waitForFinished();

    const QList<OrganizeEntry> plan = OrganizePlanner::plan(
        candidates({home + s("/gone"), destination + s("/done")}), OrganizeLayout::flat,
        destination, ShellProfile::read(home, false), processes);
    EXPECT_EQ(described(plan, home),
              QStringList({s("a/app: ready"), s("b/app: duplicateDestination"),
                           s("busy/api: busy(process sleep)"), s("code/tool: usedByShell(.zshrc)"),
                           s("shop: ready"), s("taken/lib: destinationTaken"), s("gone: missing"),
                           s("Code/done: alreadyOrganized")}));
    EXPECT_EQ(plan[0].targetPath(), destination + s("/app"));
    EXPECT_EQ(plan[0].group, std::nullopt);
}

TEST_F(OrganizePlannerTest, ADanglingLinkAtTheTargetTakesThePlace) {
    test::makeRepo(home + s("/x/site"));
    test::makeRepo(home + s("/y/web"));
    QFile::link(home + s("/nowhere"), destination + s("/site"));
    const QList<OrganizeEntry> plan =
        OrganizePlanner::plan(candidates(), OrganizeLayout::flat, destination, {}, {});
    EXPECT_EQ(described(plan, home),
              QStringList({s("x/site: destinationTaken"), s("y/web: ready")}));
}

TEST_F(OrganizePlannerTest, AProjectOnAnotherFileSystemIsSentToArchive) {
    const std::optional<quint64> shm = Volumes::identifier(s("/dev/shm"));
    if (!shm || shm == Volumes::identifier(home))
        GTEST_SKIP() << "/dev/shm is not a file system of its own here";
    QTemporaryDir elsewhere(s("/dev/shm/corvane-plan-XXXXXX"));
    ASSERT_TRUE(elsewhere.isValid());
    const QString project = test::makeRepo(elsewhere.path() + s("/disk-app"));
    test::makeRepo(home + s("/local-app"));

    const QList<OrganizeEntry> plan =
        OrganizePlanner::plan(candidates({project}), OrganizeLayout::flat, destination, {}, {});
    ASSERT_EQ(plan.size(), 2);
    EXPECT_EQ(plan[0].status.kind, OrganizeStatus::Case::ready);
    EXPECT_EQ(plan[1].candidate.path, project);
    EXPECT_EQ(plan[1].status.kind, OrganizeStatus::Case::otherDisk);
}

TEST_F(OrganizePlannerTest, GroupsFollowTheAgentThatWorkedThereOrTheRemotesOwner) {
    for (const char* repo : {"/p/claude-app", "/p/codex-app", "/p/plain", "/Desktop/byClaude/notes",
                             "/p/ByCodex-tools"})
        test::makeRepo(home + s(repo));
    test::writeClaudeSessionIn(locations, home + s("/p/claude-app"));
    test::writeCodexThreads(locations,
                            {home + s("/p/codex-app"), home + s("/Desktop/byClaude/notes")});
    test::addRemote(home + s("/p/claude-app"), s("origin"), s("git@github.com:alice/app.git"));
    test::addRemote(home + s("/p/codex-app"), s("origin"), s("https://gitlab.com/bob/app"));
    test::addRemote(home + s("/p/plain"), s("origin"), s("/srv/git/plain.git"));

    const QList<OrganizeCandidate> found = candidates();
    QStringList byAgent;
    QStringList byOwner;
    for (const OrganizeCandidate& candidate : found) {
        byAgent.append(
            OrganizePlanner::groupFor(candidate, OrganizeLayout::byAgent).value_or(s("-")));
        byOwner.append(
            OrganizePlanner::groupFor(candidate, OrganizeLayout::byOwner).value_or(s("-")));
    }
    // Desktop/byClaude/notes, p/ByCodex-tools, p/claude-app, p/codex-app, p/plain.
    EXPECT_EQ(byAgent, QStringList({s("claude"), s("codex"), s("claude"), s("codex"), s("local")}));
    EXPECT_EQ(byOwner, QStringList({s("local"), s("local"), s("alice"), s("bob"), s("local")}));

    const QList<OrganizeEntry> plan =
        OrganizePlanner::plan(found, OrganizeLayout::byAgent, destination, {}, {});
    EXPECT_EQ(plan[2].targetPath(), destination + s("/claude/claude-app"));
    EXPECT_EQ(plan[2].status.kind, OrganizeStatus::Case::ready);
}

TEST(OrganizePlanner, TheOwnerIsThePartBeforeTheRepositoryName) {
    EXPECT_EQ(remoteOwner(s("git@github.com:owner/repo.git")), s("owner"));
    EXPECT_EQ(remoteOwner(s("https://github.com/owner/repo")), s("owner"));
    EXPECT_EQ(remoteOwner(s("ssh://git@host:2222/group/sub/repo.git")), s("sub"));
    EXPECT_EQ(remoteOwner(s("/srv/repo.git")), std::nullopt);
    EXPECT_EQ(remoteOwner(s("file:///srv/owner/repo.git")), std::nullopt);
    EXPECT_EQ(remoteOwner(s("host:repo")), std::nullopt);
    // The owner becomes a folder name; one that names another folder is no owner.
    EXPECT_EQ(remoteOwner(s("https://host/../repo")), std::nullopt);
}

} // namespace
} // namespace corvane
