#pragma once

#include <QString>
#include <QtGlobal>
#include <optional>
#include <utility>

namespace corvane {

// What tells one file from another on its volume: the same device and inode, unchanged since.
struct FileIdentity {
    qint64 device = 0;
    qint64 inode = 0;
    qint64 size = 0;
    // Nanoseconds since 1970.
    qint64 modified = 0;

    // The identity of `path` itself (a link, not its target), or nothing when it is absent.
    static std::optional<FileIdentity> of(const QString& path);

    bool operator==(const FileIdentity&) const = default;
};

// Where one item went in the Trash, and what marks the entry there as the one that move made:
// the Trash is emptied and refilled, and another item may land at the same name later.
struct TrashLocation {
    TrashLocation() = default;
    // A location recorded without marks (an older history) takes only the first two.
    TrashLocation(QString path, QString infoPath, QString recordedPath = {},
                  QString deletionDate = {}, std::optional<FileIdentity> identity = std::nullopt)
        : path(std::move(path))
        , infoPath(std::move(infoPath))
        , recordedPath(std::move(recordedPath))
        , deletionDate(std::move(deletionDate))
        , identity(identity) {}

    // The item inside the Trash: the resulting URL's path on macOS, "files/<name>" of the
    // freedesktop Trash elsewhere. Empty when the platform did not say.
    QString path;
    // The freedesktop ".trashinfo" record that names the original place; empty on macOS.
    QString infoPath;
    // The record's "Path=" and "DeletionDate=" values exactly as written; empty on macOS.
    QString recordedPath;
    QString deletionDate;
    // The item as it lies in the Trash (macOS), recorded right after the move.
    std::optional<FileIdentity> identity;

    // Whether the Trash still holds, at `path`, the entry this move made. An entry recorded
    // without any mark (an older history) is matched by its record's "Path=" against
    // `originalPath`; without a record either, it is not known. A record that cannot be read
    // (or is over InputLimits::smallFileBytes) tells no entry from another: `another`, and then
    // `problem` says why, naming the record.
    enum class Entry { same, gone, another, unknown };
    Entry entry(const QString& originalPath, QString* problem = nullptr) const;

    bool operator==(const TrashLocation&) const = default;
};

// One move to the Trash: where the item is now, or the platform's message why it stayed.
struct TrashMove {
    std::optional<QString> failure;
    TrashLocation location;

    static TrashMove refused(QString message) { return {std::move(message), {}}; }
    static TrashMove movedTo(TrashLocation location) { return {std::nullopt, std::move(location)}; }
};

// The platform's Trash: NSFileManager's on macOS (or the folder standing in for it, see
// Locations::trashStandIn), the freedesktop Trash with its .trashinfo record elsewhere. The
// real one is the default everywhere; a test hands a subclass to the code under test to make
// one item fail the way a locked file or a full volume would, which running as root or on one
// disk cannot produce.
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
