// Whole scans of trees where a careless scanner would offer work that exists
// nowhere else: other repositories inside a repository, submodules at commits
// only this machine has, a home folder kept in git, and folders git ignores
// where the walk itself would never go.

#include "ScanEvents.h"
#include "platform/Locations.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;
using testing::UnorderedElementsAreArray;

namespace {

QStringList itemURLs(const QList<ScanEvent>& events) {
    QStringList urls;
    for (const CleanableItem& item : test::allItems(events))
        urls.append(item.url);
    return urls;
}

bool isOfferedWhole(const QList<ScanEvent>& events, const QString& repo) {
    const CleanableItem* item = test::itemAt(events, repo);
    return item && item->kind == ArtifactKind::wholeProject;
}

GitStatus statusOf(const QList<ScanEvent>& events, const QString& projectURL) {
    const Project* project = test::projectAt(events, projectURL);
    for (const ScanEvent& event : test::ofKind(events, ScanEvent::Kind::gitStatusUpdated)) {
        if (project && event.projectID == project->id)
            return event.details.status;
    }
    return GitStatus::notARepo();
}

void push(const QString& repo) {
    test::git(repo, {s("push"), s("-q")});
}

void addSubmodule(const QString& repo, const QString& url, const QString& path) {
    // Git refuses local submodule URLs unless told that the file transport is
    // wanted.
    test::git(repo, {s("-c"), s("protocol.file.allow=always"), s("submodule"), s("add"), s("-q"),
                     url, path});
    test::commitAll(repo);
    push(repo);
}

// A repository at `path` with one commit, pushed to a bare "origin" that it
// tracks.
void makeSyncedRepoAt(const QString& path) {
    test::commitFiles(test::makeRepo(path), {{s("README.md"), "mine\n"}});
    test::addRemote(path, s("origin"), test::makeBareRepo());
    test::pushWithUpstream(path);
}

} // namespace

TEST(ScanSafety, AnUntrackedFileTheUsersSettingsHideStillCounts) {
    const test::SyncedRepo synced = test::makeSyncedRepo();
    const QString repo = synced.repo;
    test::git(repo, {s("config"), s("status.showUntrackedFiles"), s("no")});
    EXPECT_TRUE(isOfferedWhole(test::scanToEnd(repo), repo));

    test::writeFile(repo + s("/notes.txt"), "only here");
    const QList<ScanEvent> events = test::scanToEnd(repo);
    EXPECT_EQ(statusOf(events, repo), GitStatus::dirty(1));
    EXPECT_FALSE(isOfferedWhole(events, repo));
}

TEST(ScanSafety, ARepositoryHoldingAnotherRepositoryInAnIgnoredFolderIsNotOfferedWhole) {
    const test::SyncedRepo synced = test::makeSyncedRepo();
    const QString repo = synced.repo;
    test::commitFiles(repo, {{s(".gitignore"), "scratch/\n"}, {s("package.json"), "{}"}});
    push(repo);
    test::writeFile(repo + s("/scratch/notes.txt"), "x");
    QList<ScanEvent> events = test::scanToEnd(repo);
    EXPECT_TRUE(isOfferedWhole(events, repo));
    EXPECT_TRUE(test::itemAt(events, repo + s("/scratch")));

    // A clone kept there, even a clean one, is a repository the outer one knows
    // nothing about.
    const QString tool = test::cloneRepo(test::makeSyncedRepo().remote, repo + s("/scratch/tool"));
    events = test::scanToEnd(repo);
    EXPECT_EQ(statusOf(events, tool), GitStatus::fullySynced());
    EXPECT_FALSE(isOfferedWhole(events, repo));
    EXPECT_FALSE(test::itemAt(events, repo + s("/scratch")));

    test::writeFile(tool + s("/draft.txt"), "only here");
    events = test::scanToEnd(repo);
    EXPECT_EQ(statusOf(events, repo), GitStatus::fullySynced());
    EXPECT_EQ(statusOf(events, tool), GitStatus::dirty(1));
    EXPECT_FALSE(isOfferedWhole(events, repo));
    EXPECT_FALSE(test::itemAt(events, repo + s("/scratch")));
    EXPECT_FALSE(test::itemAt(events, tool));
}

TEST(ScanSafety, ASubmoduleMustBeAtACommitItsRemoteHas) {
    const test::SyncedRepo library = test::makeSyncedRepo();
    const QString repo = test::makeSyncedRepo().repo;
    addSubmodule(repo, library.remote, s("lib"));
    const QString lib = repo + s("/lib");
    QList<ScanEvent> events = test::scanToEnd(repo);
    ASSERT_TRUE(test::projectAt(events, lib));
    EXPECT_EQ(test::projectAt(events, lib)->gitRepoURL, lib);
    EXPECT_TRUE(isOfferedWhole(events, repo));

    // A fix made in the submodule on no branch, recorded and pushed by the outer
    // repository: every status is clean, yet the fix exists only here.
    test::git(lib, {s("checkout"), s("-q"), s("--detach")});
    test::commitFiles(lib, {{s("fix.txt"), "fixed\n"}});
    test::commitAll(repo);
    push(repo);
    events = test::scanToEnd(repo);
    EXPECT_EQ(statusOf(events, repo), GitStatus::fullySynced());
    EXPECT_FALSE(isOfferedWhole(events, repo));

    test::git(lib, {s("push"), s("-q"), s("origin"), s("HEAD:refs/heads/fix")});
    events = test::scanToEnd(repo);
    EXPECT_TRUE(isOfferedWhole(events, repo));
}

