#pragma once

#include "organize/OrganizeJournal.h"
#include "organize/ProjectMover.h"
#include "platform/Cancellation.h"
#include "platform/PlatformTrash.h"

#include <QList>
#include <QString>
#include <functional>
#include <optional>

namespace corvane {

// Carries out an organize plan one move at a time and takes the newest run back. Every move is
// written to the journal as soon as it is done, so a run that is cancelled, or a program that
// ends halfway, leaves a journal that undoes exactly the moves made.
struct OrganizeExecutor {
    struct Outcome {
        OrganizeRun run;
        QList<MoveFailure> failures;
        // Set when the journal could not be saved; the moves stay done.
        std::optional<QString> journalError;
    };

    struct UndoOutcome {
        // The moves put back, in the order undone (newest first).
        QList<MoveRecord> restored;
        QList<MoveFailure> failures;
        std::optional<QString> journalError;
        // There was no run to undo.
        bool nothingToUndo = false;
    };

    // Called before each move with the entry, its number from 0 and the count of moves.
    using Progress = std::function<void(const QString& source, int index, int count)>;

    ProjectMover mover;
    OrganizeJournal journal;
    // The folder inside which empty source parents may be trashed (the home folder).
    QString trashArea;
    const PlatformTrash* trash = &PlatformTrash::system();

    // Moves the ready entries of `plan` in plan order; a failed entry is listed and the run goes
    // on. Afterwards, each source parent that holds nothing (or only ".DS_Store") goes to the
    // Trash. Stops before the next move once `cancellation` is cancelled.
    Outcome run(const QList<OrganizeEntry>& plan,
                const CancellationToken& cancellation = CancellationToken(),
                const Progress& progress = {}) const;

    // One move journaled as a run of its own (the Move Project command).
    Outcome moveOne(const QString& source, const QString& destination) const;
    // History relinked by hand from a folder that is gone, journaled as a run of its own.
    Outcome relinkOne(const QString& oldPath, const QString& newPath) const;

    // Undoes the newest run's moves in reverse order; the moves that could not go back stay in
    // the journal as that run, the run disappears when all went back. When a move was cut
    // short, taking it back is the undo: nothing older goes back with it.
    UndoOutcome undoLast() const;

    // Takes back every journaled move that was cut short (its process gone before the move was
    // done) and drops it from the journal; the moves of its run that were done stay journaled.
    // `nothingToUndo` is set when there was none.
    UndoOutcome recoverInterrupted() const;

    // A folder that holds nothing, or nothing but ".DS_Store" files.
    static bool isEmptyFolder(const QString& path);
};

} // namespace corvane
