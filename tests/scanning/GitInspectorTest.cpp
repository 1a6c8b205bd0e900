#include "scanning/GitInspector.h"

#include "platform/InputLimits.h"
#include "scanning/GitClient.h"
#include "scanning/GitIgnoreEvaluator.h"
#include "scanning/ScanWording.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTimeZone>
#include <algorithm>
#include <gtest/gtest.h>

using namespace corvane;
using Kind = GitChange::Kind;

namespace {

QString s(const char* text) {
    return QString::fromUtf8(text);
}

// Records as git writes them with -z: each one ends with a NUL byte.
QByteArray records(std::initializer_list<const char*> lines) {
    QByteArray bytes;
    for (const char* line : lines) {
        bytes += line;
        bytes += '\0';
    }
    return bytes;
}

QList<GitChange> sortedByPath(QList<GitChange> changes) {
    std::sort(changes.begin(), changes.end(),
              [](const GitChange& a, const GitChange& b) { return a.path < b.path; });
    return changes;
}

void writeIn(const QString& repo, const char* path, const QByteArray& contents = "x\n") {
    test::writeFile(repo + u'/' + s(path), contents);
}

const QString hash(40, u'0');

} // namespace

TEST(GitStatusParsing, TrickyPathsAndRecordsThatOnlyLookLikeOthers) {
    const QByteArray stream = records({
        "# branch.oid (initial)", "# branch.head (detached)", "# stash 2",
        "2 R. N... 100644 100644 100644 aaaa bbbb R100 moved.txt",
        "1 .M N... 1 1 1 a b c.txt", // the old path of the rename, not a change
        "2 C. N... 100644 100644 100644 aaaa bbbb C75 copy.txt",
        "? x", // the old path again: a file may be named like any record
        "1 .M S.M. 160000 160000 160000 aaaa bbbb vendor/sub module",
        "1 AD N... 000000 100644 000000 aaaa bbbb added then removed.txt", "? line\nbreak.txt",
        "? folder/",
        "x future record type", // may be a change all the same
    });
    const GitStatusReport report = GitInspector::parseStatus(stream);
    EXPECT_EQ(report.branch, std::nullopt);
    EXPECT_FALSE(report.hasUpstream);
    const QList<GitChange> expected{{s("moved.txt"), Kind::renamed},
                                    {s("copy.txt"), Kind::renamed},
                                    {s("vendor/sub module"), Kind::modified},
                                    {s("added then removed.txt"), Kind::deleted},
                                    {s("line\nbreak.txt"), Kind::untracked},
                                    {s("folder/"), Kind::untracked},
                                    {s("x future record type"), Kind::modified}};
    EXPECT_EQ(report.changes, expected);
}

TEST(GitStatusParsing, StatusFollowsItsPriorityOrder) {
    auto report = [](bool upstream, std::optional<std::pair<int, int>> counts, int changes = 0) {
        GitStatusReport r;
        r.hasUpstream = upstream;
        if (counts) {
            r.hasAheadBehind = true;
            r.ahead = counts->first;
            r.behind = counts->second;
        }
        for (int i = 0; i < changes; ++i)
            r.changes.append({QStringLiteral("f%1").arg(i), Kind::modified});
        return r;
    };
    struct Case {
        GitStatusReport report;
        bool hasRemote;
        GitStatus expected;
    };
    const Case cases[] = {
        {report(true, std::pair{4, 0}, 2), true, GitStatus::dirty(2)},
        {report(false, std::nullopt, 1), false, GitStatus::dirty(1)},
        {report(true, std::pair{4, 2}), true, GitStatus::aheadOfRemote(4)},
        {report(false, std::nullopt), true, GitStatus::noUpstream()},
        {report(false, std::nullopt), false, GitStatus::noRemote()},
        {report(true, std::nullopt), true, GitStatus::upstreamGone()},
        {report(true, std::pair{0, 0}), true, GitStatus::fullySynced()},
        {report(true, std::pair{0, 3}), true, GitStatus::fullySynced()},
    };
    for (const Case& c : cases)
        EXPECT_EQ(GitInspector::decideStatus(c.report, c.hasRemote), c.expected)
            << c.expected.caseName().toStdString();

    // An ahead/behind line that cannot be read is no proof of being in sync.
    const GitStatusReport garbled =
        GitInspector::parseStatus(records({"# branch.upstream origin/main", "# branch.ab +x -0"}));
    EXPECT_EQ(GitInspector::decideStatus(garbled, true), GitStatus::upstreamGone());

    // A change record cut short, or of a kind this version does not know, still means there is
    // work in the tree; only ignored files are no change.
    const QByteArray synced = records({"# branch.upstream origin/main", "# branch.ab +0 -0"});
    for (const char* record : {"1 .M N... 100644", "u UU", "2 R. N...", "3 new kind of record"}) {
        const GitStatusReport report = GitInspector::parseStatus(synced + records({record}));
        EXPECT_EQ(GitInspector::decideStatus(report, true), GitStatus::dirty(1)) << record;
    }
    const GitStatusReport ignoredOnly =
        GitInspector::parseStatus(synced + records({"! debug.log"}));
    EXPECT_EQ(GitInspector::decideStatus(ignoredOnly, true), GitStatus::fullySynced());
}

