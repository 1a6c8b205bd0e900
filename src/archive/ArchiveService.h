#pragma once

#include "archive/ArchiveTypes.h"
#include "archive/DigestAlgorithm.h"
#include "platform/Cancellation.h"
#include "platform/PlatformTrash.h"

#include <QString>
#include <functional>
#include <optional>

namespace corvane {

// Receives the events of one archive or restore, in order, on the worker thread that runs it.
using ArchiveEventSink = std::function<void(const ArchiveEvent& event)>;

// Regular files, their bytes and the entries at the top of a folder: what a copy must match.
struct ArchiveCounts {
    qint64 files = 0;
    qint64 bytes = 0;
    qint64 topLevelEntries = 0;

    bool operator==(const ArchiveCounts&) const = default;
};

// How one archive or restore runs.
struct ArchiveOptions {
    // A partial copy that an interrupted run left at the target (it holds the marker) is removed
    // first instead of stopping the run; the user has agreed to that.
    bool removeInterruptedCopy = false;
};

// Copies a project folder into a folder on any mounted file system, checks the copy against the
// original, and only then moves the original to the Trash; a restore is the same copy without
// that last step. Links are recreated, never followed. A partial copy goes to the Trash, or the
// message names it. Blocking: run it on a worker thread; every outcome is an event, never a throw.
struct ArchiveService {
    const PlatformTrash* trash = &PlatformTrash::system();
    // Called before each entry is copied, with its path relative to the project folder. Tests
    // change the source here, at an exact point of the copy.
    std::function<void(const QString& relativePath)> beforeEntry;

    // Copies `source` to `destinationFolder`/<its name>, verifies, trashes the original.
    void archive(const QString& source, const QString& destinationFolder,
                 const ArchiveEventSink& sink,
                 const CancellationToken& cancellation = CancellationToken(),
                 const ArchiveOptions& options = {}) const;
    // The same copy and check, leaving `source` (the archived copy) as it is.
    void restore(const QString& source, const QString& destinationFolder,
                 const ArchiveEventSink& sink,
                 const CancellationToken& cancellation = CancellationToken(),
                 const ArchiveOptions& options = {}) const;

    // Regular files (hidden ones and package contents included; links and folders count nothing),
    // the sum of their sizes, and the shallow entry count. Throws CancelledError when cancelled,
    // and std::runtime_error with the description when the folder can't be read.
    static ArchiveCounts measure(const QString& folder,
                                 const CancellationToken& cancellation = CancellationToken());

    // The file every copy holds at its top while it is not known to be whole. Whoever meets a
    // folder with it knows a run was interrupted there, and that the folder is that run's own.
    static constexpr const char* partialMarker = ".corvane-partial";
    static void writeMarker(const QByteArray& folder);
    static bool hasMarker(const QString& folder);
    // "<where> is a partial copy from an interrupted run. ...": the failure of a run that meets
    // one.
    static QString interruptedCopyMessage(const QString& where);

    // Why the original at `source` must not be archived because of the Keep marks (archiving
    // ends by moving it to the Trash), or nothing. Asked before anything is copied.
    static std::optional<QString> keepRefusal(const QString& source);
    // Moves the verified original to the Trash through the trash step, which asks the Keep marks
    // once more; the message of the failure, or nothing.
    static std::optional<QString> trashOriginal(const QString& source, const PlatformTrash& trash);

    // What local copies are checked with (see DigestAlgorithm).
    static constexpr auto localDigest = DigestAlgorithm::blake2b512;

    // Bytes between two progress events.
    static constexpr qint64 progressStep = 8 * 1024 * 1024;
};

} // namespace corvane
