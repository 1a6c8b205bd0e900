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
    if (row.paths.isEmpty())
        return QStringLiteral("Nothing of it is left on disk");
    for (const QString& path : row.paths) {
        if (const std::optional<QString> kind = AgentStoreRules::refusal(path, row.ownParts))
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

void addMeasured(AgentStoreRow& row, const QString& path, const CancellationToken& cancellation) {
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        return;
    const qint64 bytes = SizeCalculator::size(path, cancellation);
    row.paths.append(path);
    row.pathBytes.append(bytes);
    row.bytes = checkedSum(row.bytes, bytes);
}

AgentStore measure(const Inputs& inputs, const CancellationToken& cancellation) {
    AgentStore store;
    // The index goes before the rows are sorted: with tens of thousands of sessions the two
    // together are most of the memory a measurement takes.
    {
        const AgentHistoryIndex index = AgentHistoryIndex::build(inputs.locations);
        const QHash<QString, QString> newPlaces =
            inputs.newPlaces ? inputs.newPlaces(index) : QHash<QString, QString>();
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
        for (qsizetype at = 0; at < row->paths.size(); ++at)
            result.trash.add(row->root, row->paths.at(at), row->pathBytes.value(at));
        result.rowIDs.append(id);
    }
    return result;
}

} // namespace corvane::AgentStorage