TEST(GitStatusParsing, OutputOverItsLimitsIsRefusedWholeAndNeverTakenForClean) {
    const QByteArray synced = records({"# branch.upstream origin/main", "# branch.ab +0 -0"});
    const QByteArray longest = "? " + QByteArray(InputLimits::lineBytes - 2, 'x');
    EXPECT_EQ(GitInspector::decideStatus(GitInspector::parseStatus(synced + longest + '\0'), true),
              GitStatus::dirty(1));

    // One byte more: nothing of the output is taken, not even its headers, and the status is
    // unknown rather than clean.
    const GitStatusReport refused =
        GitInspector::parseStatus(synced + longest + "x" + '\0' + records({"? other.txt"}));
    EXPECT_EQ(refused.problem, s("a line is longer than 1 MB, more than such a line can be"));
    EXPECT_TRUE(refused.changes.isEmpty());
    EXPECT_FALSE(refused.hasUpstream);
    EXPECT_EQ(GitInspector::decideStatus(refused, true), GitStatus::notARepo());

    const QByteArray branch = "refs/heads/main\trefs/remotes/origin/main\t\n";
    const GitRefReport refs =
        GitInspector::parseRefs(branch + QByteArray(InputLimits::lineBytes + 1, 'x') + '\n');
    EXPECT_TRUE(refs.problem);
    EXPECT_TRUE(refs.localBranches.isEmpty());
}

TEST(GitLocalOnlyWork, AnythingThatMayExistOnlyHereCounts) {
    const QString synced = s("main\trefs/remotes/origin/main\t\n"
                             "release\trefs/remotes/origin/release\t[behind 2]\n");
    auto localOnly = [](std::optional<QString> stash, std::optional<QString> branches) {
        return GitInspector::hasLocalOnlyWork({std::move(stash), std::move(branches)});
    };
    EXPECT_FALSE(localOnly(QString(), synced));
    EXPECT_FALSE(localOnly(QString(), QString()));
    EXPECT_TRUE(localOnly(std::nullopt, synced));
    EXPECT_TRUE(localOnly(QString(), std::nullopt));
    EXPECT_TRUE(localOnly(s("stash@{0}: WIP on main: 1234 First\n"), synced));
    for (const char* branch :
         {"topic\trefs/remotes/origin/topic\t[ahead 1]\n",
          "topic\trefs/remotes/origin/topic\t[ahead 1, behind 3]\n",
          "topic\trefs/remotes/origin/topic\t[gone]\n", "topic\t\t\n", "unreadable line\n"})
        EXPECT_TRUE(localOnly(QString(), synced + s(branch))) << branch;

    // A branch may be called "stash"; only the stash ref itself is a stash.
    const GitRefReport refs = GitInspector::parseRefs(
        "refs/heads/stash\trefs/remotes/origin/stash\t\n"
        "refs/heads/feature/x\trefs/remotes/origin/feature/x\t[behind 1]\n");
    EXPECT_FALSE(refs.hasStash);
    EXPECT_EQ(refs.localBranches, s("stash\trefs/remotes/origin/stash\t\n"
                                    "feature/x\trefs/remotes/origin/feature/x\t[behind 1]\n"));
    EXPECT_TRUE(GitInspector::parseRefs("refs/stash\t\t\n").hasStash);
}

