#pragma once

#include "platform/InventoryModel.h"
#include "scanning/ScanSession.h"

#include <QSet>
#include <optional>

namespace corvane {

// The projects area on the shape every inventory shares. The scan and the trash step stay with
// the session it follows; this model shows them as any other area's: loading while a scan runs,
// loaded once one has finished, removing while a trash action runs, the ticked items' identifiers
// as the selection (kept in step with the session's ticks both ways), the failures of the last
// trash action one per item, and the dry-run switch, under which a trash action only looks.
class ProjectsModel : public InventoryModel {
    Q_OBJECT

public:
    // Posts to `toasts`, the session's toast center.
    ProjectsModel(ScanSession& session, ToastCenter& toasts, bool isDryRun = false,
                  QObject* parent = nullptr);

    ScanSession& session() const { return session_; }

    // Scans `folder`, or hands back why it is refused (nothing changes then).
    std::optional<ScanRefusal> scan(const QString& folder) {
        return session_.chooseFolderAndScan(folder);
    }

    // What a trash action of `scope` would move now.
    TrashPlan trashPlan(const TrashScope& scope) const { return session_.trashPlan(scope); }
    // Exactly the items `itemIDs` (the rows the user pointed at), ticked or not; a kept one is
    // left out.
    TrashPlan trashPlan(const QList<QUuid>& itemIDs) const;
    // Moves exactly `plan` to the Trash (under the dry-run switch, only looks at it). Ignored
    // while a trash action runs.
    void trash(const TrashPlan& plan);

signals:
    // A trash action (or its dry run) has been applied.
    void trashCompleted(const corvane::TrashResult& result);

protected:
    // Scans the folder again; with no folder chosen there is nothing to load, and a scan started
    // elsewhere is only followed.
    void startLoading() override;
    // Items of the scan that are not kept.
    bool containsItem(const QString& id) const override;

private:
    void followScanning();
    void followTrashing();
    void takeSessionTicks();
    void giveSessionTicks();
    void finishTrash(const TrashResult& result);
    QList<ItemFailure> failuresOf(const QList<TrashFailure>& failures) const;

    ScanSession& session_;
    // The identifiers of the items that can be ticked, made again when the items or marks change.
    mutable std::optional<QSet<QString>> tickable_;
    bool givingTicks_ = false;
    bool takingTicks_ = false;
};

} // namespace corvane
