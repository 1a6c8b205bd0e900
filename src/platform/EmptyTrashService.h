#pragma once

#include "platform/CleanupHistory.h"

#include <QList>
#include <QString>
#include <optional>

namespace corvane {

// One item this app put in the Trash, as the cleanup that moved it recorded it.
struct OwnTrashItem {
    QString cleanupID;
    QDateTime date;
    QString area;
    CleanupItem item;

    bool operator==(const OwnTrashItem&) const = default;
};

// What the cleanup history says this app has in the Trash now.
struct OwnTrashListing {
    // Cleanup by cleanup, oldest first, each in its order.
    QList<OwnTrashItem> items;
    // Why the history could not be read, or not all of it.
    std::optional<QString> problem;

    qint64 bytes() const;
    bool operator==(const OwnTrashListing&) const = default;
};

// One item that stayed in the Trash, and why.
struct EmptyTrashFailure {
    OwnTrashItem item;
    QString message;

    bool operator==(const EmptyTrashFailure&) const = default;
};

// What emptying did (or, in a dry run, would do).
struct EmptyTrashOutcome {
    // Deleted for good, in the order given.
    QList<OwnTrashItem> emptied;
    QList<EmptyTrashFailure> failures;
    qint64 freedBytes = 0;
    bool wasDryRun = false;
    // Set when the history could not note what was emptied.
    QString message;

    bool operator==(const EmptyTrashOutcome&) const = default;
};

// Empties the Trash of what this app put there, and of nothing else: an item is deleted only
// while the entry at its recorded place in the Trash is the very one its cleanup made (see
// `TrashLocation::entry`), so a file of the user's that landed in the Trash under the same name
// stays, as does everything the history does not know. Stateless and blocking; run it off the
// main thread. A batch never stops at a failure.
struct EmptyTrashService {
    static inline const QString goneMessage =
        QStringLiteral("No longer in the Trash: it was put back, or the Trash was emptied");
    static inline const QString anotherItemMessage =
        QStringLiteral("The Trash holds another item at its place now, so it was left alone");
    static inline const QString unknownEntryMessage =
        QStringLiteral("Where it went in the Trash was not recorded, so it was left alone");
    static inline const QString outsideTrashMessage =
        QStringLiteral("Its recorded place is not inside a Trash folder, so it was left alone");

    // The items of every cleanup of `history` that the Trash still holds as their cleanup left
    // them (not put back, not emptied). Reads the Trash.
    static OwnTrashListing list(const CleanupHistory& history);

    // Deletes `items` for good, each checked again just before, and marks them emptied in
    // `history`. A dry run checks the same and deletes nothing.
    static EmptyTrashOutcome empty(const QList<OwnTrashItem>& items, const CleanupHistory& history,
                                   bool dryRun = false);
};

// The toast after emptying: "Reclaimed 1.2 GB by deleting 3 items from the Trash", one line per
// item that stayed, or "Dry run: would delete 3 items (1.2 GB) from the Trash".
QString emptyTrashToastText(const EmptyTrashOutcome& outcome);

} // namespace corvane