TEST(GitRemoteListing, OriginWinsAndItsFetchUrlIsTaken) {
    const GitRemote origin{s("origin"), s("https://example.invalid/me/my tool.git")};
    const std::optional<GitRemote> fromVerbose =
        GitInspector::chooseRemote("bare\t\n"
                                   "origin\thttps://example.invalid/me/my tool.git (fetch)\n"
                                   "origin\tssh://push.example.invalid/me/tool (push)\n"
                                   "upstream\thttps://example.invalid/up.git (fetch)\n"
                                   "upstream\thttps://example.invalid/up.git (push)\n");
    ASSERT_TRUE(fromVerbose);
    EXPECT_EQ(fromVerbose->name, origin.name);
    EXPECT_EQ(fromVerbose->fetchURL, origin.fetchURL);

    const std::optional<GitRemote> withoutURL = GitInspector::chooseRemote("bare\t\nzeta\t\n");
    ASSERT_TRUE(withoutURL);
    EXPECT_EQ(withoutURL->name, s("bare"));
    EXPECT_EQ(withoutURL->fetchURL, std::nullopt);
    EXPECT_EQ(GitInspector::chooseRemote("\n \n"), std::nullopt);
}

TEST(GitClient, RunsGitInTheTreeWithSafeOptionsAndEnvironment) {
    const QString folder = test::makeTempDir();
    const QString fake = folder + s("/git");
    test::writeScript(fake, "for a in \"$@\"; do echo \"[$a]\"; done\n"
                            "echo \"locks=$GIT_OPTIONAL_LOCKS prompt=$GIT_TERMINAL_PROMPT\"\n"
                            "cat\n");
    const test::ScopedEnvironment useFake("CORVANE_TOOL_GIT", fake);
    const ProcessResult result =
        GitClient::run(s("/some tree"), {s("status"), s("-z")}, QByteArray("input"));
    EXPECT_EQ(result.standardOutput,
              QByteArray("[-C]\n[/some tree]\n[-c]\n[core.quotepath=off]\n"
                         "[-c]\n[core.fsmonitor=false]\n[-c]\n[status.showUntrackedFiles=normal]\n"
                         "[status]\n[-z]\n"
                         "locks=0 prompt=0\ninput"));
}

TEST(GitInspection, DirtyTreeListsEveryKindOfChangeOnce) {
    const test::SyncedRepo synced = test::makeSyncedRepo();
    const QString repo = synced.repo;
    test::commitFiles(repo, {{s("kept.txt"), "a\n"},
                             {s("removed.txt"), "b\n"},
                             {s("old name.txt"), "some longer contents so a rename is found\n"}});
    test::git(repo, {s("push"), s("-q")});
    writeIn(repo, "kept.txt", "changed\n");
    writeIn(repo, "staged.txt");
    test::git(repo, {s("add"), s("staged.txt")});
    QFile::remove(repo + s("/removed.txt"));
    test::git(repo, {s("mv"), s("old name.txt"), s("new näme.txt")});
    writeIn(repo, "loose.txt");
    writeIn(repo, "ünïcode ☃.txt");

    const GitDetails details = GitInspector::inspect(repo);
    const QList<GitChange> expected{
        {s("kept.txt"), Kind::modified},    {s("loose.txt"), Kind::untracked},
        {s("new näme.txt"), Kind::renamed}, {s("removed.txt"), Kind::deleted},
        {s("staged.txt"), Kind::added},     {s("ünïcode ☃.txt"), Kind::untracked}};
    EXPECT_EQ(sortedByPath(details.changes), expected);
    EXPECT_EQ(details.status, GitStatus::dirty(6));
    EXPECT_EQ(details.branch, s("main"));
    EXPECT_EQ(details.remoteURL, synced.remote);
    EXPECT_EQ(details.lastCommitDate,
              QDateTime::fromSecsSinceEpoch(test::fixtureCommitSeconds, QTimeZone::utc()));
}

