#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// The start of a Claude Code session file, where its working folder is written. Session files
// can be hundreds of megabytes, so only their head is ever read.
namespace corvane::SessionHead {

inline constexpr qint64 chunkSize = 65'536;
inline constexpr qint64 byteLimit = 524'288;

// The string value of the top-level "cwd" key of the first line that has a non-empty one,
// looking only at the first `byteLimit` bytes of the file (a few kilobytes first, then `chunkSize`
// pieces, and no further than that line). Nothing when the file can't be read or has no such line
// in its head.
std::optional<QString> firstCwd(const QString& path);

// The same search over text already read; a last line without a newline counts as a line.
std::optional<QString> firstCwdIn(const QByteArray& head);

// What the head of a session file tells about the session: where it started, and the title the
// user knows it by.
struct Head {
    std::optional<QString> cwd;
    // The summary Claude Code stored (a "summary" line ahead of the first prompt), else the first
    // line of the first prompt the user typed, shortened like every session title.
    std::optional<QString> title;
    // The session the first message line belongs to: a sub-agent's transcript names the session
    // that started it.
    std::optional<QString> sessionID;

    bool operator==(const Head&) const = default;
};

// Reads no further than `byteLimit` bytes, and stops as soon as both are known.
Head read(const QString& path);
Head readIn(const QByteArray& head);

} // namespace corvane::SessionHead
