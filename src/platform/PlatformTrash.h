#pragma once

#include <QString>
#include <optional>

namespace corvane {

// The platform's Trash: NSFileManager's on macOS, the freedesktop Trash with its .trashinfo
// record elsewhere. The real one is the default everywhere; a test hands a subclass to the code
// under test to make one item fail the way a locked file or a full volume would, which running
// as root or on one disk cannot produce.
class PlatformTrash {
public:
    virtual ~PlatformTrash() = default;

    // The Trash the system really uses.
    static const PlatformTrash& system() {
        static const PlatformTrash trash;
        return trash;
    }

    // Moves one file or folder (a link itself, never its target) to the Trash. Returns the
    // platform's message when it refuses; there is no fallback of any kind.
    virtual std::optional<QString> moveToTrash(const QString& path) const;
};

} // namespace corvane