TEST(GitInspection, SettingsThatHideChangesAreOverruled) {
    const test::SyncedRepo synced = test::makeSyncedRepo();
    const QString repo = synced.repo;
    const test::SyncedRepo library = test::makeSyncedRepo();
    test::git(repo, {s("-c"), s("protocol.file.allow=always"), s("submodule"), s("add"), s("-q"),
                     library.remote, s("lib")});
    // The submodule asks to be left out of every status.
    test::git(repo, {s("config"), s("-f"), s(".gitmodules"), s("submodule.lib.ignore"), s("all")});
    test::commitFiles(repo,
                      {{s("old name.txt"), "contents long enough to be found as a rename\n"}});
    // Verifying a signature needs keys this machine lacks: git says so on the log's output.
    const QString key = test::makeTempDir() + s("/signing");
    const ProcessResult keygen = ProcessRunner::system().run(
        s("/usr/bin/ssh-keygen"), {s("-q"), s("-t"), s("ed25519"), s("-N"), s(""), s("-f"), key},
        std::nullopt, {}, 30);
    ASSERT_EQ(keygen.exitCode, 0) << keygen.standardError.toStdString();
    test::git(repo, {s("-c"), s("gpg.format=ssh"), s("-c"), s("user.signingKey=") + key + s(".pub"),
                     s("commit"), s("-q"), s("--allow-empty"), s("-S"), s("-m"), s("Signed")});
    test::git(repo, {s("push"), s("-q")});
    for (const char* setting :
         {"status.showUntrackedFiles=no", "status.renames=false", "diff.ignoreSubmodules=all",
          "log.showSignature=true", "status.aheadBehind=false", "color.ui=always"}) {
        const QString pair = s(setting);
        test::git(repo, {s("config"), pair.section(u'=', 0, 0), pair.section(u'=', 1)});
    }
    test::git(repo + s("/lib"), {s("config"), s("status.showUntrackedFiles"), s("no")});

    const GitDetails clean = GitInspector::inspect(repo);
    EXPECT_EQ(clean.status, GitStatus::fullySynced());
    EXPECT_EQ(clean.lastCommitDate,
              QDateTime::fromSecsSinceEpoch(test::fixtureCommitSeconds, QTimeZone::utc()));

    writeIn(repo, "loose.txt");
    test::git(repo, {s("mv"), s("old name.txt"), s("new name.txt")});
    writeIn(repo, "lib/only here.txt");
    const GitDetails dirty = GitInspector::inspect(repo);
    EXPECT_EQ(sortedByPath(dirty.changes), (QList<GitChange>{{s("lib"), Kind::modified},
                                                             {s("loose.txt"), Kind::untracked},
                                                             {s("new name.txt"), Kind::renamed}}));
    EXPECT_EQ(dirty.status, GitStatus::dirty(3));
}

TEST(GitInspection, MergeConflictIsAConflictedChange) {
    const QString repo = test::makeRepo();
    test::commitFiles(repo, {{s("shared.txt"), "base\n"}});
    test::git(repo, {s("checkout"), s("-q"), s("-b"), s("other")});
    test::commitFiles(repo, {{s("shared.txt"), "theirs\n"}});
    test::git(repo, {s("checkout"), s("-q"), s("main")});
    test::commitFiles(repo, {{s("shared.txt"), "ours\n"}});
    EXPECT_NE(test::gitAllowingFailure(repo, {s("merge"), s("-q"), s("other")}).exitCode, 0);

    const GitDetails details = GitInspector::inspect(repo);
    EXPECT_EQ(details.changes, (QList<GitChange>{{s("shared.txt"), Kind::conflicted}}));
    EXPECT_EQ(details.status, GitStatus::dirty(1));
}

