#pragma once

#include "platform/KeepStore.h"
#include "platform/ToastCenter.h"
#include "platform/TrashPlan.h"
#include "scanning/ScanSessionTypes.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QUuid>
#include <memory>
#include <optional>

namespace corvane {

class MainThreadMailbox;
struct ProjectTree;

// The model of a project scan: the scanned folder, everything its scan has found, what the user
// has ticked, and the running trash action. It lives on the main thread; the scan and the trash
// action run on workers and come back here in order. Every property announces its changes with
// its own signal, once per batch of updates.
class ScanSession : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY isScanningChanged)
    Q_PROPERTY(QString currentPath READ currentPath NOTIFY currentPathChanged)
    Q_PROPERTY(bool isTrashing READ isTrashing NOTIFY isTrashingChanged)
    Q_PROPERTY(bool showOnlyUnsynced READ showOnlyUnsynced WRITE setShowOnlyUnsynced NOTIFY
                   showOnlyUnsyncedChanged)

public:
    // Why a path given by hand cannot be trashed as an item of the scan.
    static inline const QString notAnItemMessage =
        QStringLiteral("Refused: not an item of this scan (only the folders a scan offers can be "
                       "moved)");
    // Why a kept folder, or one that holds a kept folder, cannot be trashed.
    static inline const QString& keptMessage = TrashService::keptMessage;
    // What the cleanup history calls the trash actions of a scan.
    static inline const QString cleanupArea = QStringLiteral("projects");

    // The Keep marks come from `keepStore`, read again at every scan.
    ScanSession(ToastCenter& toasts, ScanStarter starter, QObject* parent = nullptr,
                const PlatformTrash& trash = PlatformTrash::system(),
                KeepStore keepStore = KeepStore());
    ~ScanSession() override;

    const std::optional<QString>& rootURL() const { return rootURL_; }
    bool isScanning() const { return isScanning_; }
    const QString& currentPath() const { return currentPath_; }
    // In discovery order.
    const QList<Project>& projects() const { return projects_; }
    const QHash<QUuid, QList<CleanableItem>>& itemsByProject() const { return itemsByProject_; }
    const QHash<QUuid, GitDetails>& gitDetailsByProject() const { return gitDetailsByProject_; }
    // An item without an entry has not been measured yet.
    const QHash<QUuid, qint64>& sizeByItem() const { return sizeByItem_; }
    // What each measured item occupies and what trashing it alone frees; the same keys as
    // `sizeByItem`, announced with it.
    const QHash<QUuid, SpaceUse>& spaceByItem() const { return spaceByItem_; }
    // Who holds the other links of the item's shared files.
    SharedWith sharedWith(const QUuid& itemID) const;
    const QSet<QUuid>& selectedItemIDs() const { return selectedItemIDs_; }
    // Failures of the last trash action, shown under "Some items could not be trashed".
    const QList<TrashFailure>& trashFailures() const { return trashFailures_; }
    bool isTrashing() const { return isTrashing_; }
    ProjectSortMode sortMode() const { return sortMode_; }
    bool showOnlyUnsynced() const { return showOnlyUnsynced_; }

    void setSortMode(ProjectSortMode mode);
    void setShowOnlyUnsynced(bool on);

    // Scans `folder` unless it is one of the places refused for safety; then the refusal comes
    // back for the caller to show, and nothing changes.
    std::optional<ScanRefusal> chooseFolderAndScan(const QString& folder);
    // Scans `rootURL` again.
    void rescan();

    void toggleItem(const QUuid& itemID);
    // Ticking a kept item is refused.
    void setItemSelected(const QUuid& itemID, bool selected);

    // What is ticked when a project's items arrive: a `safe` item that its lock file brings back
    // as it was, and that is not kept; nothing while the Keep marks cannot be read. (Nothing of a
    // project with uncommitted work is ticked either.)
    bool ticksByDefault(const CleanableItem& item) const;

    // The folders marked Keep, sorted; they survive rescans and follow projects that Organize
    // moves.
    const QStringList& keptPaths() const { return keptPaths_; }
    // Why the marks could not be read; no mark applies and none can change until it is fixed.
    const std::optional<QString>& keepError() const { return keepError_; }
    // A kept item is never ticked, never counted as reclaimable and never trashed: it lies in a
    // kept folder, or holds one.
    bool isKept(const CleanableItem& item) const;
    // The project's folder lies in a kept folder.
    bool isKept(const Project& project) const;
    // Marks or unmarks the folder at `path` (a project or an item); a newly kept item loses its
    // tick. Returns an empty string, or the message for the user when the marks could not be
    // saved.
    QString setKept(const QString& path, bool kept);

    // What trashing the scope's ticked items would move now, inside the scanned folder. An item
    // inside another item of the same plan is left out: its parent carries it to the Trash.
    TrashPlan trashPlan(const TrashScope& scope) const;

    // Exactly the items of the scan at `paths` (any kind, any confidence), and the paths that are
    // refused: what resolves outside the scanned folder, then what is not an item of the scan.
    struct PathsPlan {
        TrashPlan plan;
        QList<TrashFailure> refused;
    };
    PathsPlan trashPlan(const QList<QString>& paths) const;

    // Moves exactly the items of `plan` to the Trash in the background, whatever was ticked since
    // it was made (a scan may still be running). Ignored while a trash action runs.
    void trash(const TrashPlan& plan);

    // The sorted, filtered project tree the views show.
    QList<ProjectNode> projectTree() const;
    // The same tree flattened depth first.
    QList<Project> orderedProjects() const;
    // What each project and the projects nested in it can give back together.
    QHash<QUuid, qint64> branchReclaimableBytes() const;
    std::optional<Project> project(const QUuid& projectID) const;
    std::optional<Project> projectAt(const QString& path) const;
    QList<CleanableItem> items(const QUuid& projectID) const {
        return itemsByProject_.value(projectID);
    }
    // What trashing the items of `itemIDs` together frees, from what is measured so far. An item
    // inside another of them adds nothing: its parent carries it. Files hard-linked between the
    // items count, since every one of their links goes; a file with a link anywhere else does
    // not.
    qint64 freedBytes(const QList<QUuid>& itemIDs) const;
    // What trashing the project's `safe` items that are not kept together frees. Deliberately not
    // the sum of the items' own figures: a file linked from two of them is freed by trashing both,
    // and by trashing either alone not at all, so each item leaves it out and the project counts
    // it.
    qint64 reclaimableBytes(const QUuid& projectID) const;
    // The allocated bytes of the same items: what they seem to weigh.
    qint64 reclaimableSizeBytes(const QUuid& projectID) const;
    // The sum of every project's reclaimable bytes, whatever the filter. Links shared between
    // two projects are not met there, so the total never promises more than trashing frees.
    qint64 reclaimableBytes() const;
    // The allocated bytes of the same items.
    qint64 reclaimableSizeBytes() const;
    // What each kind's reclaimable items free on their own, in kind order, for a summary bar;
    // kinds with nothing are absent.
    QMap<ArtifactKind, qint64> reclaimableBytesByKind() const;
    // What trashing the ticked items frees, project by project.
    qint64 selectedBytes() const;
    // Bytes measured so far by the running or last scan.
    qint64 measuredBytes() const;

