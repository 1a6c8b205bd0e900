#include "platform/CleanupHistoryModel.h"

#include <algorithm>

namespace corvane {
namespace {

QList<ListedCleanup> newestFirst(const QList<Cleanup>& cleanups, qsizetype limit) {
    QList<ListedCleanup> listed;
    for (auto cleanup = cleanups.crbegin(); cleanup != cleanups.crend(); ++cleanup) {
        if (listed.size() == limit)
            break;
        listed.append({*cleanup, cleanup->itemsInTrash()});
    }
    return listed;
}

} // namespace

CleanupHistoryModel::CleanupHistoryModel(ToastCenter& toasts, CleanupHistory history,
                                         QObject* parent)
    : InventoryModel(toasts, false, parent)
    , history_(std::move(history)) {
    connect(&toasts, &ToastCenter::actionTriggered, this, [this](const ToastAction& action) {
        if (action.command == putBackCommand)
            putBack(action.argument);
    });
}

bool CleanupHistoryModel::containsItem(const QString& id) const {
    return std::any_of(cleanups_.cbegin(), cleanups_.cend(),
                       [&id](const ListedCleanup& listed) { return listed.cleanup.id == id; });
}

void CleanupHistoryModel::startLoading() {
    startJob(JobKind::load,
             [this, history = history_](const CancellationToken&, const MainThreadPost& post) {
                 const CleanupHistory::Contents contents = history.load();
                 const QList<ListedCleanup> listed = newestFirst(contents.cleanups, listedCleanups);
                 post([this, listed, problem = contents.problem] {
                     showListing(listed, problem);
                     finishLoading();
                 });
             });
}

void CleanupHistoryModel::showListing(const QList<ListedCleanup>& cleanups,
                                      const std::optional<QString>& problem) {
    problem_ = problem;
    if (cleanups == cleanups_)
        return;
    cleanups_ = cleanups;
    pruneSelection();
    emit cleanupsChanged();
}

void CleanupHistoryModel::putBack(const std::optional<QString>& id, bool dryRun) {
    if (!beginRemoval())
        return;
    startJob(JobKind::removal, [this, history = history_, id, dryRun = dryRun || isDryRun()](
                                   const CancellationToken&, const MainThreadPost& post) {
        const PutBackOutcome outcome = PutBackService::putBack(history, id, dryRun);
        post([this, outcome] { finishPutBack(outcome); });
    });
}

void CleanupHistoryModel::finishPutBack(const PutBackOutcome& outcome) {
    lastOutcome_ = outcome;
    const bool cleanlyDone = !outcome.refusal && outcome.failures.isEmpty();
    toasts().post(putBackToastText(outcome),
                  cleanlyDone && !outcome.wasDryRun ? ToastStyle::success : ToastStyle::info);
    QList<ItemFailure> failures;
    for (const PutBackFailure& failure : outcome.failures)
        failures.append({failure.path, failure.path, failure.message});
    finishRemoval(failures);
    emit putBackCompleted(outcome);
    if (!outcome.wasDryRun)
        reload();
}

void CleanupHistoryModel::planEmptyTrash() {
    if (isRemoving())
        return;
    startJob(JobKind::removal,
             [this, history = history_](const CancellationToken&, const MainThreadPost& post) {
                 const OwnTrashListing listing = EmptyTrashService::list(history);
                 post([this, listing] { emit emptyTrashPlanned(listing); });
             });
}

void CleanupHistoryModel::emptyTrash(const QList<OwnTrashItem>& items, bool dryRun) {
    if (!beginRemoval())
        return;
    startJob(JobKind::removal, [this, history = history_, items, dryRun = dryRun || isDryRun()](
                                   const CancellationToken&, const MainThreadPost& post) {
        const EmptyTrashOutcome outcome = EmptyTrashService::empty(items, history, dryRun);
        post([this, outcome] { finishEmptying(outcome); });
    });
}

void CleanupHistoryModel::finishEmptying(const EmptyTrashOutcome& outcome) {
    lastEmptyOutcome_ = outcome;
    const bool cleanlyDone = outcome.failures.isEmpty() && outcome.message.isEmpty();
    toasts().post(emptyTrashToastText(outcome),
                  cleanlyDone && !outcome.wasDryRun ? ToastStyle::success : ToastStyle::info);
    QList<ItemFailure> failures;
    for (const EmptyTrashFailure& failure : outcome.failures)
        failures.append(
            {failure.item.item.originalPath, failure.item.item.originalPath, failure.message});
    finishRemoval(failures);
    emit emptyTrashCompleted(outcome);
    if (!outcome.wasDryRun)
        reload();
}

} // namespace corvane
