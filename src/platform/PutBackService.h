#pragma once

#include "platform/CleanupHistory.h"

#include <QList>
#include <QString>
#include <optional>

namespace corvane {

// One item that stayed in (or had already left) the Trash, and why.
struct PutBackFailure {
    // The place it was to go back to.
    QString path;
    QString message;

    bool operator==(const PutBackFailure&) const = default;
};

// What putting one cleanup back did (or, in a dry run, would do).
struct PutBackOutcome {
    // Why nothing was tried at all.
    enum class Refusal { noCleanup, unknownCleanup, unreadableHistory };
    std::optional<Refusal> refusal;
    // The refusal in words, or the history's notice after the put back.
    QString message;

    Cleanup cleanup;
    // The original places that hold their item again, in the cleanup's order.
    QList<QString> restored;
    QList<PutBackFailure> failures;
    // Items an earlier put back restored; they are not tried again.
    qsizetype alreadyPutBack = 0;
    qint64 restoredBytes = 0;
    bool wasDryRun = false;

    bool operator==(const PutBackOutcome&) const = default;
};

// Moves the items of a recorded cleanup from the Trash back to where they were. An item goes back
// only to a free place: when something now exists there, the item stays in the Trash and its
// failure says why; folders on the way that are gone are made again. A batch never stops at a
// failure. Stateless and blocking; run it off the main thread.
struct PutBackService {
    static inline const QString placeTakenMessage =
        QStringLiteral("Something else is at this place now, so it stays in the Trash");
    static inline const QString notInTrashMessage =
        QStringLiteral("No longer in the Trash: it was emptied, or the item was taken out of it");
    static inline const QString anotherItemMessage =
        QStringLiteral("The Trash holds another item at its place now (the Trash was emptied "
                       "since), so nothing was moved");
    static inline const QString notRecordedMessage =
        QStringLiteral("Where it went in the Trash was not recorded, so it can't be put back "
                       "from here");

    // Puts back the cleanup `id` of `history`, or its newest cleanup when `id` is absent, and marks
    // what came back in the history.
    static PutBackOutcome putBack(const CleanupHistory& history, const std::optional<QString>& id,
                                  bool dryRun = false);

    // Puts back the items of `cleanup` that were not put back before. Changes no history.
    static PutBackOutcome putBack(const Cleanup& cleanup, bool dryRun = false);
};

// The toast after a put back: "Put back 3 items", "Put back 2 of 3 items" with one line per item
// that stayed, or "Dry run: would put back 3 items".
QString putBackToastText(const PutBackOutcome& outcome);

} // namespace corvane
