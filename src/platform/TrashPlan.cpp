#include "platform/TrashPlan.h"

#include "platform/ByteFormat.h"
#include "platform/CheckedSum.h"

#include <algorithm>

namespace corvane {

void TrashPlan::add(const QString& root, const QString& url, std::optional<qint64> bytes) {
    if (batches.isEmpty() || batches.last().root != root)
        batches.append(Batch{root, {}});
    batches.last().urls.append(url);
    if (bytes)
        sizeByURL.insert(url, *bytes);
}

bool TrashPlan::isEmpty() const {
    return std::all_of(batches.cbegin(), batches.cend(),
                       [](const Batch& batch) { return batch.urls.isEmpty(); });
}

QList<QString> TrashPlan::urls() const {
    QList<QString> all;
    for (const Batch& batch : batches)
        all.append(batch.urls);
    return all;
}

qint64 TrashPlan::bytesOf(const QList<QString>& urls) const {
    qint64 total = 0;
    for (const QString& url : urls)
        total = checkedSum(total, sizeByURL.value(url, 0));
    return total;
}

TrashResult carryOut(const TrashPlan& plan, const PlatformTrash& platform,
                     const CleanupHistory& history) {
    TrashResult result{plan, {}, 0, false, {}};
    for (const TrashPlan::Batch& batch : plan.batches)
        result.outcome.append(TrashService::trash(batch.urls, batch.root, platform));
    result.reclaimedBytes = plan.bytesOf(result.outcome.trashed);
    result.cleanup = history.record(plan.area, cleanupItems(result.outcome, plan.sizeByURL));
    return result;
}

TrashResult preview(const TrashPlan& plan) {
    TrashResult result{plan, {}, 0, true, {}};
    for (const TrashPlan::Batch& batch : plan.batches) {
        for (const QString& url : batch.urls) {
            if (const std::optional<QString> refusal = TrashService::refusal(url, batch.root))
                result.outcome.failures.append({url, *refusal});
            else
                result.outcome.trashed.append(url);
        }
    }
    result.reclaimedBytes = plan.bytesOf(result.outcome.trashed);
    return result;
}

QString trashToastText(const TrashResult& result) {
    const qsizetype count = result.outcome.trashed.size();
    if (count == 0)
        return {};
    const QString items =
        count == 1 ? QStringLiteral("1 item") : QStringLiteral("%1 items").arg(count);
    const QString bytes = formatBytes(result.reclaimedBytes);
    if (result.wasDryRun)
        return QStringLiteral("Dry run: would move %1 (%2) to the Trash").arg(items, bytes);
    // Nothing is reclaimed yet: the space comes back when the Trash is emptied.
    const QString notice = result.cleanup.notice;
    return QStringLiteral("Moved %1 (%2) to the Trash").arg(items, bytes) +
           (notice.isEmpty() ? QString() : u'\n' + notice);
}

} // namespace corvane
