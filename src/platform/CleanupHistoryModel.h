#pragma once

#include "platform/CleanupHistory.h"
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

// The model of the cleanup history: the latest cleanups, newest first, and putting one back.
// It answers the "Put Back" button of every cleanup's toast, whichever model posted it. Loads and
// put backs run in background jobs; one put back at a time.
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

signals:
    void cleanupsChanged();
    void putBackCompleted(const corvane::PutBackOutcome& outcome);

protected:
    void startLoading() override;
    bool containsItem(const QString& id) const override;

private:
    void showListing(const QList<ListedCleanup>& cleanups, const std::optional<QString>& problem);
    void finishPutBack(const PutBackOutcome& outcome);

    CleanupHistory history_;
    QList<ListedCleanup> cleanups_;
    std::optional<QString> problem_;
    std::optional<PutBackOutcome> lastOutcome_;
};

} // namespace corvane
