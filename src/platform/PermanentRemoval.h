#pragma once

#include <QString>
#include <optional>

namespace corvane {

// Deletes a file, a link or a whole folder tree for good. A link is removed itself, never
// followed; a folder the owner may not write (package managers make their caches read-only) is
// made writable first so that its contents can go. Everything that can go goes: one entry that
// stays does not keep the others. Returns nothing when the item is gone, else the message for
// the user naming the first entry that stayed. Blocking; run it off the main thread.
std::optional<QString> removeForGood(const QString& path);

} // namespace corvane
