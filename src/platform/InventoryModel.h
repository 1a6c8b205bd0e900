#pragma once

#include "platform/Cancellation.h"
#include "platform/MainThreadMailbox.h"
#include "platform/ToastCenter.h"
#include "platform/TrashPlan.h"

#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

namespace corvane {

// One item that an action could not handle, and why, in words for the user.
struct ItemFailure {
    QString itemID;
    // What the user knows the item by.
    QString name;
    QString message;

    bool operator==(const ItemFailure&) const = default;
};

// What the model of every inventory screen shares (developer caches, Docker, simulators, AI
// models, Android, apps): loading and removal flags, the ticked identifiers, the failures of the
// last action shown under a heading, a reload request that waits for the running load, the
// shared toast center and the dry-run switch. It lives on the main thread; its subclass does the
// work in background jobs whose results come back here in order, and a result of a job that was
// replaced, or that outlives the model, never arrives.
class InventoryModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool hasLoaded READ hasLoaded NOTIFY hasLoadedChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(bool isRemoving READ isRemoving NOTIFY isRemovingChanged)

public:
    ~InventoryModel() override;

    // A load has finished at least once.
    bool hasLoaded() const { return hasLoaded_; }
    bool isLoading() const { return isLoading_; }
    bool isRemoving() const { return isRemoving_; }
    // A reload asked for while a load ran; it starts when that load ends.
    bool isReloadRequested() const { return reloadRequested_; }
    // Under the dry-run switch nothing is changed and toasts begin "Dry run: would ".
    bool isDryRun() const { return isDryRun_; }
    const QSet<QString>& selectedIDs() const { return selectedIDs_; }
    // Whether a Keep mark binds the item `id` (one of its paths is kept, lies in a kept folder or
    // holds one): it is never ticked, and its removal is refused. As of the last reading of the
    // marks.
    bool isKept(const QString& id) const;
    // The same for a path shown on the screen that is not an item of its own.
    bool isKeptPath(const QString& path) const;
    // The failures of the last removal, one per item.
    const QList<ItemFailure>& failures() const { return failures_; }
    // What the last load could not read, one message per source that names it; the list shown is
    // then incomplete, and the page says so.
    const QStringList& loadProblems() const { return loadProblems_; }
    ToastCenter& toasts() const { return toasts_; }

    // Lists the inventory again; while a load runs, one more follows it, so what is shown is
    // never older than the request.
    void reload();
    // Only items the model lists can be ticked.
    void setSelected(const QString& id, bool selected);
    void toggleSelected(const QString& id);
    void clearSelection();
    void setDryRun(bool on) { isDryRun_ = on; }
    // Reads the Keep marks again, as every load does; kept items lose their ticks.
    void refreshKeepMarks();

signals:
    void hasLoadedChanged();
    void isLoadingChanged();
    void isRemovingChanged();
    void selectedIDsChanged();
    void failuresChanged();
    void keptChanged();

protected:
    // Posts `step` to run on the main thread after what the job posted before, unless a newer
    // job of the same kind has started since or the model is gone.
    using MainThreadPost = std::function<void(std::function<void()> step)>;
    using Work = std::function<void(const CancellationToken& cancellation, const MainThreadPost&)>;
    enum class JobKind { load, removal };

    InventoryModel(ToastCenter& toasts, bool isDryRun, QObject* parent = nullptr);

    // Starts one load; the subclass runs it in a `load` job and calls finishLoading() at its end,
    // with what the load could not read.
    virtual void startLoading() = 0;
    // Whether `id` names an item listed now.
    virtual bool containsItem(const QString& id) const = 0;
    // The folders and files the item `id` stands for, which a Keep mark binds; none for items
    // without any.
    virtual QStringList pathsOfItem(const QString& id) const;

    // Runs `work` off the main thread. A newer job of the same kind cancels this one's token.
    void startJob(JobKind kind, Work work);
    void finishLoading(const QStringList& problems = {});

    // Claims the one removal a model runs at a time; false while one runs.
    bool beginRemoval();
    // Claims the removal and moves `plan` to the Trash through `platform` in a removal job (under
    // the dry-run switch it only looks); `finish` gets the result on the main thread. Nothing
    // happens for an empty plan or while a removal runs.
    void trashInBackground(const TrashPlan& plan, const PlatformTrash& platform,
                           std::function<void(const TrashResult&)> finish);
    // Ends the removal with its failures (an empty list clears the last ones).
    void finishRemoval(const QList<ItemFailure>& failures);

    // Drops ticks of items no longer listed.
    void pruneSelection();
    void setFailures(const QList<ItemFailure>& failures);

private:
    struct JobSlot {
        CancellationToken cancellation;
        int generation = 0;
    };

    JobSlot& slot(JobKind kind) { return kind == JobKind::load ? loadJob_ : removalJob_; }
    void setFlag(bool& flag, bool value, void (InventoryModel::*changed)());

    ToastCenter& toasts_;
    std::shared_ptr<MainThreadMailbox> mailbox_;
    JobSlot loadJob_;
    JobSlot removalJob_;
    bool hasLoaded_ = false;
    bool isLoading_ = false;
    bool isRemoving_ = false;
    bool reloadRequested_ = false;
    bool isDryRun_ = false;
    QSet<QString> selectedIDs_;
    QList<ItemFailure> failures_;
    QStringList loadProblems_;
    QStringList keepMarks_;
};

} // namespace corvane
