#pragma once

#include "agents/AgentHistoryIndex.h"
#include "agents/AgentLocations.h"
#include "agents/AgentStore.h"
#include "agents/CodexSessionRemoval.h"
#include "platform/Cancellation.h"
#include "platform/InventoryModel.h"
#include "platform/PutBackService.h"
#include "platform/TrashPlan.h"

#include <QHash>
#include <functional>

// Measures what every coding agent keeps and decides what of it may go. Stateless; blocking, so
// run it off the main thread.
namespace corvane::AgentStorage {

inline const QString cleanupArea = QStringLiteral("agents");

struct Inputs {
    AgentLocations locations;
    // Where each missing project folder of the index probably lives now (missing -> new place).
    std::function<QHash<QString, QString>(const AgentHistoryIndex&)> newPlaces;
};

// Every agent's stores, each row measured in allocated bytes and of its kind.
AgentStore measure(const Inputs& inputs, const CancellationToken& cancellation = {});

// What removing the rows `ids` moves. A row that may not go (never touched, blocked, holding a
// never-touched entry, unknown) is refused as a whole, with its reason; the rest is in `trash`.
struct Plan {
    TrashPlan trash;
    // The rows whose items are in the plan.
    QStringList rowIDs;
    QList<ItemFailure> refused;
};
Plan plan(const AgentStore& store, const QStringList& ids);

// After a put back of one of this area's cleanups: the rows of the Codex sessions that came back go
// back into Codex's database (a row that cannot is kept for a later try). One message per row
// that could not.
QStringList restoreThreadRecords(const PutBackOutcome& outcome,
                                 const CodexSessionRemoval::RecordStore& records);

// The rule that decides a history row's kind from its project folder: a folder that exists keeps
// it; one that is gone makes it unreachable, ticked unless a new place is known.
void classifyHistory(AgentStoreRow& row, const QHash<QString, QString>& newPlaces);

// The same rule, remembering each project folder's answer: tens of thousands of rows share a few
// hundred folders, and then one look at each and one copy of each reason.
class HistoryClassifier {
public:
    explicit HistoryClassifier(const QHash<QString, QString>& newPlaces)
        : newPlaces_(newPlaces) {}

    void classify(AgentStoreRow& row);

private:
    const QHash<QString, QString>& newPlaces_;
    // Project folder -> a row classified for it.
    QHash<QString, AgentStoreRow> decided_;
};

// Adds the entry `name` of `folder` to the row's items with its allocated bytes, if it exists.
// Rows of one store pass the same `folder` string, so they share it.
void addMeasured(AgentStoreRow& row, const QString& folder, const QString& name,
                 const CancellationToken& cancellation);
// The same for an absolute path, for rows of which there are few.
void addMeasured(AgentStoreRow& row, const QString& path, const CancellationToken& cancellation);

} // namespace corvane::AgentStorage
