#include "organize/OrganizeExecutor.h"

#include "organize/StandardFolders.h"
#include "platform/Paths.h"
#include "platform/TrashService.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace corvane {
namespace {

QList<OrganizeEntry> readyEntries(const QList<OrganizeEntry>& plan) {
    QList<OrganizeEntry> ready;
    for (const OrganizeEntry& entry : plan) {
        if (entry.status.kind == OrganizeStatus::Case::ready)
            ready.append(entry);
    }
    return ready;
}

OrganizeRun newRun() {
    OrganizeRun run;
    run.id = QUuid::createUuid();
    run.date = QDateTime::currentDateTimeUtc();
    return run;
}

// The parents the moved projects left, each once, in the order of the moves.
QStringList sourceParents(const OrganizeRun& run) {
    QStringList parents;
    for (const MoveRecord& move : run.moves) {
        const QString parent = Paths::parentPath(move.source);
        if (move.movedFolder && !parents.contains(parent))
            parents.append(parent);
    }
    return parents;
}

using Outcome = OrganizeExecutor::Outcome;

// The process that journaled the move still runs (and is not this one, which is not moving
// anything while it recovers).
bool isUnderWay(const MoveRecord& move) {
    const auto pid = static_cast<pid_t>(move.process);
    if (pid <= 0 || pid == ::getpid())
        return false;
    return ::kill(pid, 0) == 0 || errno == EPERM;
}

// Each save writes the whole run, so only the latest one decides whether the journal holds it;
// word that an unreadable journal was kept aside stays until a save fails.
void record(const OrganizeJournal& journal, Outcome& outcome, QString& notice) {
    const OwnFile::Outcome saved = journal.save(outcome.run);
    if (!saved.notice.isEmpty())
        notice = saved.notice;
    if (!saved.error.isEmpty())
        outcome.journalError = saved.error;
    else if (!notice.isEmpty())
        outcome.journalError = notice;
    else
        outcome.journalError.reset();
}

// Journals the run with the move under way as its newest, before each stage of the move.
ProjectMover::Intent intentOf(const OrganizeJournal& journal, Outcome& outcome, bool& written) {
    return [&journal, &outcome, &written](const MoveRecord& pending) {
        OrganizeRun withPending = outcome.run;
        withPending.moves.append(pending);
        written = true;
        if (const QString error = journal.save(withPending).error; !error.isEmpty())
            outcome.journalError = error;
    };
}

// A move that failed after its intent was written leaves no trace of it in the journal.
void forgetFailedMove(const OrganizeJournal& journal, Outcome& outcome) {
    const QString error =
        (outcome.run.moves.isEmpty() ? journal.remove(outcome.run.id) : journal.save(outcome.run))
            .error;
    if (!error.isEmpty())
        outcome.journalError = error;
}

// A run of one move or relink, journaled like any other.
Outcome single(const OrganizeJournal& journal, const QString& source,
               const std::function<MoveRecord(const ProjectMover::Intent&)>& perform) {
    Outcome outcome;
    outcome.run = newRun();
    bool intentWritten = false;
    try {
        outcome.run.moves.append(perform(intentOf(journal, outcome, intentWritten)));
    } catch (const ProjectMoverError& error) {
        outcome.failures.append({source, error.message()});
        if (intentWritten)
            forgetFailedMove(journal, outcome);
        return outcome;
    }
    outcome.run.date = QDateTime::currentDateTimeUtc();
    QString notice;
    record(journal, outcome, notice);
    return outcome;
}

// Only inside the trash area (the home folder) and never the area itself, nor one of its standard
// folders: a Desktop that held nothing but the projects is still the user's Desktop.
void trashEmptyParents(const OrganizeExecutor& executor, Outcome& outcome) {
    if (executor.trashArea.isEmpty())
        return;
    const QString area = Paths::standardized(executor.trashArea);
    for (const QString& parent : sourceParents(outcome.run)) {
        // A kept folder was kept on purpose, empty or not: it stays without a failure.
        if (parent == area || !Paths::isUnder(parent, area) ||
            StandardFolders::isStandard(parent, area) || !OrganizeExecutor::isEmptyFolder(parent) ||
            TrashService::keepRefusal(parent))
            continue;
        const TrashOutcome trashed = TrashService::trash({parent}, area, *executor.trash);
        if (!trashed.trashed.isEmpty())
            outcome.run.trashedEmptyFolders.append(parent);
        for (const TrashFailure& failure : trashed.failures)
            outcome.failures.append({failure.url, failure.message});
    }
}

} // namespace

