#pragma once

#include "platform/CleanupHistory.h"
#include "platform/EmptyTrashService.h"
#include "platform/InventoryModel.h"
#include "platform/PutBackService.h"

#include <QList>
#include <optional>

namespace corvane {

// One cleanup as the history lists it, with how many of its items are still in the Trash.
struct ListedCleanup {
    Cleanup cleanup;
    qsizetype itemsInTrash = 0;

    bool operator==(const ListedCleanup&) const = default;
};

// The model of the cleanup history: the latest cleanups, newest first, putting one back, and
// emptying the Trash of what the cleanups put there. It answers the "Put Back" button of every
// cleanup's toast, whichever model posted it. Loads, put backs and emptying run in background
// jobs; one put back or emptying at a time.
class CleanupHistoryModel : public InventoryModel {
    Q_OBJECT

public:
    // How many cleanups a load lists.
    static constexpr qsizetype listedCleanups = 20;

    explicit CleanupHistoryModel(ToastCenter& toasts, CleanupHistory history = CleanupHistory(),
                                 QObject* parent = nullptr);

    // Newest first.
    const QList<ListedCleanup>& cleanups() const { return cleanups_; }
    // Why the history could not be read at the last load.
    const std::optional<QString>& problem() const { return problem_; }
    const std::optional<PutBackOutcome>& lastOutcome() const { return lastOutcome_; }

    // Puts back cleanup `id`, or the newest one (under the dry-run switch, or with `dryRun`, only
    // looks). Ignored while a put back runs.
    void putBack(const std::optional<QString>& id, bool dryRun = false);

    // Looks in the background for what the cleanups still have in the Trash; the answer comes
    // with emptyTrashPlanned, for a confirmation to show. Ignored while a removal runs.
    void planEmptyTrash();
    // Deletes for good exactly `items` (as a plan listed them) that are still the entries their
    // cleanups made (under the dry-run switch, or with `dryRun`, only looks). Ignored while a
    // removal runs.
    void emptyTrash(const QList<OwnTrashItem>& items, bool dryRun = false);
    const std::optional<EmptyTrashOutcome>& lastEmptyOutcome() const { return lastEmptyOutcome_; }

signals:
    void cleanupsChanged();
    void putBackCompleted(const corvane::PutBackOutcome& outcome);
    void emptyTrashPlanned(const corvane::OwnTrashListing& listing);
    void emptyTrashCompleted(const corvane::EmptyTrashOutcome& outcome);

protected:
    void startLoading() override;
    bool containsItem(const QString& id) const override;

private:
    void showListing(const QList<ListedCleanup>& cleanups, const std::optional<QString>& problem);
    void finishPutBack(const PutBackOutcome& outcome);
    void finishEmptying(const EmptyTrashOutcome& outcome);

    CleanupHistory history_;
    QList<ListedCleanup> cleanups_;
    std::optional<QString> problem_;
    std::optional<PutBackOutcome> lastOutcome_;
    std::optional<EmptyTrashOutcome> lastEmptyOutcome_;
};

} // namespace corvane
