#pragma once

#include "platform/InventoryModel.h"
#include "platform/TrashPlan.h"
#include "scanning/DiskMapInbox.h"
#include "scanning/DiskMapWalk.h"
#include "scanning/ProtectedFolders.h"

#include <QList>
#include <QString>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace corvane {

// The disk map of one folder: a tree of folder sizes that grows as a walk in the background
// reports it, and moving one of its folders to the Trash. Files are never nodes: each folder
// sums its own. To keep the tree small on a home folder of millions of files, a measured folder
// keeps only the subfolders that weigh at least a thousandth of it and a fifty-thousandth of the
// mapped folder so far (at most `maxChildren`); the rest collapse into its "rest", together with
// its files. The walk's events reach the tree in deliveries of bounded time, so the window goes
// on answering however fast the walk runs.
class DiskMapModel : public InventoryModel {
    Q_OBJECT

public:
    using FolderID = quint32;

    struct Node {
        QString name;
        FolderID parent = 0;
        // Everything measured in it so far; final once `isMeasured`.
        qint64 bytes = 0;
        MapCategory category = MapCategory::other;
        bool isMeasured = false;
        std::vector<FolderID> children;
    };

    static constexpr FolderID rootFolder = 0;
    static constexpr qint64 keptShareDivisor = 1000;
    static constexpr qint64 keptShareOfWholeDivisor = 50'000;
    static constexpr std::size_t maxChildren = 200;
    // The longest one delivery of events holds the main thread; the rest waits for the next.
    static constexpr int deliveryBudgetMs = 8;

    explicit DiskMapModel(ToastCenter& toasts, QObject* parent = nullptr,
                          const PlatformTrash& trash = PlatformTrash::system());

    // The folders the app knows (see DiskMapWalk), looked up on the walking thread: finding them
    // reads the disk.
    using KnownFolders = std::function<QHash<QString, MapCategory>()>;

    // Maps `folder` afresh, dropping the map shown and any walk still running.
    void map(const QString& folder, KnownFolders knownFolders = {});
    // The mapped folder; empty before the first map.
    const QString& folder() const { return folder_; }

    const Node* node(FolderID id) const;
    std::size_t nodeCount() const { return nodes_.size(); }
    QString pathOf(FolderID id) const;
    // The folder's kept subfolders, largest first (the first `limit` of them).
    QList<FolderID> childrenBySize(FolderID id, qsizetype limit = -1) const;
    // Its own files and the subfolders too small to keep.
    qint64 restBytes(FolderID id) const;
    // The folders the walk could not measure, each with why.
    const QList<ItemFailure>& skippedFolders() const { return skipped_; }

    // Why the folder cannot be moved to the Trash from the map (the mapped folder itself, one of
    // the user's own folders, or marked Keep), or nothing. Reads the Keep marks.
    std::optional<QString> trashRefusal(FolderID id) const;
    // The folder, allowed inside the mapped folder; empty when it is refused.
    TrashPlan trashPlan(FolderID id) const;
    // Moves exactly `plan` to the Trash (a dry run only looks); what moved leaves the map.
    void trash(const TrashPlan& plan);

    static inline const QString cleanupArea = QStringLiteral("diskMap");
    static inline const QString mapFolderMessage =
        QStringLiteral("Refused: the mapped folder itself");
    static inline const QString ownFolderMessage =
        QStringLiteral("Refused: one of your own folders (home, Desktop, Documents …)");

signals:
    // A new map started: every folder shown before is gone.
    void mapReset();
    // Folders came in or grew, or one left.
    void mapChanged();
    void skippedFoldersChanged();
    void trashCompleted(const corvane::TrashResult& result);

protected:
    void startLoading() override;
    // The map has no ticks: its actions take one folder at a time.
    bool containsItem(const QString&) const override { return false; }

private:
    void deliver();
    // Whether the event told of a folder that could not be measured.
    bool apply(const MapEvent& event);
    void enter(const MapEvent& event);
    void keepLargest(FolderID id);
    void erase(FolderID id);
    void addBytes(FolderID id, qint64 bytes);
    std::optional<FolderID> folderAt(const QString& path) const;
    void applyTrashResult(const TrashResult& result);

    const PlatformTrash& platformTrash_;
    QString folder_;
    KnownFolders knownFolders_;
    std::optional<ProtectedFolders> protectedFolders_;
    std::unordered_map<FolderID, Node> nodes_;
    QList<ItemFailure> skipped_;
    // The running walk's events: those not taken yet, and those taken but not applied yet.
    std::shared_ptr<DiskMapInbox> inbox_;
    MapEvents backlog_;
    qsizetype backlogApplied_ = 0;
};

} // namespace corvane
