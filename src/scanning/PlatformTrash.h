#pragma once

#include <QString>
#include <optional>

namespace corvane {

// Moves one file or folder (a link itself, never its target) to the platform's Trash:
// NSFileManager's on macOS, the freedesktop Trash with its .trashinfo record elsewhere. Returns
// the platform's message when it refuses; there is no fallback of any kind.
std::optional<QString> moveToPlatformTrash(const QString& path);

} // namespace corvane
