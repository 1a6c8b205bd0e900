#pragma once

#include "platform/CleanupHistory.h"
#include "platform/PlatformTrash.h"
#include "platform/TrashService.h"

#include <QHash>
#include <QList>
#include <QString>

namespace corvane {

// What one trash action moves, fixed when the user is asked: a confirmation shows a plan, and
// carrying it out moves exactly that plan's items and nothing that was ticked since.
struct TrashPlan {
    // Items that must lie inside one allowed area, in the order they are moved.
    struct Batch {
        QString root;
        QList<QString> urls;

        bool operator==(const Batch&) const = default;
    };

    QList<Batch> batches;
    // Measured bytes by item; an item without an entry counts 0.
    QHash<QString, qint64> sizeByURL;
    // The area of the app the items belong to, as the cleanup history names it ("projects").
    QString area;
    // What a confirmation shows of an item: the project or area it is listed under, its name
    // there and what it occupies (its entry in `sizeByURL` is what it frees). An item without
    // one is listed under its folder by its own name.
    struct Label {
        QString group;
        QString name;
        std::optional<qint64> sizeBytes;

        bool operator==(const Label&) const = default;
    };
    QHash<QString, Label> labelByURL;

    // Appends `url` to the batch of `root` (a new batch when the last one has another root).
    void add(const QString& root, const QString& url, std::optional<qint64> bytes);
    bool isEmpty() const;
    // Every item, batch after batch.
    QList<QString> urls() const;
    // The known bytes of `urls`. Overflow aborts.
    qint64 bytesOf(const QList<QString>& urls) const;
    qint64 totalBytes() const { return bytesOf(urls()); }

    bool operator==(const TrashPlan&) const = default;
};

// A plan carried out (or, in a dry run, looked at): what moved, what did not and why, and the
// bytes of what moved.
struct TrashResult {
    TrashPlan plan;
    TrashOutcome outcome;
    qint64 reclaimedBytes = 0;
    bool wasDryRun = false;
    // Where the cleanup history keeps what moved, for putting it back.
    RecordedCleanup cleanup;
};

// Moves the plan's items batch by batch through the trash service, each inside its own area, and
// records what moved, and where to, as one cleanup in `history`. Blocking; run it off the main
// thread.
TrashResult carryOut(const TrashPlan& plan, const PlatformTrash& platform = PlatformTrash::system(),
                     const CleanupHistory& history = CleanupHistory());

// What carrying the plan out would move and what the trash service would refuse before asking
// the platform. Moves nothing.
TrashResult preview(const TrashPlan& plan);

// The toast of a trash action, from its result: "Moved 3 items (1.2 GB) to the Trash" (the space
// is reclaimed only when the Trash is emptied), or for a dry run "Dry run: would move 3 items
// (1.2 GB) to the Trash", followed on its own line by the cleanup history's notice if it has one.
// Empty when nothing moved (or would).
QString trashToastText(const TrashResult& result);

} // namespace corvane
