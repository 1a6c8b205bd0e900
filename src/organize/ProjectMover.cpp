#include "organize/ProjectMover.h"

#include "agents/AgentPaths.h"
#include "platform/Paths.h"
#include "platform/TrashService.h"
#include "platform/Volumes.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {
namespace {

QString text(const char* message) {
    return QString::fromUtf8(message);
}

[[noreturn]] void refuse(const QString& message) {
    throw ProjectMoverError::invalid(message);
}

// lstat: a link is reported as itself, so a dangling one still counts as something.
std::optional<struct stat> statusOf(const QString& path) {
    struct stat status {};
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    return status;
}

bool existsAt(const QString& path) {
    return statusOf(path).has_value();
}

bool isRealFolder(const QString& path) {
    const std::optional<struct stat> status = statusOf(path);
    return status && S_ISDIR(status->st_mode);
}

bool isLink(const QString& path) {
    const std::optional<struct stat> status = statusOf(path);
    return status && S_ISLNK(status->st_mode);
}

// Checked both as written and with links resolved: a destination reached through a link into
// the source is inside it as much as one spelled out.
bool liesInside(const QString& destination, const QString& source) {
    return Paths::isUnder(destination, source) ||
           Paths::isUnder(TrashService::canonicalPath(destination),
                          TrashService::canonicalPath(source));
}

// rename(2) follows a link above the destination, so the volume that counts is the one the
// links lead to, not the one the link itself lies on.
bool isOnSameVolume(const QString& source, const QString& destination) {
    return Volumes::areOnSameVolume(source, TrashService::canonicalPath(destination));
}

// Only ever rmdir: a folder that gained anything since it was made stays.
void removeEmptyFolders(const QStringList& outermostFirst) {
    for (qsizetype i = outermostFirst.size() - 1; i >= 0; --i)
        ::rmdir(QFile::encodeName(outermostFirst[i]).constData());
}

// The folders above `path` that do not exist yet, outermost first.
QStringList missingAncestors(const QString& path) {
    QStringList missing;
    for (QString folder = Paths::parentPath(path);
         folder != QStringLiteral("/") && !existsAt(folder); folder = Paths::parentPath(folder))
        missing.prepend(folder);
    return missing;
}

// Creates them one by one so that each folder made here, and no other, is known for undo.
QStringList createFolders(const QStringList& folders) {
    QStringList created;
    for (const QString& folder : folders) {
        if (::mkdir(QFile::encodeName(folder).constData(), 0777) == 0) {
            created.append(folder);
            continue;
        }
        const int error = errno;
        // Made by someone else in the meantime: it is theirs, not ours to remove later.
        if (error == EEXIST && isRealFolder(folder))
            continue;
        removeEmptyFolders(created);
        refuse(QStringLiteral("Could not create %1: %2").arg(folder, text(std::strerror(error))));
    }
    return created;
}

// A plain rename: it fails across volumes instead of copying, which is the point.
std::optional<QString> renameFolder(const QString& from, const QString& to) {
    if (::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0)
        return std::nullopt;
    return text(std::strerror(errno));
}

// Makes the old parent again (it may have been trashed as empty after the move), then renames the
// folder back; what the rename said when it failed.
std::optional<QString> moveFolderBack(const MoveRecord& record) {
    const QString parent = Paths::parentPath(record.source);
    if (!QDir().mkpath(parent))
        refuse(QStringLiteral("Could not create %1.").arg(parent));
    return renameFolder(record.destination, record.source);
}

} // namespace

