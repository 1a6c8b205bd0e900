#pragma once

#include "platform/Cancellation.h"
#include "platform/ToastCenter.h"
#include "platform/TrashService.h"
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

// The model behind the main window: the scanned folder, everything its scan has found, what the
// user has ticked, the developer caches, and the running trash action. It lives on the main
// thread; scans, measurements and trashing run on workers and come back here in order. Every
// property announces its changes with its own signal, once per batch of updates.
class ScanSession : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY isScanningChanged)
    Q_PROPERTY(QString currentPath READ currentPath NOTIFY currentPathChanged)
    Q_PROPERTY(bool isCacheScanning READ isCacheScanning NOTIFY isCacheScanningChanged)
    Q_PROPERTY(bool isTrashing READ isTrashing NOTIFY isTrashingChanged)
    Q_PROPERTY(bool showOnlyUnsynced READ showOnlyUnsynced WRITE setShowOnlyUnsynced NOTIFY
                   showOnlyUnsyncedChanged)

public:
    ScanSession(ToastCenter& toasts, ScanStarter starter, QObject* parent = nullptr);
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
    const QSet<QUuid>& selectedItemIDs() const { return selectedItemIDs_; }
    const std::optional<SidebarSelection>& selection() const { return selection_; }
    const QList<GlobalCacheItem>& globalCaches() const { return globalCaches_; }
    const QHash<QString, qint64>& cacheSizeByID() const { return cacheSizeByID_; }
    const QSet<QString>& selectedCacheIDs() const { return selectedCacheIDs_; }
    bool isCacheScanning() const { return isCacheScanning_; }
    // Failures of the last trash action, shown under "Some items could not be trashed".
    const QList<TrashFailure>& trashFailures() const { return trashFailures_; }
    bool isTrashing() const { return isTrashing_; }
    ProjectSortMode sortMode() const { return sortMode_; }
    bool showOnlyUnsynced() const { return showOnlyUnsynced_; }
    const std::optional<QString>& pendingSelectionPath() const { return pendingSelectionPath_; }
    const std::optional<QString>& nextSelectionPath() const { return nextSelectionPath_; }

    void setSelection(const std::optional<SidebarSelection>& selection);
    void setSortMode(ProjectSortMode mode);
    void setShowOnlyUnsynced(bool on);
    void setPendingSelectionPath(const std::optional<QString>& path);
    void setNextSelectionPath(const std::optional<QString>& path);
    // The walk settings of later scans.
    void setScanOptions(const ScanOptions& options) { scanOptions_ = options; }

    // Scans `folder` unless it is one of the places refused for safety; then the refusal comes
    // back for the caller to show, and nothing changes.
    std::optional<ScanRefusal> chooseFolderAndScan(const QString& folder);
    // Scans `rootURL` again; afterwards `nextSelectionPath`, else the selected project's folder,
    // is selected as soon as the scan finds it.
    void rescan();

    void toggleItem(const QUuid& itemID);
    void setItemSelected(const QUuid& itemID, bool selected);
    void toggleCache(const QString& cacheID);
    void setCacheSelected(const QString& cacheID, bool selected);

    // Lists the developer caches of the home folder and measures them in the background. Ticks
    // are cleared; nothing is ticked by default.
    void scanCaches();

    // What `trash(scope)` would hand to the trash service now. An item inside another item of the
    // same plan is left out: its parent carries it to the Trash.
    TrashPlan trashPlan(const TrashScope& scope) const;
    // The same for exactly these paths, as project items inside the scanned folder.
    TrashPlan trashPlan(const QList<QString>& paths) const;

    // Moves the scope's ticked items and caches to the Trash in the background. Ignored while a
    // trash action runs or when the scope has nothing ticked.
    void trash(const TrashScope& scope);
    // The same flow for exactly these paths (normally items of the scan); the trash service's
    // containment rule decides what may go.
    void trashPaths(const QList<QString>& paths);

    // The sorted, filtered project tree the views show.
    QList<ProjectNode> projectTree() const;
    // The same tree flattened depth first.
    QList<Project> orderedProjects() const;
    std::optional<Project> project(const QUuid& projectID) const;
    QList<CleanableItem> items(const QUuid& projectID) const {
        return itemsByProject_.value(projectID);
    }
    // Measured bytes of the project's `safe` items.
    qint64 reclaimableBytes(const QUuid& projectID) const;
    // The same over every project of the scan, whatever the filter.
    qint64 reclaimableBytes() const;
    // Reclaimable bytes per kind, in kind order, for a summary bar; kinds with nothing are absent.
    QMap<ArtifactKind, qint64> reclaimableBytesByKind() const;
    // Measured bytes of the ticked items and ticked caches.
    qint64 selectedBytes() const;
    // Bytes measured so far by the running or last scan.
    qint64 measuredBytes() const;
    // Bytes of the listed caches measured so far.
    qint64 measuredCacheBytes() const;

signals:
    void rootURLChanged();
    void isScanningChanged();
    void currentPathChanged();
    void projectsChanged();
    void itemsByProjectChanged();
    void gitDetailsByProjectChanged();
    void sizeByItemChanged();
    void selectedItemIDsChanged();
    void selectionChanged();
    void globalCachesChanged();
    void cacheSizeByIDChanged();
    void selectedCacheIDsChanged();
    void isCacheScanningChanged();
    void trashFailuresChanged();
    void isTrashingChanged();
    void sortModeChanged();
    void showOnlyUnsyncedChanged();
    void pendingSelectionPathChanged();
    void nextSelectionPathChanged();
    // A trash action has been applied: what moved, what did not, and the bytes reclaimed.
    void trashCompleted(const corvane::TrashOutcome& outcome, qint64 reclaimedBytes);

private:
    struct TrashResult;

    void startScan(const QString& root);
    void applyEvents(const QList<ScanEvent>& events);
    unsigned apply(const ScanEvent& event);
    unsigned preselect(const QUuid& projectID, const QList<CleanableItem>& items);
    void finishScan();
    void runTrash(TrashPlan plan);
    void applyTrashResult(const TrashResult& result);
    unsigned forgetTrashed(const QList<QString>& trashedURLs);
    void applyCacheSize(int generation, const QString& cacheID, qint64 bytes);
    void finishCacheScan(int generation);
    void announce(unsigned changes);

    ToastCenter& toasts_;
    ScanStarter starter_;
    ScanOptions scanOptions_;
    std::unique_ptr<ScanStream> scanStream_;
    std::unique_ptr<ScanStream> retiredStream_;
    std::shared_ptr<MainThreadMailbox> mailbox_;
    CancellationToken jobCancellation_;
    int cacheGeneration_ = 0;

    std::optional<QString> rootURL_;
    bool isScanning_ = false;
    QString currentPath_;
    QList<Project> projects_;
    QHash<QUuid, QList<CleanableItem>> itemsByProject_;
    QHash<QUuid, GitDetails> gitDetailsByProject_;
    QHash<QUuid, qint64> sizeByItem_;
    QSet<QUuid> selectedItemIDs_;
    std::optional<SidebarSelection> selection_;
    QList<GlobalCacheItem> globalCaches_;
    QHash<QString, qint64> cacheSizeByID_;
    QSet<QString> selectedCacheIDs_;
    bool isCacheScanning_ = false;
    QList<TrashFailure> trashFailures_;
    bool isTrashing_ = false;
    ProjectSortMode sortMode_ = ProjectSortMode::size;
    bool showOnlyUnsynced_ = false;
    std::optional<QString> pendingSelectionPath_;
    std::optional<QString> nextSelectionPath_;
};

} // namespace corvane
