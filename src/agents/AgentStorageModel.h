#pragma once

#include "agents/AgentStorage.h"
#include "agents/CodexSessionRemoval.h"
#include "platform/CleanupHistory.h"
#include "platform/InventoryModel.h"
#include "platform/PlatformTrash.h"
#include "platform/ProcessRunner.h"
#include "platform/PutBackService.h"
#include "platform/TrashPlan.h"

#include <QHash>

namespace corvane {

// What the coding agents keep, measured on each load, with the rows nobody can use any more and
// the reproducible leftovers ticked; the ticked rows go to the Trash and the cleanup history,
// unless the agent has a file of theirs open; a Codex session goes with its thread's row, which
// is kept for Put Back. Identifiers are the rows' ids.
class AgentStorageModel : public InventoryModel {
    Q_OBJECT

public:
    static inline const QString failuresHeading =
        QStringLiteral("Some agent data was not moved to the Trash");

    struct Services {
        AgentStorage::Inputs inputs;
        const ProcessRunner* runner = &ProcessRunner::system();
        const PlatformTrash* trash = &PlatformTrash::system();
        CleanupHistory history;
        CodexSessionRemoval::RecordStore threadRecords;

        static Services system();
    };

    explicit AgentStorageModel(ToastCenter& toasts, Services services = Services::system(),
                               QObject* parent = nullptr);

    const AgentStore& store() const { return store_; }
    const AgentStoreRow* row(const QString& id) const;
    qint64 selectedBytes() const;
    // Ticks, besides what is ticked, the offered history rows last used more than `days` ago.
    void selectOlderThan(int days, const QDateTime& now = QDateTime::currentDateTimeUtc());
    // The rows whose last use is more than `days` before `now`.
    QStringList olderThan(int days, const QDateTime& now) const;

    // What moving the ticked rows (or the rows `ids`) to the Trash takes, and what is refused.
    AgentStorage::Plan plan() const;
    AgentStorage::Plan plan(const QStringList& ids) const;
    // Moves exactly `plan` to the Trash, each item unless an app holds a file of it open (under
    // the dry-run switch, makes every check and moves nothing). Ignored while a removal runs.
    void trash(const TrashPlan& plan);
    // After a put back of one of this area's cleanups: Codex's rows of the sessions that came back
    // go back into its database. Returns one message per row that could not.
    QStringList restoreThreadRecords(const PutBackOutcome& outcome);

signals:
    void storeChanged();
    void trashCompleted(const corvane::TrashResult& result);

protected:
    void startLoading() override;
    bool containsItem(const QString& id) const override;
    QStringList pathsOfItem(const QString& id) const override;

private:
    // A measured store with its index by row id and the rows ticked by default.
    struct Measured {
        AgentStore store;
        QHash<QString, qsizetype> rowByID;
        QStringList ticked;
    };
    void applyStore(const Measured& measured);
    void applyTrashResult(const TrashResult& result);

    Services services_;
    AgentStore store_;
    QHash<QString, qsizetype> rowByID_;
};

} // namespace corvane
