#include "agents/AgentStorageModel.h"

#include "platform/CheckedSum.h"
#include "platform/OpenFileGuard.h"

#include <QSet>
#include <QSignalBlocker>
#include <algorithm>

namespace corvane {
namespace {

// The items of `plan` no app holds open. A row is checked as a whole: when an app holds any of its
// files, none of them moves, and its first item carries the reason.
TrashPlan withoutOpenRows(const TrashPlan& plan, const QList<QStringList>& rows,
                          const ProcessRunner& runner, const CancellationToken& cancellation,
                          TrashOutcome& refused) {
    QSet<QString> held;
    for (const QStringList& row : rows) {
        const OpenFileGuard::Holders holders = OpenFileGuard::holders(row, runner, cancellation);
        if (!holders.error && holders.processNames.isEmpty())
            continue;
        refused.failures.append(
            {row.first(), holders.error.value_or(holders.processNames.join(QStringLiteral(", ")) +
                                                 QStringLiteral(" has it open; quit it first"))});
        held.unite(QSet<QString>(row.cbegin(), row.cend()));
    }
    TrashPlan free;
    free.area = plan.area;
    free.sizeByURL = plan.sizeByURL;
    for (const TrashPlan::Batch& batch : plan.batches) {
        for (const QString& url : batch.urls) {
            if (!held.contains(url))
                free.add(batch.root, url, plan.sizeByURL.value(url));
        }
    }
    return free;
}

using CodexSessions = QHash<QString, CodexSessionRemoval::Session>;

// Moves what is left of `plan` (after the open-file check): Codex sessions with their rows, the
// rest through the trash step; one cleanup records both, its rows kept beside it.
TrashResult carryOutWithRows(const TrashPlan& plan, const CodexSessions& codex,
                             const AgentStorageModel::Services& services) {
    TrashResult result{plan, {}, 0, false, {}};
    QList<CodexSessionRemoval::Session> sessions;
    for (const TrashPlan::Batch& batch : plan.batches) {
        QList<QString> files;
        for (const QString& url : batch.urls) {
            if (const auto session = codex.constFind(url); session != codex.cend())
                sessions.append(*session);
            else
                files.append(url);
        }
        result.outcome.append(TrashService::trash(files, batch.root, *services.trash));
    }
    const CodexSessionRemoval::Outcome removed =
        CodexSessionRemoval::remove(sessions, *services.trash);
    result.outcome.append(removed.trash);
    result.reclaimedBytes = plan.bytesOf(result.outcome.trashed);
    result.cleanup = services.history.record(AgentStorage::cleanupArea,
                                             cleanupItems(result.outcome, plan.sizeByURL));
    if (result.cleanup.id) {
        const QString error = services.threadRecords.save(*result.cleanup.id, removed.records);
        if (!error.isEmpty())
            result.cleanup.notice +=
                (result.cleanup.notice.isEmpty() ? QString() : QStringLiteral("\n")) + error;
    }
    return result;
}

} // namespace

AgentStorageModel::Services AgentStorageModel::Services::system() {
    return Services{};
}

AgentStorageModel::AgentStorageModel(ToastCenter& toasts, Services services, QObject* parent)
    : InventoryModel(toasts, false, parent)
    , services_(std::move(services)) {}

const AgentStoreRow* AgentStorageModel::row(const QString& id) const {
    const auto at = rowByID_.constFind(id);
    return at == rowByID_.cend() ? nullptr : &store_.rows.at(*at);
}

bool AgentStorageModel::containsItem(const QString& id) const {
    const AgentStoreRow* listed = row(id);
    return listed && listed->isOffered();
}

QStringList AgentStorageModel::pathsOfItem(const QString& id) const {
    const AgentStoreRow* listed = row(id);
    return listed ? listed->paths() : QStringList();
}

void AgentStorageModel::startLoading() {
    startJob(JobKind::load, [this, inputs = services_.inputs](const CancellationToken& cancellation,
                                                              const MainThreadPost& post) {
        Measured measured;
        try {
            measured.store = AgentStorage::measure(inputs, cancellation);
        } catch (const CancelledError&) {
            return;
        }
        // Tens of thousands of rows: their index and default ticks are made here, off the main
        // thread, which only takes them over.
        const QList<AgentStoreRow>& rows = measured.store.rows;
        measured.rowByID.reserve(rows.size());
        for (qsizetype at = 0; at < rows.size(); ++at) {
            measured.rowByID.insert(rows.at(at).id, at);
            if (rows.at(at).tickedByDefault && rows.at(at).isOffered())
                measured.ticked.append(rows.at(at).id);
        }
        post([this, measured = std::move(measured)] {
            applyStore(measured);
            finishLoading();
        });
    });
}

void AgentStorageModel::applyStore(const Measured& measured) {
    store_ = measured.store;
    rowByID_ = measured.rowByID;
    // Every load decides the ticks afresh: sizes and kinds may have changed since. One change
    // signal for them all: a page redraws its ticks on each.
    {
        const QSignalBlocker quiet(this);
        clearSelection();
        for (const QString& id : measured.ticked)
            setSelected(id, true);
    }
    emit selectedIDsChanged();
    emit storeChanged();
}

qint64 AgentStorageModel::selectedBytes() const {
    qint64 total = 0;
    for (const QString& id : selectedIDs()) {
        if (const AgentStoreRow* listed = row(id))
            total = checkedSum(total, listed->bytes);
    }
    return total;
}

QStringList AgentStorageModel::olderThan(int days, const QDateTime& now) const {
    const QDateTime cutoff = now.addDays(-days);
    QStringList ids;
    for (const AgentStoreRow& listed : store_.rows) {
        const bool history = listed.kind == AgentStoreKind::projectHistory ||
                             listed.kind == AgentStoreKind::unreachable;
        if (history && listed.updatedAt && *listed.updatedAt < cutoff)
            ids.append(listed.id);
    }
    return ids;
}

void AgentStorageModel::selectOlderThan(int days, const QDateTime& now) {
    {
        const QSignalBlocker quiet(this);
        for (const QString& id : olderThan(days, now))
            setSelected(id, true);
    }
    emit selectedIDsChanged();
}

AgentStorage::Plan AgentStorageModel::plan() const {
    QStringList ids;
    for (const AgentStoreRow& listed : store_.rows) {
        if (selectedIDs().contains(listed.id))
            ids.append(listed.id);
    }
    return plan(ids);
}

AgentStorage::Plan AgentStorageModel::plan(const QStringList& ids) const {
    return AgentStorage::plan(store_, ids);
}

void AgentStorageModel::trash(const TrashPlan& plan) {
    if (plan.isEmpty() || !beginRemoval())
        return;
    const QList<QString> urls = plan.urls();
    const QSet<QString> planned(urls.cbegin(), urls.cend());
    QList<QStringList> rows;
    CodexSessions codex;
    for (const AgentStoreRow& listed : store_.rows) {
        QStringList inPlan;
        for (const AgentStoreItem& item : listed.items) {
            if (QString path = item.path(); planned.contains(path))
                inPlan.append(std::move(path));
        }
        if (!inPlan.isEmpty())
            rows.append(inPlan);
        if (!listed.threadID.isEmpty() && !listed.items.isEmpty()) {
            const QString log = listed.items.first().path();
            codex.insert(log, {listed.threadDatabase, listed.threadID, log, listed.root});
        }
    }
    startJob(JobKind::removal, [this, plan, rows, codex, services = services_,
                                dryRun = isDryRun()](const CancellationToken& cancellation,
                                                     const MainThreadPost& post) {
        TrashOutcome held;
        const TrashPlan free = withoutOpenRows(plan, rows, *services.runner, cancellation, held);
        TrashResult result = dryRun ? preview(free) : carryOutWithRows(free, codex, services);
        result.plan = plan;
        result.outcome.failures += held.failures;
        post([this, result] { applyTrashResult(result); });
    });
}

QStringList AgentStorageModel::restoreThreadRecords(const PutBackOutcome& outcome) {
    if (outcome.wasDryRun || outcome.cleanup.area != AgentStorage::cleanupArea)
        return {};
    const QStringList problems =
        AgentStorage::restoreThreadRecords(outcome, services_.threadRecords);
    if (hasLoaded())
        reload();
    return problems;
}

void AgentStorageModel::applyTrashResult(const TrashResult& result) {
    if (const QString toast = trashToastText(result); !toast.isEmpty())
        toasts().post(toast, ToastStyle::success, putBackOffer(result.cleanup));
    QList<ItemFailure> failures;
    for (const TrashFailure& failure : result.outcome.failures) {
        const auto owner =
            std::find_if(store_.rows.cbegin(), store_.rows.cend(),
                         [&](const AgentStoreRow& r) { return r.paths().contains(failure.url); });
        if (owner == store_.rows.cend())
            failures.append({failure.url, failure.url, failure.message});
        else
            failures.append({owner->id, owner->name, failure.message});
    }
    finishRemoval(failures);
    emit trashCompleted(result);
    if (!result.wasDryRun)
        reload();
}

} // namespace corvane
