#pragma once

#include "agents/AgentHistoryIndex.h"
#include "agents/AgentLocations.h"
#include "agents/AgentStore.h"
#include "platform/Cancellation.h"

#include <QHash>

// The stores of each agent, measured into rows (see AgentStorage).
namespace corvane::AgentStoreSources {

struct Context {
    const AgentLocations& locations;
    const AgentHistoryIndex& index;
    // Missing project folder -> where it probably is now.
    const QHash<QString, QString>& newPlaces;
    const CancellationToken& cancellation;
};

// Claude Code: each session with its companion folder, file history and to-do lists; debug logs
// and shell snapshots; what is left of sessions that are gone; the desktop app's records.
QList<AgentStoreRow> claude(const Context& context);
// Codex: each thread's session log, logs the database no longer names, its own logs.
QList<AgentStoreRow> codex(const Context& context);
// Cursor, VS Code, Antigravity: each workspace's storage folder.
QList<AgentStoreRow> editors(const Context& context);

// The entries directly in `folder` that are never touched, each a row of its own (listed so the
// user sees what is kept, never offered).
QList<AgentStoreRow> neverTouched(const QString& folder, AgentKind agent,
                                  const CancellationToken& cancellation);

// The entries of `folder` by name (files and folders, hidden ones too).
QStringList entriesOf(const QString& folder);

} // namespace corvane::AgentStoreSources
