#include "agents/AgentStorage.h"

#include "agents/AgentStoreRules.h"
#include "agents/AgentStoreSources.h"
#include "platform/CheckedSum.h"
#include "platform/SizeCalculator.h"

#include <QFileInfo>
#include <algorithm>

namespace corvane::AgentStorage {
namespace {

void sortRows(QList<AgentStoreRow>& rows) {
    std::stable_sort(rows.begin(), rows.end(), [](const AgentStoreRow& a, const AgentStoreRow& b) {
        if (a.agent != b.agent)
            return a.agent < b.agent;
        if (a.project != b.project)
            return a.project < b.project;
        return a.updatedAt.value_or(QDateTime()) > b.updatedAt.value_or(QDateTime());
    });
}

std::optional<QString> whyNot(const AgentStoreRow& row) {
    if (row.kind == AgentStoreKind::neverTouched)
        return row.reason;
    if (row.blockedReason)
        return row.blockedReason;
    if (row.items.isEmpty())
        return QStringLiteral("Nothing of it is left on disk");
    for (const AgentStoreItem& item : row.items) {
        if (const std::optional<QString> kind = AgentStoreRules::refusal(item.path(), row.ownParts))
            return QStringLiteral("Never removed: it holds ") + kind->toLower();
    }
    return std::nullopt;
}

} // namespace

void classifyHistory(AgentStoreRow& row, const QHash<QString, QString>& newPlaces) {
    if (row.project.isEmpty()) {
        row.kind = AgentStoreKind::projectHistory;
        row.reason = QStringLiteral("Its project folder is not recorded");
        return;
    }
    if (QFileInfo(row.project).isDir()) {
        row.kind = AgentStoreKind::projectHistory;
        row.reason = QStringLiteral("Its project is at ") + row.project;
        return;
    }
    row.kind = AgentStoreKind::unreachable;
    if (const auto place = newPlaces.constFind(row.project); place != newPlaces.cend()) {
        row.newPlace = *place;
        row.reason = row.project + QStringLiteral(" is gone; the project is probably now at ") +
                     *place + QStringLiteral(" (relink it there to keep its history)");
        return;
    }
    row.reason = row.project + QStringLiteral(" no longer exists");
    row.tickedByDefault = true;
}

void HistoryClassifier::classify(AgentStoreRow& row) {
    auto decided = decided_.constFind(row.project);
    if (decided == decided_.cend()) {
        AgentStoreRow model;
        model.project = row.project;
        classifyHistory(model, newPlaces_);
        decided = decided_.insert(row.project, model);
    }
    row.kind = decided->kind;
    row.reason = decided->reason;
    row.newPlace = decided->newPlace;
    row.tickedByDefault = decided->tickedByDefault;
}

void addMeasured(AgentStoreRow& row, const QString& folder, const QString& name,
                 const CancellationToken& cancellation) {
    AgentStoreItem item{folder, name, 0};
    const QString path = item.path();
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        return;
    item.bytes = SizeCalculator::size(path, cancellation);
    row.bytes = checkedSum(row.bytes, item.bytes);
    row.items.append(item);
}

void addMeasured(AgentStoreRow& row, const QString& path, const CancellationToken& cancellation) {
    // Split so that the item's path is `path` again, whatever it is (a log a database names may
    // be relative).
    const qsizetype slash = path.lastIndexOf(u'/');
    const QString folder = slash < 0 ? QString() : path.left(std::max<qsizetype>(slash, 1));
    addMeasured(row, folder, path.mid(slash + 1), cancellation);
}

AgentStore measure(const Inputs& inputs, const CancellationToken& cancellation) {
    AgentStore store;
    // The index goes before the rows are sorted: with tens of thousands of sessions the two
    // together are most of the memory a measurement takes.
    {
        AgentHistoryIndex index = AgentHistoryIndex::build(inputs.locations);
        const QHash<QString, QString> newPlaces =
            inputs.newPlaces ? inputs.newPlaces(index) : QHash<QString, QString>();
        // The rows name their files from their own folders: the index's whole path of every
        // session would only stay beside them until the end.
        for (AgentSession& session : index.sessions)
            session.file.clear();
        AgentStoreSources::Context context{inputs.locations, index, newPlaces, cancellation};
        store.rows = AgentStoreSources::claude(context);
        store.rows += AgentStoreSources::codex(context);
        store.rows += AgentStoreSources::editors(context);
    }
    sortRows(store.rows);
    return store;
}

QStringList restoreThreadRecords(const PutBackOutcome& outcome,
                                 const CodexSessionRemoval::RecordStore& records) {
    if (outcome.wasDryRun || outcome.cleanup.area != cleanupArea || outcome.restored.isEmpty())
        return {};
    QStringList problems;
    for (const CodexSessionRemoval::ThreadRecord& record :
         records.take(outcome.cleanup.id, outcome.restored)) {
        const QString problem = CodexSessionRemoval::restore(record);
        if (problem.isEmpty())
            continue;
        problems.append(record.log + QStringLiteral(": ") + problem);
        records.save(outcome.cleanup.id, {record});
    }
    return problems;
}

Plan plan(const AgentStore& store, const QStringList& ids) {
    Plan result;
    result.trash.area = cleanupArea;
    for (const QString& id : ids) {
        const AgentStoreRow* row = store.row(id);
        if (!row) {
            result.refused.append({id, id, QStringLiteral("No such agent data")});
            continue;
        }
        if (const std::optional<QString> reason = whyNot(*row)) {
            result.refused.append({id, row->name, *reason});
            continue;
        }
        for (const AgentStoreItem& item : row->items)
            result.trash.add(row->root, item.path(), item.bytes);
        result.rowIDs.append(id);
    }
    return result;
}

} // namespace corvane::AgentStorage
