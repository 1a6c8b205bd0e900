#include "agents/AgentPaths.h"

#include "platform/Paths.h"

namespace corvane::AgentPaths {

QString normalized(const QString& path, bool macRules) {
    if (path.isEmpty())
        return path;
    return Paths::withPrivatePrefix(Paths::standardized(path), macRules);
}

bool isAtOrInside(const QString& path, const QString& folder) {
    return Paths::isUnder(path, folder);
}

std::optional<QString> PathMove::rewritten(const QString& path) const {
    if (!isAtOrInside(path, oldPath))
        return std::nullopt;
    if (path == oldPath)
        return newPath;
    if (oldPath == QStringLiteral("/"))
        return Paths::joined(newPath, path.mid(1));
    return newPath + path.mid(oldPath.size());
}

} // namespace corvane::AgentPaths
