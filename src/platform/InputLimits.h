#pragma once

#include <QByteArray>
#include <QList>
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
// A small file of key and value lines (Java properties, ".trashinfo", ".ini", ".desktop") or a
// small document (Info.plist, an editor's "workspace.json"). Real ones hold some kilobytes.
// Within it no line can be longer than lineBytes, and its readers keep one value per key.
inline constexpr qint64 smallFileBytes = qint64(1) * 1024 * 1024;
// Nesting of arrays and tables in a document our own code parses by descent. (Qt's JSON reader
// stops at 1024 levels by itself, libplist at its own limit.)
inline constexpr int nestingDepth = 128;
// One line (or NUL-ended record) of what another program prints or writes. The longest real
// ones are a path escaped byte by byte (4 × 4096 bytes on Linux) and a JSON line of a container
// with many labels (some kilobytes); a megabyte is far past both, and keeps a runaway line from
// costing the work a reader spends on one line (splitting, searching, matching patterns).
inline constexpr qsizetype lineBytes = qsizetype(1) * 1024 * 1024;
// The lines or records one reader takes from one source. The largest real ones: a git status
// lists untracked folders, not their files, so even the biggest repositories print some
// hundred thousand records; lsof over every process of a busy machine some ten thousand lines;
// a tree copied over SSH lists each of its entries once. A million is past all of them, and
// keeps the work per record (each is compared with those before it, or inserted in a table)
// from growing past what a scan may take.
inline constexpr qsizetype recordCount = 1'000'000;

struct FileRead {
    // The whole file; nothing when it could not be read or is over the limit.
    std::optional<QByteArray> bytes;
    // Why not, as the reason in a message that names the file: "Permission denied", "it is
    // larger than 64 MB, more than such a file can be".
    QString problem;
};

// The whole file at `path` when it holds at most `limit` bytes.
FileRead readFile(const QString& path, qint64 limit = fileBytes);

struct Records {
    // Every record, empty ones included, in order; nothing when the input is over a limit.
    std::optional<QList<QByteArray>> records;
    // Why not, in the form of FileRead::problem: "a line is longer than 1 MB, more than such a
    // line can be".
    QString problem;
};

// `input` cut at each `separator` (a last record without one counts too) when no record is
// longer than `lineLimit` and there are at most `countLimit` of them.
Records split(const QByteArray& input, char separator = '\n', qsizetype lineLimit = lineBytes,
              qsizetype countLimit = recordCount);

// The problem when a line of `length` bytes is longer than one may be, else nothing.
std::optional<QString> tooLong(qsizetype length, qsizetype lineLimit = lineBytes);
// The problem when `count` records are more than one source may hold, else nothing.
std::optional<QString> tooManyRecords(qsizetype count, qsizetype countLimit = recordCount);

// The one message of a source refused: "Could not read <source>: <problem>".
QString refusal(const QString& source, const QString& problem);

} // namespace corvane::InputLimits