OrganizeExecutor::Outcome OrganizeExecutor::run(const QList<OrganizeEntry>& plan,
                                                const CancellationToken& cancellation,
                                                const Progress& progress) const {
    const QList<OrganizeEntry> ready = readyEntries(plan);
    Outcome outcome;
    outcome.run = newRun();
    QString notice;
    const int count = static_cast<int>(ready.size());
    for (int index = 0; index < count; ++index) {
        const QString source = ready[index].candidate.path;
        // Checked on both sides of the progress call, so that a cancel made from it stops this
        // move.
        if (cancellation.isCancelled())
            break;
        if (progress)
            progress(source, index, count);
        if (cancellation.isCancelled())
            break;
        bool intentWritten = false;
        try {
            outcome.run.moves.append(mover.move(source, ready[index].targetPath(),
                                                intentOf(journal, outcome, intentWritten)));
        } catch (const ProjectMoverError& error) {
            outcome.failures.append({source, error.message()});
            if (intentWritten)
                forgetFailedMove(journal, outcome);
            continue;
        }
        // Written after every move: whatever ends the run, the journal undoes what moved.
        record(journal, outcome, notice);
    }
    if (outcome.run.moves.isEmpty())
        return outcome;
    trashEmptyParents(*this, outcome);
    outcome.run.date = QDateTime::currentDateTimeUtc();
    record(journal, outcome, notice);
    return outcome;
}

OrganizeExecutor::Outcome OrganizeExecutor::moveOne(const QString& source,
                                                    const QString& destination) const {
    return single(journal, source, [&](const ProjectMover::Intent& intent) {
        return mover.move(source, destination, intent);
    });
}

OrganizeExecutor::Outcome OrganizeExecutor::relinkOne(const QString& oldPath,
                                                      const QString& newPath) const {
    return single(journal, oldPath,
                  [&](const ProjectMover::Intent&) { return mover.relinkOnly(oldPath, newPath); });
}

OrganizeExecutor::UndoOutcome OrganizeExecutor::recoverInterrupted() const {
    UndoOutcome outcome;
    outcome.nothingToUndo = true;
    for (const OrganizeRun& run : journal.load()) {
        OrganizeRun remaining = run;
        remaining.moves.clear();
        for (const MoveRecord& move : run.moves) {
            if (move.stage == MoveRecord::Stage::done || isUnderWay(move)) {
                remaining.moves.append(move);
                continue;
            }
            outcome.nothingToUndo = false;
            try {
                mover.takeBack(move);
                outcome.restored.append(move);
            } catch (const ProjectMoverError& error) {
                // Left as it is: the next start tries again, once the user has made room.
                outcome.failures.append({move.source, error.message()});
                remaining.moves.append(move);
            }
        }
        if (remaining.moves.size() == run.moves.size())
            continue;
        const QString error =
            (remaining.moves.isEmpty() ? journal.remove(run.id) : journal.remove(run.id, remaining))
                .error;
        if (!error.isEmpty())
            outcome.journalError = error;
    }
    return outcome;
}

OrganizeExecutor::UndoOutcome OrganizeExecutor::undoLast() const {
    if (UndoOutcome recovered = recoverInterrupted(); !recovered.nothingToUndo)
        return recovered;
    UndoOutcome outcome;
    const std::optional<OrganizeRun> last = journal.lastRun();
    if (!last) {
        outcome.nothingToUndo = true;
        return outcome;
    }
    QList<MoveRecord> stayed;
    for (qsizetype i = last->moves.size() - 1; i >= 0; --i) {
        const MoveRecord& move = last->moves[i];
        // Another program is carrying it out right now.
        if (move.stage != MoveRecord::Stage::done) {
            outcome.failures.append(
                {move.source, move.source + QStringLiteral(" is still being moved; try again "
                                                           "when that is finished.")});
            stayed.prepend(move);
            continue;
        }
        try {
            mover.undo(move);
            outcome.restored.append(move);
        } catch (const ProjectMoverError& error) {
            outcome.failures.append({move.source, error.message()});
            stayed.prepend(move);
        }
    }
    std::optional<OrganizeRun> remaining;
    if (!stayed.isEmpty()) {
        remaining = *last;
        remaining->moves = stayed;
        // Only the parents still emptied by a move that stays done remain trashed by this run.
        const QStringList parents = sourceParents(*remaining);
        remaining->trashedEmptyFolders.removeIf(
            [&](const QString& folder) { return !parents.contains(folder); });
    }
    const OwnFile::Outcome saved = journal.remove(last->id, remaining);
    if (!saved.error.isEmpty() || !saved.notice.isEmpty())
        outcome.journalError = saved.error.isEmpty() ? saved.notice : saved.error;
    return outcome;
}

bool OrganizeExecutor::isEmptyFolder(const QString& path) {
    const QFileInfo info(path);
    if (info.isSymLink() || !info.isDir())
        return false;
    const QStringList entries =
        QDir(path).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QString& name : entries) {
        if (name != QStringLiteral(".DS_Store"))
            return false;
    }
    return true;
}

} // namespace corvane
