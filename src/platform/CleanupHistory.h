#pragma once

#include "platform/OwnFile.h"
#include "platform/PlatformTrash.h"
#include "platform/ToastCenter.h"

#include <QDateTime>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <optional>

namespace corvane {

struct TrashOutcome;

// One item of a cleanup: where it was, and where it went in the Trash.
struct CleanupItem {
    QString originalPath;
    TrashLocation location;
    qint64 bytes = 0;
    // Put back by an earlier run, so a later one does not try it again.
    bool isPutBack = false;
    // Deleted for good from the Trash by this app ("Empty Trash…"): gone, and gone on purpose.
    bool isEmptied = false;

    bool operator==(const CleanupItem&) const = default;
};

// One trash action that went through: what it moved, from which area of the app.
struct Cleanup {
    // A short unique name the user can type ("20261125-161611", a number added on a clash).
    QString id;
    QDateTime date;
    // "projects", "caches", "apps".
    QString area;
    QList<CleanupItem> items;

    qint64 bytes() const;
    // The items not put back that the Trash still holds: the entry at their place in the Trash
    // is the one this cleanup made (see `TrashLocation::entry`). Looks at the disk.
    qsizetype itemsInTrash() const;
    // The cleanup is over: this app deleted some of its items for good from the Trash ("Empty
    // Trash…") and put the others back.
    bool isEmptied() const;

    bool operator==(const Cleanup&) const = default;
};

// What recording a cleanup left behind: its id, and a notice for the user when the history could
// not be kept as it was.
struct RecordedCleanup {
    std::optional<QString> id;
    QString notice;

    bool operator==(const RecordedCleanup&) const = default;
};

// The cleanups of every area, newest last, in "cleanup-history.json" in the application's support
// folder: pretty-printed with sorted keys, changed as an own file (OwnFile) so that the app and the
// command line never lose each other's cleanups. A history that can't be read is never taken for
// empty: recording keeps its bytes aside first, and marking refuses to write.
class CleanupHistory {
public:
    static constexpr int keptCleanups = 100;

    // The history in the application's support folder.
    CleanupHistory();
    explicit CleanupHistory(QString path);

    const QString& path() const { return path_; }

    struct Contents {
        // Oldest first.
        QList<Cleanup> cleanups;
        // Why the file could not be read, or not all of it; it is left as it is.
        std::optional<QString> problem;
    };
    Contents load() const;

    // Adds a cleanup of `area` with `items` (nothing at all when there are none), dropping the
    // oldest beyond `keptCleanups`.
    RecordedCleanup record(const QString& area, const QList<CleanupItem>& items,
                           const QDateTime& date = QDateTime::currentDateTimeUtc()) const;
    // Marks the items of cleanup `id` whose original paths are given as put back. Returns an empty
    // string on success, else the message for the user.
    QString markPutBack(const QString& id, const QList<QString>& originalPaths) const;
    // Marks the items of cleanup `id` whose original paths are given as emptied from the Trash.
    QString markEmptied(const QString& id, const QList<QString>& originalPaths) const;

    static QJsonObject cleanupJson(const Cleanup& cleanup);
    static std::optional<Cleanup> cleanupFromJson(const QJsonObject& object);

private:
    OwnFile file() const;
    QString mark(const QString& id, const QList<QString>& originalPaths, const QString& key) const;

    QString path_;
};

// The items of a trash action's outcome, each with its measured bytes (0 when unknown).
QList<CleanupItem> cleanupItems(const TrashOutcome& outcome,
                                const QHash<QString, qint64>& sizeByURL = {});

// The "Put Back" button of the toast after a recorded cleanup; nothing when none was recorded.
inline const QString putBackTitle = QStringLiteral("Put Back");
inline const QString putBackCommand = QStringLiteral("putBack");
std::optional<ToastAction> putBackOffer(const RecordedCleanup& cleanup);

} // namespace corvane
