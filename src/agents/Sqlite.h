#pragma once

#include <QByteArray>
#include <QString>
#include <memory>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;

// Small owners for SQLite's C handles, so every early return closes what it opened.
namespace corvane::Sqlite {

struct ConnectionCloser {
    void operator()(sqlite3* connection) const;
};
struct StatementFinalizer {
    void operator()(sqlite3_stmt* statement) const;
};

using Connection = std::unique_ptr<sqlite3, ConnectionCloser>;
using Statement = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

// Opens with sqlite3_open_v2 (no VFS). On failure the handle SQLite may still hand back is
// closed and the result is empty.
Connection open(const QByteArray& filename, int flags);

// A prepared statement, or empty when `sql` does not compile (no such table, not a database).
Statement prepare(sqlite3* connection, const QString& sql);

// Whether the table has a column of exactly this name ("PRAGMA table_info").
bool hasColumn(sqlite3* connection, const QString& table, const QString& column);

// Binds text parameter `index` (1-based); the text is copied.
bool bindText(sqlite3_stmt* statement, int index, const QString& text);

// Column `index` of the current row as text, or nothing when it is NULL.
std::optional<QString> columnText(sqlite3_stmt* statement, int index);

} // namespace corvane::Sqlite
