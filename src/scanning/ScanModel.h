#pragma once

// The vocabulary of a project scan. Every record is a plain value: copied between threads,
// compared and hashed by value. File locations are absolute paths (see platform/Paths.h).

#include "platform/SpaceUse.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <optional>

namespace corvane {

// Declaration order is the ordinal order used by compact encodings.
enum class ArtifactKind { dependencies, buildOutput, cache, virtualEnv, wholeProject, unknown };

enum class CleanConfidence { safe, caution, ignoredButUnknown, reclonable };

QString rawValue(ArtifactKind kind);
QString rawValue(CleanConfidence confidence);
std::optional<ArtifactKind> artifactKindFromRaw(const QString& raw);
std::optional<CleanConfidence> cleanConfidenceFromRaw(const QString& raw);

struct Project {
    QUuid id;
    QString name;
    QString url;
    QStringList markers;
    std::optional<QString> gitRepoURL;
    std::optional<QUuid> parentProjectID;

    bool operator==(const Project&) const = default;
};

// What brings an item back once it is gone: a command ("npm ci") or a few words ("rebuilt on
// demand"). `lockFileMissing`: installed packages whose versions nothing pins, so a reinstall may
// bring other versions; such an item is never ticked by default.
struct RestoreHint {
    QString text;
    bool lockFileMissing = false;

    bool operator==(const RestoreHint&) const = default;
};

struct CleanableItem {
    // Draws a fresh id, so two items built from the same arguments differ.
    CleanableItem(const QUuid& projectID, const QString& url, const QString& name,
                  ArtifactKind kind, CleanConfidence confidence);

    QUuid id;
    QUuid projectID;
    QString url;
    QString name;
    ArtifactKind kind;
    CleanConfidence confidence;
    // Set by the scan from the files around the folder; empty for an item made by hand.
    RestoreHint restoreHint;

    bool operator==(const CleanableItem&) const = default;
};

class GitStatus {
public:
    enum class Case {
        dirty,
        aheadOfRemote,
        notARepo,
        fullySynced,
        noUpstream,
        upstreamGone,
        noRemote
    };

    static GitStatus dirty(int changedCount) { return {Case::dirty, changedCount}; }
    static GitStatus aheadOfRemote(int commits) { return {Case::aheadOfRemote, commits}; }
    static GitStatus notARepo() { return {Case::notARepo, 0}; }
    static GitStatus fullySynced() { return {Case::fullySynced, 0}; }
    static GitStatus noUpstream() { return {Case::noUpstream, 0}; }
    static GitStatus upstreamGone() { return {Case::upstreamGone, 0}; }
    static GitStatus noRemote() { return {Case::noRemote, 0}; }

    Case kind() const { return case_; }
    // The payload of `dirty`; 0 for every other case.
    int changedCount() const { return case_ == Case::dirty ? payload_ : 0; }
    // The payload of `aheadOfRemote`; 0 for every other case.
    int commits() const { return case_ == Case::aheadOfRemote ? payload_ : 0; }
    bool hasPayload() const { return case_ == Case::dirty || case_ == Case::aheadOfRemote; }
    // The case name, e.g. "aheadOfRemote".
    QString caseName() const;

    bool operator==(const GitStatus&) const = default;

private:
    GitStatus(Case kind, int payload)
        : case_(kind)
        , payload_(payload) {}

    Case case_;
    int payload_;
};

struct GitChange {
    enum class Kind { modified, added, deleted, renamed, untracked, conflicted };

    QString path;
    Kind kind;

    bool operator==(const GitChange&) const = default;
};

QString rawValue(GitChange::Kind kind);

struct GitDetails {
    static constexpr int maxReportedChanges = 500;

    GitStatus status = GitStatus::notARepo();
    std::optional<QString> branch;
    std::optional<QString> remoteURL;
    std::optional<QDateTime> lastCommitDate;
    QList<GitChange> changes;
    // Where the commits stand against the upstream whatever the working tree holds (fully
    // synced, ahead, no upstream, no remote, upstream gone), so that a dirty repository can
    // still say that it has commits not pushed; absent when git was not asked.
    std::optional<GitStatus> pushState;
    // Why git's answer could not be read ("Could not read git status in <folder>: …"); the
    // status is then notARepo, which keeps the project from being offered whole.
    std::optional<QString> problem;

    // A short owner/repository label from `remoteURL` ("team/tool"), or nothing.
    std::optional<QString> repoDisplayName() const;

    bool operator==(const GitDetails&) const = default;
};

std::optional<QString> repoDisplayName(const QString& remoteURL);

// Who holds the other links of an item's shared files, as far as the scan can tell: named for
// the user when the item is a pnpm node_modules, whose files are links into pnpm's store.
enum class SharedWith { otherFolders, pnpmStore };

struct ScanOptions {
    QSet<QString> skippedPaths;
    QSet<QString> skippedNamesAtRoot;
    bool skipsHiddenAndBundlesOutsideProjects = false;
};

// What the scan engine streams to its consumer. One kind plus the payload that kind carries;
// build values with the named constructors, which match the kinds.
struct ScanEvent {
    enum class Kind {
        progress,
        projectDiscovered,
        gitStatusUpdated,
        itemsClassified,
        sizeUpdated,
        scanCompleted
    };

    static ScanEvent progress(const QString& currentPath);
    static ScanEvent projectDiscovered(const Project& project);
    static ScanEvent gitStatusUpdated(const QUuid& projectID, const GitDetails& details);
    static ScanEvent itemsClassified(const QUuid& projectID, const QList<CleanableItem>& items);
    // An item without hard links shared with other places: it frees all of its bytes.
    static ScanEvent sizeUpdated(const QUuid& itemID, qint64 bytes);
    static ScanEvent sizeUpdated(const QUuid& itemID, const SpaceUse& space,
                                 SharedWith sharedWith = SharedWith::otherFolders);
    static ScanEvent scanCompleted();

    Kind kind = Kind::scanCompleted;
    QString currentPath;
    Project project;
    QUuid projectID;
    GitDetails details;
    QList<CleanableItem> items;
    QUuid itemID;
    // `space.sizeBytes`, for readers that need only the size.
    qint64 bytes = 0;
    SpaceUse space;
    SharedWith sharedWith = SharedWith::otherFolders;
};

struct ProjectInspection {
    Project project;
    GitDetails details;
    QList<CleanableItem> items;
    std::optional<QString> stashList;
    std::optional<QString> localBranches;
};

struct RepoGroup {
    std::optional<QString> repoURL;
    QList<Project> projects;
};

size_t qHash(const GitStatus& status, size_t seed = 0) noexcept;
size_t qHash(const GitChange& change, size_t seed = 0) noexcept;
size_t qHash(const GitDetails& details, size_t seed = 0) noexcept;
size_t qHash(const Project& project, size_t seed = 0) noexcept;
size_t qHash(const CleanableItem& item, size_t seed = 0) noexcept;

} // namespace corvane
