#include "agents/Sqlite.h"

#include <optional>
#include <sqlite3.h>

namespace corvane::Sqlite {

void ConnectionCloser::operator()(sqlite3* connection) const {
    sqlite3_close(connection);
}

void StatementFinalizer::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

Connection open(const QByteArray& filename, int flags) {
    sqlite3* raw = nullptr;
    const int status = sqlite3_open_v2(filename.constData(), &raw, flags, nullptr);
    Connection connection(raw);
    if (status != SQLITE_OK)
        connection.reset();
    return connection;
}

Statement prepare(sqlite3* connection, const QString& sql) {
    const QByteArray text = sql.toUtf8();
    sqlite3_stmt* raw = nullptr;
    if (sqlite3_prepare_v2(connection, text.constData(), static_cast<int>(text.size()), &raw,
                           nullptr) != SQLITE_OK) {
        sqlite3_finalize(raw);
        return {};
    }
    return Statement(raw);
}

bool hasColumn(sqlite3* connection, const QString& table, const QString& column) {
    const Statement statement =
        prepare(connection, QStringLiteral("PRAGMA table_info(") + table + u')');
    if (!statement)
        return false;
    while (sqlite3_step(statement.get()) == SQLITE_ROW) {
        if (columnText(statement.get(), 1) == column)
            return true;
    }
    return false;
}

bool bindText(sqlite3_stmt* statement, int index, const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    return sqlite3_bind_text(statement, index, utf8.constData(), static_cast<int>(utf8.size()),
                             SQLITE_TRANSIENT) == SQLITE_OK;
}

std::optional<QString> columnText(sqlite3_stmt* statement, int index) {
    if (sqlite3_column_type(statement, index) == SQLITE_NULL)
        return std::nullopt;
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
    const int size = sqlite3_column_bytes(statement, index);
    return QString::fromUtf8(text, size);
}

} // namespace corvane::Sqlite
