#include "agents/AgentStore.h"

#include "platform/CheckedSum.h"
#include "platform/Paths.h"

namespace corvane {

QString rawValue(AgentStoreKind kind) {
    switch (kind) {
    case AgentStoreKind::projectHistory:
        return QStringLiteral("projectHistory");
    case AgentStoreKind::unreachable:
        return QStringLiteral("unreachable");
    case AgentStoreKind::leftovers:
        return QStringLiteral("leftovers");
    case AgentStoreKind::neverTouched:
        return QStringLiteral("neverTouched");
    }
    return {};
}

QString displayName(AgentStoreKind kind) {
    switch (kind) {
    case AgentStoreKind::projectHistory:
        return QStringLiteral("History of a project");
    case AgentStoreKind::unreachable:
        return QStringLiteral("History nobody can reach");
    case AgentStoreKind::leftovers:
        return QStringLiteral("Reproducible leftovers");
    case AgentStoreKind::neverTouched:
        return QStringLiteral("Never touched");
    }
    return {};
}

QString AgentStoreItem::path() const {
    return folder.isEmpty() ? name : Paths::joined(folder, name);
}

QStringList AgentStoreRow::paths() const {
    QStringList result;
    result.reserve(items.size());
    for (const AgentStoreItem& item : items)
        result.append(item.path());
    return result;
}

bool AgentStoreRow::isOffered() const {
    return kind != AgentStoreKind::neverTouched && !blockedReason && !items.isEmpty();
}

const AgentStoreRow* AgentStore::row(const QString& id) const {
    for (const AgentStoreRow& candidate : rows) {
        if (candidate.id == id)
            return &candidate;
    }
    return nullptr;
}

qint64 AgentStore::totalBytes() const {
    qint64 total = 0;
    for (const AgentStoreRow& row : rows)
        total = checkedSum(total, row.bytes);
    return total;
}

qint64 AgentStore::reclaimableBytes() const {
    qint64 total = 0;
    for (const AgentStoreRow& row : rows) {
        if (row.isOffered() && row.tickedByDefault)
            total = checkedSum(total, row.bytes);
    }
    return total;
}

} // namespace corvane
