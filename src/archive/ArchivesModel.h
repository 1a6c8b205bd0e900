#pragma once

#include "agents/AgentRelinker.h"
#include "archive/ArchiveCatalog.h"
#include "archive/ArchiveService.h"
#include "archive/SSHArchiveService.h"
#include "platform/InventoryModel.h"

#include <QList>
#include <QString>
#include <functional>
#include <optional>

namespace corvane {

// Where an archive goes: a folder the project goes straight into, a mounted volume (into its
// archive folder), a saved SSH server or a saved SMB share (mounted first).
struct ArchiveTarget {
    enum class Kind { folder, volume, ssh, smb };

    Kind kind = Kind::folder;
    // `folder`: the folder the project goes into; `volume`: the volume's root.
    QString path;
    // `ssh` and `smb`.
    SavedDestination destination;

    static ArchiveTarget folder(const QString& path) { return {Kind::folder, path, {}}; }
    static ArchiveTarget volume(const QString& root) { return {Kind::volume, root, {}}; }
    static ArchiveTarget saved(const SavedDestination& destination) {
        return {destination.kind == SavedDestination::Kind::ssh ? Kind::ssh : Kind::smb,
                {},
                destination};
    }
};

// What the archives model works on; tests point every part at temporary folders.
struct ArchiveServices {
    ArchiveCatalog catalog;
    AgentRelinker relinker{AgentLocations()};
    ArchiveService local;
    SSHArchiveService ssh;
    const ProcessRunner* processRunner = &ProcessRunner::system();
};

// The Archived Projects screen's model and the archive action of a project: archives one project
// at a time to its target (verified, then the original to the Trash) and records it in the
// catalog; lists the catalog; restores a record to its original place or another folder,
// relinking agent history when the place differs. The copies run on worker threads; their events
// come back here in order. A restore never deletes the archived copy, and no record is ever
// removed.
class ArchivesModel : public InventoryModel {
    Q_OBJECT

public:
    using Services = ArchiveServices;

    explicit ArchivesModel(ToastCenter& toasts, Services services = Services(),
                           QObject* parent = nullptr);

    // The services the next archive or restore uses; tests point them at stand-ins.
    Services& services() { return services_; }

    // The catalog as last loaded, in its order.
    const QList<ArchiveRecord>& records() const { return records_; }
    // Why the catalog, as last loaded, could not be read (or not all of it).
    const std::optional<QString>& catalogProblem() const { return catalogProblem_; }
    // Whether the archived copy of `record` can be reached now (a folder copy: its folder exists;
    // an SSH copy: assumed reachable).
    static bool isAvailable(const ArchiveRecord& record);
    // Why the restore button of `record` is as it is: "Copy it back to <originalPath>", "<path>
    // is taken; choose another folder", "Connect the drive or share that holds this archive".
    static QString restoreHint(const ArchiveRecord& record);
    // Whether "Restore" (to the original place) is offered, beside "Restore to Another Folder…".
    static bool canRestoreInPlace(const ArchiveRecord& record);

    // Archives the project folder `path` to `target`, recording how many agent sessions refer to
    // it. One archive or restore runs at a time.
    void archive(const QString& path, const ArchiveTarget& target,
                 const ArchiveOptions& options = {});
    const std::optional<ArchiveProgress>& archiveProgress() const { return archiveProgress_; }
    const std::optional<QString>& archiveErrorMessage() const { return archiveErrorMessage_; }
    // The record of the last archive that finished.
    const std::optional<ArchiveRecord>& lastArchived() const { return lastArchived_; }

    // Restores `record` into `folder` (the parent of its original path when empty).
    void restore(const ArchiveRecord& record, const QString& folder = {},
                 const ArchiveOptions& options = {});
    const std::optional<ArchiveProgress>& restoreProgress() const { return restoreProgress_; }
    // "Restoring <name> failed: ..." or "Could not save the archive list: ...".
    const std::optional<QString>& errorMessage() const { return errorMessage_; }
    // The relink report of the last restore that ran one.
    const std::optional<RelinkReport>& lastRelink() const { return lastRelink_; }

    // Where the last archive or restore met a partial copy left by an interrupted run; the front
    // end offers to run it again with `removeInterruptedCopy`.
    const std::optional<QString>& interruptedCopy() const { return interruptedCopy_; }
    // How a copy was found whole, in words: "verified by content" or "verified by counting".
    static QString verificationText(Verification verification);

    // Whether the last action to start was an archive (else a restore, or none yet).
    bool lastActionWasArchive() const { return lastActionWasArchive_; }

    // Cancels the running archive or restore; it ends as failed with "Cancelled".
    void cancel();
    bool isBusy() const { return isRemoving(); }

signals:
    void recordsChanged();
    void progressChanged();
    // An archive or restore has ended, well or not.
    void actionFinished();
    // Files moved on disk (an original trashed, a project restored): other screens look again.
    void filesystemChanged();

protected:
    void startLoading() override;
    bool containsItem(const QString& id) const override;

private:
    using Runner =
        std::function<void(const ArchiveEventSink& sink, const CancellationToken& cancellation)>;
    // Runs one archive or restore; `onEvent` sees each event on the main thread, in order.
    void runAction(Runner runner, std::function<void(const ArchiveEvent&)> onEvent);
    void append(const ArchiveRecord& record);
    void report(const OwnFile::Outcome& outcome);
    void finishAction();

    Services services_;
    QList<ArchiveRecord> records_;
    std::optional<QString> catalogProblem_;
    std::optional<ArchiveProgress> archiveProgress_;
    std::optional<QString> archiveErrorMessage_;
    std::optional<ArchiveRecord> lastArchived_;
    std::optional<ArchiveProgress> restoreProgress_;
    std::optional<QString> errorMessage_;
    std::optional<RelinkReport> lastRelink_;
    std::optional<QString> interruptedCopy_;
    CancellationToken actionCancellation_;
    bool lastActionWasArchive_ = false;
};

} // namespace corvane