TEST(GitInspection, SyncStatesAgainstARealRemote) {
    const test::SyncedRepo synced = test::makeSyncedRepo();
    const QString repo = synced.repo;
    EXPECT_EQ(GitInspector::inspect(repo).status, GitStatus::fullySynced());

    // Only behind: another clone pushed three commits that this one has fetched.
    const QString other = test::cloneRepo(synced.remote);
    for (int i = 0; i < 3; ++i)
        test::commitFiles(other, {{QStringLiteral("other%1.txt").arg(i), "o\n"}});
    test::git(other, {s("push"), s("-q")});
    test::git(repo, {s("fetch"), s("-q")});
    EXPECT_EQ(GitInspector::inspect(repo).status, GitStatus::fullySynced());

    test::git(repo, {s("merge"), s("-q"), s("--ff-only"), s("origin/main")});
    test::commitFiles(repo, {{s("a.txt"), "a\n"}});
    test::commitFiles(repo, {{s("b.txt"), "b\n"}});
    EXPECT_EQ(GitInspector::inspect(repo).status, GitStatus::aheadOfRemote(2));

    test::git(repo, {s("checkout"), s("-q"), s("-b"), s("topic")});
    EXPECT_EQ(GitInspector::inspect(repo).status, GitStatus::noUpstream());

    test::pushWithUpstream(repo);
    EXPECT_EQ(GitInspector::inspect(repo).status, GitStatus::fullySynced());
    test::git(other, {s("push"), s("-q"), s("origin"), s("--delete"), s("topic")});
    test::git(repo, {s("fetch"), s("-q"), s("--prune")});
    const GitDetails gone = GitInspector::inspect(repo);
    EXPECT_EQ(gone.status, GitStatus::upstreamGone());
    EXPECT_EQ(gone.branch, s("topic"));
}

TEST(GitInspection, ADirtyTreeStillSaysWhatItsCommitsAreMissing) {
    const test::SyncedRepo synced = test::makeSyncedRepo();
    const QString repo = synced.repo;
    test::commitFiles(repo, {{s("a.txt"), "a\n"}});
    for (const char* name : {"x.txt", "y.txt", "z.txt"})
        test::writeFile(repo + u'/' + QLatin1String(name), "new\n");
    const GitDetails ahead = GitInspector::inspect(repo);
    EXPECT_EQ(ahead.status, GitStatus::dirty(3));
    EXPECT_EQ(ahead.pushState, GitStatus::aheadOfRemote(1));
    EXPECT_EQ(ScanWording::gitDetailsWords(ahead),
              s("3 uncommitted changes · 1 commit not pushed"));

    test::git(repo, {s("checkout"), s("-q"), s("-b"), s("topic")});
    EXPECT_EQ(ScanWording::gitDetailsWords(GitInspector::inspect(repo)),
              s("3 uncommitted changes · branch has no upstream"));
    // Pushed work adds nothing to what the tree says.
    test::pushWithUpstream(repo);
    EXPECT_EQ(ScanWording::gitDetailsWords(GitInspector::inspect(repo)),
              s("3 uncommitted changes"));
}

TEST(GitInspection, DetachedHeadHasNoBranchAndNoUpstream) {
    const test::SyncedRepo synced = test::makeSyncedRepo();
    test::git(synced.repo, {s("checkout"), s("-q"), s("--detach")});
    const GitDetails withRemote = GitInspector::inspect(synced.repo);
    EXPECT_EQ(withRemote.branch, std::nullopt);
    EXPECT_EQ(withRemote.status, GitStatus::noUpstream());

    const QString local = test::makeRepo();
    test::commitFiles(local, {{s("a.txt"), "a\n"}});
    test::git(local, {s("checkout"), s("-q"), s("--detach")});
    const GitDetails withoutRemote = GitInspector::inspect(local);
    EXPECT_EQ(withoutRemote.branch, std::nullopt);
    EXPECT_EQ(withoutRemote.status, GitStatus::noRemote());
    EXPECT_EQ(withoutRemote.remoteURL, std::nullopt);
}

TEST(GitInspection, FreshRepositoryWithoutCommits) {
    const QString repo = test::makeRepo();
    const GitDetails details = GitInspector::inspect(repo);
    EXPECT_EQ(details.status, GitStatus::noRemote());
    EXPECT_EQ(details.branch, s("main"));
    EXPECT_EQ(details.lastCommitDate, std::nullopt);

    test::addRemote(repo, s("origin"), test::makeBareRepo());
    EXPECT_EQ(GitInspector::inspect(repo).status, GitStatus::noUpstream());
    const LocalWorkListings unborn = GitInspector::localWork(repo);
    EXPECT_EQ(unborn.localBranches, QString());
    EXPECT_EQ(unborn.stashList, QString());
}

