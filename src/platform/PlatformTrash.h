#pragma once

#include <QString>
#include <optional>

namespace corvane {

// Where one item went in the Trash, so that it can be put back from there.
struct TrashLocation {
    // The item inside the Trash: the resulting URL's path on macOS, "files/<name>" of the
    // freedesktop Trash elsewhere. Empty when the platform did not say.
    QString path;
    // The freedesktop ".trashinfo" record that names the original place; empty on macOS.
    QString infoPath;

    bool operator==(const TrashLocation&) const = default;
};

// One move to the Trash: where the item is now, or the platform's message why it stayed.
struct TrashMove {
    std::optional<QString> failure;
    TrashLocation location;

    static TrashMove refused(QString message) { return {std::move(message), {}}; }
    static TrashMove movedTo(TrashLocation location) { return {std::nullopt, std::move(location)}; }
};

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

    // Moves one file or folder (a link itself, never its target) to the Trash and says where it
    // went, or the platform's message when it refuses; there is no fallback of any kind.
    virtual TrashMove moveToTrash(const QString& path) const;
};

} // namespace corvane