// The checks run from the cheapest to the slowest, the lsof run last, and all of them before
// the first change. "Into itself" comes before "already exists" so that a destination equal to
// the source gets the message that says what is wrong.
MoveRecord ProjectMover::move(const QString& sourcePath, const QString& destinationPath,
                              const Intent& intent) const {
    const QString source = Paths::standardized(sourcePath);
    const QString destination = Paths::standardized(destinationPath);
    if (!existsAt(source))
        refuse(source + QStringLiteral(" does not exist."));
    // Only the source itself: a link above the destination is followed by rename(2) like any
    // folder, and the volume check below looks through it.
    if (isLink(source))
        refuse(source + QStringLiteral(" is a symbolic link."));
    if (liesInside(destination, source))
        refuse(QStringLiteral("Cannot move a folder into itself."));
    if (existsAt(destination))
        refuse(destination + QStringLiteral(" already exists."));
    if (!isOnSameVolume(source, destination))
        refuse(QStringLiteral("The destination is on another disk."));
    const QList<ProcessInspector::WorkingProcess> busy =
        ProcessInspector::inside(processes.workingProcesses(), source);
    if (!busy.isEmpty())
        refuse(ProcessInspector::displayName(busy.first()) + QStringLiteral(" is running inside ") +
               source);

    MoveRecord record;
    record.source = source;
    record.destination = destination;
    record.movedFolder = true;
    record.process = QCoreApplication::applicationPid();
    record.stage = MoveRecord::Stage::moving;
    record.createdFolders = missingAncestors(destination);
    if (intent)
        intent(record);
    record.createdFolders = createFolders(record.createdFolders);
    if (const std::optional<QString> error = renameFolder(source, destination)) {
        removeEmptyFolders(record.createdFolders);
        // The front ends say which move failed; the refusal is its cause.
        refuse(*error);
    }
    record.stage = MoveRecord::Stage::relinking;
    if (intent)
        intent(record);
    const bool mac = relinker.locations.macPathRules;
    record.relink = relinker.relink(AgentPaths::normalized(source, mac),
                                    AgentPaths::normalized(destination, mac));
    // Like the history, marks that cannot follow never fail the move; the user is told.
    if (const QString error = keepMarks.follow(source, destination); !error.isEmpty())
        record.relink.warnings.append(QStringLiteral("Keep marks did not follow: ") + error);
    record.stage = MoveRecord::Stage::done;
    record.process = 0;
    return record;
}

// What the relink had done before it was cut short is not known, only that it went from the
// source to the destination; the relinker takes back whatever it had reached.
void ProjectMover::takeBack(const MoveRecord& record) const {
    const bool atDestination = isRealFolder(record.destination);
    if (atDestination && existsAt(record.source))
        refuse(QStringLiteral("Something now exists at ") + record.source);
    if (!atDestination && !isRealFolder(record.source))
        refuse(record.destination + QStringLiteral(" is no longer there."));
    if (atDestination) {
        if (const std::optional<QString> error = moveFolderBack(record))
            refuse(QStringLiteral("Could not move %1 back to %2: %3")
                       .arg(record.destination, record.source, *error));
    }
    if (record.stage == MoveRecord::Stage::relinking) {
        const bool mac = relinker.locations.macPathRules;
        relinker.takeBack(AgentPaths::normalized(record.source, mac),
                          AgentPaths::normalized(record.destination, mac));
        keepMarks.follow(record.destination, record.source);
    }
    removeEmptyFolders(record.createdFolders);
}

MoveRecord ProjectMover::relinkOnly(const QString& oldPath, const QString& newPath) const {
    const bool mac = relinker.locations.macPathRules;
    MoveRecord record;
    record.source = Paths::standardized(oldPath);
    record.destination = Paths::standardized(newPath);
    record.relink = relinker.relink(AgentPaths::normalized(record.source, mac),
                                    AgentPaths::normalized(record.destination, mac));
    record.movedFolder = false;
    return record;
}

// Each refusal names the place the user has to look at: the taken or still-occupied old place,
// or the new place the project vanished from. A process working in the moved folder refuses
// the undo as it refuses a move.
void ProjectMover::undo(const MoveRecord& record) const {
    const bool mac = relinker.locations.macPathRules;
    const QString normalizedSource = AgentPaths::normalized(record.source, mac);
    const QString normalizedDestination = AgentPaths::normalized(record.destination, mac);
    if (!record.movedFolder) {
        relinker.undo(record.relink, normalizedSource, normalizedDestination);
        return;
    }
    const bool atDestination = isRealFolder(record.destination);
    if (atDestination && existsAt(record.source))
        refuse(QStringLiteral("Something now exists at ") + record.source);
    if (!atDestination && isRealFolder(record.source))
        refuse(record.source + QStringLiteral(" still exists; move it instead."));
    if (!atDestination)
        refuse(record.destination + QStringLiteral(" is no longer there."));
    const QList<ProcessInspector::WorkingProcess> busy =
        ProcessInspector::inside(processes.workingProcesses(), record.destination);
    if (!busy.isEmpty())
        refuse(ProcessInspector::displayName(busy.first()) + QStringLiteral(" is running inside ") +
               record.destination);

    if (const std::optional<QString> error = moveFolderBack(record))
        refuse(*error);
    relinker.undo(record.relink, normalizedSource, normalizedDestination);
    // The folder is back, so the undo succeeded; marks that cannot follow (an unreadable file)
    // are reported by every screen that reads them.
    keepMarks.follow(record.destination, record.source);
    removeEmptyFolders(record.createdFolders);
}

} // namespace corvane
