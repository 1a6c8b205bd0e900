#pragma once

#include <QString>
#include <optional>

// How paths from agent history are compared and moved.
namespace corvane::AgentPaths {

// Standardised, and on macOS rules "/tmp/..." and "/var/..." prefixed with "/private", so
// both spellings of one folder compare equal. Empty stays empty.
QString normalized(const QString& path, bool macRules);

// True when `path` is `folder` or lies inside it: "/a/b" matches "/a/b" and "/a/b/c", never
// "/a/bc".
bool isAtOrInside(const QString& path, const QString& folder);

// A move of one folder, applied to the paths stored by agents.
struct PathMove {
    QString oldPath;
    QString newPath;

    // The new value of `path` when it is under the old path (new path + the rest), else
    // nothing.
    std::optional<QString> rewritten(const QString& path) const;
    PathMove reversed() const { return {newPath, oldPath}; }
};

} // namespace corvane::AgentPaths
