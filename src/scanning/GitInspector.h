#pragma once

#include "platform/Cancellation.h"
#include "scanning/ScanModel.h"

#include <QByteArray>
#include <QSet>
#include <QString>
#include <optional>

namespace corvane {

// What one run of "status --porcelain=v2 --branch -z" says, before the status is decided.
struct GitStatusReport {
    std::optional<QString> branch;
    bool hasUpstream = false;
    // Git leaves the ahead/behind line out when the upstream branch is gone from the remote.
    bool hasAheadBehind = false;
    int ahead = 0;
    int behind = 0;
    // At most GitDetails::maxReportedChanges, in git's order.
    QList<GitChange> changes;
    // Why the output was refused as a whole (a record or the listing over its limit); then
    // nothing else is set, and the status is decided as unknown.
    std::optional<QString> problem;
};

struct GitRemote {
    QString name;
    // Absent for a remote that has no URL configured.
    std::optional<QString> fetchURL;
};

// What may hold work that the status cannot see. Each listing is absent when git failed.
struct LocalWorkListings {
    // The raw output of "stash list".
    std::optional<QString> stashList;
    // One line per local branch: name, upstream ref and tracking state ("[ahead 1]", "[gone]"),
    // separated by tabs (which ref names cannot contain).
    std::optional<QString> localBranches;
};

// What one listing of the branches and the stash ref says.
struct GitRefReport {
    // In the form of `LocalWorkListings::localBranches`.
    QString localBranches;
    bool hasStash = false;
    // Why the listing was refused as a whole; then nothing else is set.
    std::optional<QString> problem;
};

// Answers, for one working tree, whether anything in it exists only on this machine.
struct GitInspector {
    // Runs status, the remote listing with the remotes' URLs and the last commit's date, in that
    // order. Never throws: a tree git cannot read (not a repository, corrupt, git missing or
    // hanging) comes back as `notARepo`, which keeps it from ever being offered whole.
    static GitDetails inspect(const QString& repo, const CancellationToken& cancellation = {});

    // The stash and branch listings, read with one git run in the common case of no stash.
    static LocalWorkListings localWork(const QString& repo,
                                       const CancellationToken& cancellation = {});
    // True when work may exist only here: a listing is missing (unknown counts as unsafe), a
    // stash entry exists, or a local branch is ahead of its upstream, has none, or lost it.
    static bool hasLocalOnlyWork(const LocalWorkListings& listings);

    // Whether the repository has linked worktrees (made by "git worktree add"). Their changes
    // show in no status of the repository, and they stop working when its git folder goes.
    // Read from the git folder's "worktrees" entries, without running git.
    static bool hasLinkedWorktrees(const QString& repo);

    // Of `trees` (absolute paths of working trees inside `repo`), those that `repo` records as
    // submodules (gitlinks). One git run; git failing: none.
    static QSet<QString> submodulesAmong(const QString& repo, const QStringList& trees,
                                         const CancellationToken& cancellation = {});
    // Whether a submodule's working tree holds nothing its remote lacks: no change, its HEAD
    // commit on one of its remote-tracking branches, and no local-only work. What git cannot
    // answer counts as held here.
    static bool submoduleIsOnRemote(const QString& tree,
                                    const CancellationToken& cancellation = {});

    // The pieces of `inspect`, for callers and tests that already hold git's output.
    static GitStatusReport parseStatus(const QByteArray& output);
    static GitStatus decideStatus(const GitStatusReport& report, bool hasRemote);
    // From the lines of "remote -v": "origin" when listed, else the first name, with its fetch
    // URL; nothing when the listing names no remote.
    static std::optional<GitRemote> chooseRemote(const QByteArray& remoteListing);
    // From "for-each-ref" lines of full ref name, upstream and tracking state.
    static GitRefReport parseRefs(const QByteArray& refListing);

    // The nearest folder, `path` itself included, that holds a ".git" entry (a folder, or the
    // file of a linked worktree or submodule); nothing when no ancestor has one. The search ends
    // below the home folder: a home kept in git is no working tree for what lies in it.
    static std::optional<QString> enclosingWorkingTree(const QString& path);
};

} // namespace corvane
