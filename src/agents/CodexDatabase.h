#pragma once

#include "agents/Sqlite.h"

#include <QString>
#include <optional>

// Codex's thread database: "state_<N>.sqlite" in the Codex home, N the schema generation.
namespace corvane::CodexDatabase {

// The state database with the highest generation, or nothing. Other databases live beside it
// ("logs_2.sqlite") and older generations may remain.
std::optional<QString> latestStatePath(const QString& codexHome);

// Opens read-only while Codex may be writing. A database with a "-wal" file is opened plainly
// first, because an immutable open ignores the write-ahead log and would miss recent threads;
// otherwise the immutable open comes first, as it takes no locks. Each attempt is proved with a
// query; empty when neither works.
Sqlite::Connection openReadOnly(const QString& path);

// The two forms, exposed for tests that must tell them apart.
Sqlite::Connection openPlainReadOnly(const QString& path);
Sqlite::Connection openImmutable(const QString& path);

} // namespace corvane::CodexDatabase
