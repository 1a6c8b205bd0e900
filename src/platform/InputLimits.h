#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <optional>

// How much of what other programs print and write a reader takes in, in one place. Past a limit
// a reader refuses the input as a whole, with a message that names where it came from; it never
// hands on the part it read as if it were all there was.
namespace corvane::InputLimits {

// (What one output stream of a child program may hold is ProcessRunner::outputCap, 64 MB: the
// runner stops a tool that prints more and says so.)
// A file read whole: settings and state of other programs, manifests, records, our own files.
// ".claude.json" of a long-time user is some megabytes; nothing read whole comes near this.
inline constexpr qint64 fileBytes = qint64(64) * 1024 * 1024;
// A small file of key and value lines (Java properties, ".trashinfo", ".ini").
inline constexpr qint64 smallFileBytes = qint64(1) * 1024 * 1024;
// Nesting of arrays and tables in a document our own code parses by descent. (Qt's JSON reader
// stops at 1024 levels by itself, libplist at its own limit.)
inline constexpr int nestingDepth = 128;

struct FileRead {
    // The whole file; nothing when it could not be read or is over the limit.
    std::optional<QByteArray> bytes;
    // Why not, as the reason in a message that names the file: "Permission denied", "it is
    // larger than 64 MB, more than such a file can be".
    QString problem;
};

// The whole file at `path` when it holds at most `limit` bytes.
FileRead readFile(const QString& path, qint64 limit = fileBytes);

} // namespace corvane::InputLimits
