#pragma once

#include "agents/AgentModel.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

// What a row of agent data is to the user, decided by rule.
enum class AgentStoreKind {
    // History of a project that exists: kept unless the user picks it.
    projectHistory,
    // History nobody can reach: its project folder is gone and no new place is known, or an
    // editor workspace whose folder is gone.
    unreachable,
    // What the agent recreates by itself: debug logs, shell snapshots and the like.
    leftovers,
    // Credentials, settings, memory, plugins, MCP configuration, databases: never offered.
    neverTouched,
};

QString rawValue(AgentStoreKind kind);
QString displayName(AgentStoreKind kind);

// One thing removing a row moves, with its allocated bytes: a name in a folder rather than a path.
// Tens of thousands of sessions lie in a few hundred folders, so rows that pass the same folder
// string share it, and a session's names share its id; the path is made only when asked for.
struct AgentStoreItem {
    QString folder;
    QString name;
    qint64 bytes = 0;

    QString path() const;
    bool operator==(const AgentStoreItem&) const = default;
};

// One thing an agent keeps on disk that can be measured, and perhaps removed, as a whole: a
// session with its companion files, a workspace's storage folder, a store of leftovers.
struct AgentStoreRow {
    // The session id for a session; for other rows a name made from their place on disk.
    QString id;
    AgentKind agent = AgentKind::claudeCode;
    AgentStoreKind kind = AgentStoreKind::projectHistory;
    // Why the row is of its kind, in words for the user.
    QString reason;
    // The session's title, or what the row is ("Debug logs").
    QString name;
    // The folder the history belongs to (normalised); empty when there is none.
    QString project;
    std::optional<QDateTime> updatedAt;
    // Allocated bytes of every item.
    qint64 bytes = 0;
    // What removing the row moves: a list, not a hash, as tens of thousands of rows each hold a
    // few.
    QList<AgentStoreItem> items;
    // The folder every item must lie in (the agent's own folder).
    QString root;
    // Names inside the row's folders that belong to it although the rule would keep them alone.
    QStringList ownParts;
    // Why the row is listed but cannot be removed now; nothing when it can.
    std::optional<QString> blockedReason;
    // Where the project probably lives now: the row offers relinking instead of removal.
    std::optional<QString> newPlace;
    bool tickedByDefault = false;
    // A Codex session: the database holding its thread's row, and the thread.
    QString threadDatabase;
    QString threadID;

    // The items' paths, in order.
    QStringList paths() const;
    // May be ticked at all.
    bool isOffered() const;
    bool operator==(const AgentStoreRow&) const = default;
};

// Every agent's stores at one moment, in a fixed order: agent, then project, then newest first.
struct AgentStore {
    QList<AgentStoreRow> rows;

    const AgentStoreRow* row(const QString& id) const;
    qint64 totalBytes() const;
    // What can go without asking about history: the offered rows ticked by default.
    qint64 reclaimableBytes() const;
};

} // namespace corvane