TEST(GitInspection, OriginsUrlWinsOverOtherRemotes) {
    const QString repo = test::makeRepo();
    test::commitFiles(repo, {{s("a.txt"), "a\n"}});
    test::addRemote(repo, s("upstream"), s("https://example.invalid/upstream/tool.git"));
    EXPECT_EQ(GitInspector::inspect(repo).remoteURL,
              s("https://example.invalid/upstream/tool.git"));
    test::addRemote(repo, s("origin"), s("git@example.invalid:me/tool.git"));
    const GitDetails details = GitInspector::inspect(repo);
    EXPECT_EQ(details.remoteURL, s("git@example.invalid:me/tool.git"));
    EXPECT_EQ(details.repoDisplayName(), s("me/tool"));
    EXPECT_EQ(details.status, GitStatus::noUpstream());
}

TEST(GitInspection, KeepsTheFirstFiveHundredChangesInGitsOrder) {
    const QString repo = test::makeRepo();
    test::commitFiles(repo, {{s("README.md"), "r\n"}});
    for (int i = 0; i < 800; ++i)
        writeIn(repo, QStringLiteral("file-%1.txt").arg(799 - i).toUtf8().constData());
    const QByteArray own =
        test::git(repo, {s("status"), s("--porcelain=v2"), s("-z")}).standardOutput;
    QList<GitChange> first;
    for (const QByteArray& record : own.split('\0')) {
        if (record.startsWith("? ") && first.size() < 500)
            first.append({QString::fromUtf8(record.mid(2)), Kind::untracked});
    }

    const GitDetails details = GitInspector::inspect(repo);
    EXPECT_EQ(details.changes.size(), 500);
    EXPECT_EQ(details.changes, first);
    EXPECT_EQ(details.status, GitStatus::dirty(500));
}

TEST(GitInspection, StashesAndOtherBranchesRevealWorkTheStatusCannotSee) {
    const test::SyncedRepo synced = test::makeSyncedRepo();
    const QString repo = synced.repo;
    EXPECT_FALSE(GitInspector::hasLocalOnlyWork(GitInspector::localWork(repo)));

    // A branch ahead of its upstream while the current one is in sync.
    test::git(repo, {s("checkout"), s("-q"), s("-b"), s("side"), s("--track"), s("origin/main")});
    test::commitFiles(repo, {{s("side.txt"), "s\n"}});
    test::git(repo, {s("checkout"), s("-q"), s("main")});
    EXPECT_EQ(GitInspector::inspect(repo).status, GitStatus::fullySynced());
    const LocalWorkListings withSide = GitInspector::localWork(repo);
    EXPECT_TRUE(withSide.localBranches->contains(s("side\trefs/remotes/origin/main\t[ahead 1]")));
    EXPECT_TRUE(GitInspector::hasLocalOnlyWork(withSide));
    test::git(repo, {s("branch"), s("-q"), s("-D"), s("side")});

    writeIn(repo, "README.md", "edited\n");
    test::git(repo, {s("stash"), s("-q")});
    EXPECT_EQ(GitInspector::inspect(repo).status, GitStatus::fullySynced());
    const LocalWorkListings withStash = GitInspector::localWork(repo);
    EXPECT_TRUE(withStash.stashList->startsWith(s("stash@{0}")));
    EXPECT_TRUE(GitInspector::hasLocalOnlyWork(withStash));
}

TEST(GitInspection, FoldersGitCannotReadAreNotRepositories) {
    const GitDetails notARepo;
    const QString plain = test::makeTempDir();
    EXPECT_EQ(GitInspector::inspect(plain), notARepo);
    EXPECT_EQ(GitInspector::localWork(plain).stashList, std::nullopt);
    EXPECT_EQ(GitInspector::inspect(plain + s("/missing")), notARepo);

    const QString corrupt = test::makeRepo();
    test::commitFiles(corrupt, {{s("a.txt"), "a\n"}});
    test::writeFile(corrupt + s("/.git/HEAD"), "garbage\n");
    EXPECT_EQ(GitInspector::inspect(corrupt), notARepo);

    const test::SyncedRepo synced = test::makeSyncedRepo();
    const test::ScopedEnvironment missing("CORVANE_TOOL_GIT", plain + s("/no-git-here"));
    EXPECT_EQ(GitInspector::inspect(synced.repo), notARepo);
    const LocalWorkListings unknown = GitInspector::localWork(synced.repo);
    EXPECT_EQ(unknown.stashList, std::nullopt);
    EXPECT_EQ(unknown.localBranches, std::nullopt);
}