TEST(ScanSafety, ARepositoryWhoseWorktreeLivesElsewhereIsNotOfferedWhole) {
    const QString repo = test::makeSyncedRepo().repo;
    const QString worktree = test::makeTempDir(s("worktrees")) + s("/review");
    // On no branch, so no branch of the repository shows that it is in use.
    test::git(repo, {s("worktree"), s("add"), s("-q"), s("--detach"), worktree});
    test::writeFile(worktree + s("/draft.txt"), "only here");

    const QList<ScanEvent> events = test::scanToEnd(repo);
    EXPECT_EQ(statusOf(events, repo), GitStatus::fullySynced());
    EXPECT_FALSE(isOfferedWhole(events, repo));
}

TEST(ScanSafety, AHomeFolderKeptInGitOffersNothingOfTheHome) {
    // The home lies in a synced repository of its own, which ignores it.
    const QString outer = test::makeRepo(test::makeTempDir(s("outer")));
    test::commitFiles(outer, {{s(".gitignore"), "home/\n"}});
    test::addRemote(outer, s("origin"), test::makeBareRepo());
    test::pushWithUpstream(outer);
    const QString home = outer + s("/home");
    const test::ScopedEnvironment homeIsHere("HOME", home);
    const test::ScopedEnvironment configIsHere("XDG_CONFIG_HOME", home + s("/.config"));

    // Dotfiles: everything ignored, the few files that matter added by force, all
    // pushed.
    test::makeRepo(home);
    test::writeFile(home + s("/.gitignore"), "*\n");
    test::writeFile(home + s("/.bashrc"), "alias ll='ls -l'\n");
    test::git(home, {s("add"), s("-f"), s(".gitignore"), s(".bashrc")});
    test::git(home, {s("commit"), s("-q"), s("-m"), s("Dotfiles")});
    test::addRemote(home, s("origin"), test::makeBareRepo());
    test::pushWithUpstream(home);
    test::writeFile(home + s("/.config/user-dirs.dirs"), "XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");

    for (const char* folder :
         {".ssh", ".gnupg", ".config", ".local", ".gradle", ".cache", "Library", "Desktop",
          "Documents", "Downloads", "Movies", "Music", "Public", "Applications"})
        test::writeFile(home + u'/' + s(folder) + s("/personal.txt"), "mine");
    // Some keep a standard folder itself in git: it stays a project, and is never
    // an item.
    QStringList keptInGit{s("Pictures")};
    if (!Locations::isMac())
        keptInGit.append(s("Dokumente"));
    for (const QString& folder : keptInGit)
        makeSyncedRepoAt(home + u'/' + folder);
    test::writeFile(home + s("/code/app/package.json"), "{}");
    test::writeFile(home + s("/code/app/node_modules/x/index.js"), "x");
    test::writeFile(home + s("/Documents/thesis/pyproject.toml"), "");
    test::writeFile(home + s("/Documents/thesis/.venv/bin/python"), "x");
    const QStringList onlyItems{home + s("/code/app/node_modules"),
                                home + s("/Documents/thesis/.venv")};

    for (const QString& root : {home, outer}) {
        SCOPED_TRACE(root.toStdString());
        const QList<ScanEvent> events = test::scanToEnd(root);
        EXPECT_THAT(itemURLs(events), UnorderedElementsAreArray(onlyItems));
        EXPECT_FALSE(test::projectAt(events, home));
        for (const QString& folder : keptInGit)
            EXPECT_TRUE(test::projectAt(events, home + u'/' + folder)) << folder.toStdString();
        for (const QString& project : {s("/code/app"), s("/Documents/thesis")}) {
            const Project* found = test::projectAt(events, home + project);
            ASSERT_TRUE(found) << project.toStdString();
            EXPECT_EQ(found->gitRepoURL, std::nullopt) << project.toStdString();
        }
    }
}

TEST(ScanSafety, FoldersGitIgnoresAreOfferedOnlyWhereTheWalkWouldGo) {
    const QString repo = test::makeRepo();
    QString deep = repo;
    for (int level = 1; level <= 12; ++level)
        deep += QStringLiteral("/d%1").arg(level);
    test::commitFiles(repo, {{s(".gitignore"), "generated/\n.idea/\nLibrary/\n.local/\n"
                                               ".Trash-1000/\nexamples/\nprivate/\nd13/\n"},
                             {s("package.json"), "{}"},
                             {deep.mid(repo.size() + 1) + s("/tracked.txt"), "t"}});
    for (const char* folder : {"generated", ".idea", "Library/Caches", ".local/share",
                               ".Trash-1000", "examples/demo", "private"})
        test::writeFile(repo + u'/' + s(folder) + s("/file"), "x");
    test::writeFile(deep + s("/d13/file"), "x");

    ScanOptions options;
    options.skippedPaths = {repo + s("/private")};
    options.skippedNamesAtRoot = {s("examples")};
    const QList<ScanEvent> events = test::scanToEnd(repo, options);
    EXPECT_THAT(itemURLs(events), UnorderedElementsAreArray({repo + s("/generated")}));
}
