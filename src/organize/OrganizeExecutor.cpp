#include "organize/OrganizeExecutor.h"

#include "organize/StandardFolders.h"
#include "platform/Paths.h"
#include "platform/TrashService.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

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

// A run of one move or relink, journaled like any other.
Outcome single(const OrganizeJournal& journal, const QString& source,
               const std::function<MoveRecord()>& perform) {
    Outcome outcome;
    outcome.run = newRun();
    try {
        outcome.run.moves.append(perform());
    } catch (const ProjectMoverError& error) {
        outcome.failures.append({source, error.message()});
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
        if (parent == area || !Paths::isUnder(parent, area) ||
            StandardFolders::isStandard(parent, area) || !OrganizeExecutor::isEmptyFolder(parent))
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
        try {
            outcome.run.moves.append(mover.move(source, ready[index].targetPath()));
        } catch (const ProjectMoverError& error) {
            outcome.failures.append({source, error.message()});
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
    return single(journal, source, [&] { return mover.move(source, destination); });
}

OrganizeExecutor::Outcome OrganizeExecutor::relinkOne(const QString& oldPath,
                                                      const QString& newPath) const {
    return single(journal, oldPath, [&] { return mover.relinkOnly(oldPath, newPath); });
}

OrganizeExecutor::UndoOutcome OrganizeExecutor::undoLast() const {
    UndoOutcome outcome;
    const std::optional<OrganizeRun> last = journal.lastRun();
    if (!last) {
        outcome.nothingToUndo = true;
        return outcome;
    }
    QList<MoveRecord> stayed;
    for (qsizetype i = last->moves.size() - 1; i >= 0; --i) {
        const MoveRecord& move = last->moves[i];
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