signals:
    void rootURLChanged();
    void isScanningChanged();
    void currentPathChanged();
    void projectsChanged();
    void itemsByProjectChanged();
    void gitDetailsByProjectChanged();
    void sizeByItemChanged();
    void selectedItemIDsChanged();
    void trashFailuresChanged();
    void isTrashingChanged();
    void sortModeChanged();
    void showOnlyUnsyncedChanged();
    void keptPathsChanged();
    // A scan of `rootURL` has started; what the last one found is gone.
    void scanStarted();
    // A trash action has been applied: what moved, what did not, and the bytes reclaimed.
    void trashCompleted(const corvane::TrashResult& result);

private:
    // The projects with what the tree of them is built from.
    ProjectTree tree() const;
    void startScan(const QString& root);
    void applyEvents(const QList<ScanEvent>& events);
    unsigned apply(const ScanEvent& event);
    unsigned preselect(const QUuid& projectID, const QList<CleanableItem>& items);
    void finishScan();
    void applyTrashResult(const TrashResult& result);
    unsigned forgetTrashed(const QList<QString>& trashedURLs);
    std::optional<CleanableItem> itemAt(const QString& path) const;
    unsigned forgetSize(const QUuid& itemID);
    qint64 freedBytes(const QList<CleanableItem>& items) const;
    // The project's `safe` items that are not kept.
    QList<CleanableItem> reclaimableItems(const QUuid& projectID) const;
    void announce(unsigned changes);
    unsigned reloadKeepMarks();

    ToastCenter& toasts_;
    ScanStarter starter_;
    const PlatformTrash& platformTrash_;
    KeepStore keepStore_;
    std::unique_ptr<ScanStream> scanStream_;
    std::unique_ptr<ScanStream> retiredStream_;
    std::shared_ptr<MainThreadMailbox> mailbox_;

    std::optional<QString> rootURL_;
    bool isScanning_ = false;
    QString currentPath_;
    QList<Project> projects_;
    QHash<QUuid, QList<CleanableItem>> itemsByProject_;
    QHash<QUuid, GitDetails> gitDetailsByProject_;
    QHash<QUuid, qint64> sizeByItem_;
    QHash<QUuid, SpaceUse> spaceByItem_;
    QSet<QUuid> sharingPnpmStore_;
    QSet<QUuid> selectedItemIDs_;
    QList<TrashFailure> trashFailures_;
    bool isTrashing_ = false;
    ProjectSortMode sortMode_ = ProjectSortMode::size;
    bool showOnlyUnsynced_ = false;
    QStringList keptPaths_;
    std::optional<QString> keepError_;
    // Projects and items a trash action took while their scan still ran: the events the scan
    // still sends about them are dropped.
    QSet<QUuid> trashedDuringScan_;
};

} // namespace corvane