// Costs the ten seconds of the time limit, once.
TEST(GitInspection, GitThatHangsIsStoppedAndCountsAsNoRepository) {
    const test::SyncedRepo synced = test::makeSyncedRepo();
    const QString hanging = test::makeTempDir() + s("/git");
    test::writeScript(hanging, "exec sleep 60\n");
    const test::ScopedEnvironment useHanging("CORVANE_TOOL_GIT", hanging);
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(GitInspector::inspect(synced.repo), GitDetails{});
    EXPECT_LT(timer.elapsed(), 50'000);
}

TEST(GitInspection, WorkingTreeIsTheNearestFolderHoldingGit) {
    const QString repo = test::makeRepo();
    QDir().mkpath(repo + s("/packages/app"));
    EXPECT_EQ(GitInspector::enclosingWorkingTree(repo + s("/packages/app")), repo);
    EXPECT_EQ(GitInspector::enclosingWorkingTree(repo), repo);
    // A linked worktree or submodule has a ".git" file instead of a folder.
    test::writeFile(repo + s("/packages/app/.git"), "gitdir: elsewhere\n");
    EXPECT_EQ(GitInspector::enclosingWorkingTree(repo + s("/packages/app")),
              repo + s("/packages/app"));
    EXPECT_EQ(GitInspector::enclosingWorkingTree(test::makeTempDir()), std::nullopt);

    // A home folder kept in git (dotfiles) is no working tree for what lies in it.
    const QString home = test::makeRepo(test::makeTempDir(s("home")));
    QDir().mkpath(home + s("/code/tool"));
    const test::ScopedEnvironment homeIsHere("HOME", home);
    EXPECT_EQ(GitInspector::enclosingWorkingTree(home + s("/code/tool")), std::nullopt);
    EXPECT_EQ(GitInspector::enclosingWorkingTree(home), std::nullopt);
    test::makeRepo(home + s("/code"));
    EXPECT_EQ(GitInspector::enclosingWorkingTree(home + s("/code/tool")), home + s("/code"));
}

// A folder name is data: a repository in "-x" or "--version" is inspected like any other, and a
// nested tree named so is looked up as a path.
TEST(GitInspection, FoldersNamedLikeOptionsAreInspectedAsFolders) {
    const QString parent = test::makeTempDir();
    for (const QString& name : {s("-x"), s("--version")}) {
        const test::SyncedRepo synced = test::makeSyncedRepo();
        const QString repo = test::cloneRepo(synced.remote, parent + u'/' + name);
        writeIn(repo, "loose.txt");
        writeIn(repo, ".git/info/exclude", "out/\n");
        writeIn(repo, "out/a.o");
        EXPECT_EQ(GitIgnoreEvaluator::ignoredPaths(repo, {repo + s("/out")}),
                  QSet<QString>{repo + s("/out")})
            << name.toStdString();
        const GitDetails details = GitInspector::inspect(repo);
        EXPECT_EQ(details.changes, (QList<GitChange>{{s("loose.txt"), Kind::untracked}}))
            << name.toStdString();
        EXPECT_EQ(details.branch, s("main")) << name.toStdString();
        EXPECT_EQ(details.remoteURL, synced.remote) << name.toStdString();
        EXPECT_TRUE(GitInspector::localWork(repo).stashList.has_value()) << name.toStdString();

        const QString nested = test::makeRepo(repo + u'/' + name);
        test::commitFiles(nested, {{s("a.txt"), "a\n"}});
        const QString head =
            QString::fromUtf8(test::git(nested, {s("rev-parse"), s("HEAD")}).standardOutput)
                .trimmed();
        test::git(repo, {s("update-index"), s("--add"), s("--cacheinfo"),
                         s("160000,") + head + u',' + name});
        EXPECT_EQ(GitInspector::submodulesAmong(repo, {repo + u'/' + name}),
                  QSet<QString>{repo + u'/' + name})
            << name.toStdString();
    }
}
