#include "archive/ArchivesModel.h"

#include "agents/AgentHistoryIndex.h"
#include "agents/AgentPaths.h"
#include "archive/ExternalVolumes.h"
#include "archive/SmbMount.h"
#include "platform/Paths.h"

#include <QFileInfo>
#include <atomic>

namespace corvane {
namespace {

bool existsAt(const QString& path) {
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

// Where a finished archive's copy lives, as the catalog keeps it.
ArchiveLocation locationOf(const ArchiveTarget& target, const QString& finishedAt) {
    if (target.kind == ArchiveTarget::Kind::ssh)
        return ArchiveLocation::ssh(target.destination.user, target.destination.host,
                                    target.destination.remotePath);
    return ArchiveLocation::folder(finishedAt);
}

QString restoredToast(const ArchiveRecord& record, const QString& path, bool relinked,
                      const std::optional<QString>& historyKeptAt) {
    QString text = QStringLiteral("Restored %1 to %2").arg(record.name, path);
    if (record.agentSessionCount < 1)
        return text;
    if (historyKeptAt)
        return text +
               QStringLiteral(" Its agent history stays with the copy at %1.").arg(*historyKeptAt);
    return text + (relinked ? QStringLiteral(" Its agent history was relinked there.")
                            : QStringLiteral(" Its agent history is attached again."));
}

// Where the project is in use when it is restored to `newPath`: at its original path when
// something is there (an earlier restore in place, or the user's own), else at the newest
// earlier restore that is still there. Its history belongs to that copy and stays with it.
std::optional<QString> copyInUse(const ArchiveRecord& record, const QString& newPath) {
    if (existsAt(record.originalPath))
        return record.originalPath;
    QStringList earlier;
    for (const ArchiveRestore& restore : record.restores)
        earlier.append(restore.path);
    if (earlier.isEmpty() && record.restoredPath)
        earlier.append(*record.restoredPath);
    for (auto path = earlier.crbegin(); path != earlier.crend(); ++path) {
        if (Paths::standardized(*path) != Paths::standardized(newPath) && existsAt(*path))
            return *path;
    }
    return std::nullopt;
}

} // namespace

ArchivesModel::ArchivesModel(ToastCenter& toasts, Services services, QObject* parent)
    : InventoryModel(toasts, false, parent)
    , services_(std::move(services)) {}

bool ArchivesModel::isAvailable(const ArchiveRecord& record) {
    return record.location.kind == ArchiveLocation::Case::ssh ||
           QFileInfo(record.location.path).isDir();
}

bool ArchivesModel::canRestoreInPlace(const ArchiveRecord& record) {
    return isAvailable(record) && !existsAt(record.originalPath);
}

QString ArchivesModel::restoreHint(const ArchiveRecord& record) {
    if (!isAvailable(record))
        return QStringLiteral("Connect the drive or share that holds this archive");
    if (existsAt(record.originalPath))
        return record.originalPath + QStringLiteral(" is taken; choose another folder");
    return QStringLiteral("Copy it back to ") + record.originalPath;
}

bool ArchivesModel::containsItem(const QString& id) const {
    return std::any_of(records_.begin(), records_.end(), [&id](const ArchiveRecord& record) {
        return record.id.toString(QUuid::WithoutBraces) == id;
    });
}

void ArchivesModel::startLoading() {
    startJob(JobKind::load, [this, catalog = services_.catalog](const CancellationToken&,
                                                                const MainThreadPost& post) {
        ArchiveCatalog::Contents contents = catalog.read();
        post([this, contents = std::move(contents)] {
            records_ = contents.records;
            catalogProblem_ = contents.problem;
            emit recordsChanged();
            finishLoading();
        });
    });
}

void ArchivesModel::runAction(Runner runner, std::function<void(const ArchiveEvent&)> onEvent) {
    actionCancellation_ = CancellationToken();
    startJob(JobKind::removal, [this, runner = std::move(runner), onEvent = std::move(onEvent),
                                cancellation = actionCancellation_](const CancellationToken&,
                                                                    const MainThreadPost& post) {
        runner([&post,
                onEvent](const ArchiveEvent& event) { post([onEvent, event] { onEvent(event); }); },
               cancellation);
        post([this] { finishAction(); });
    });
}

QString ArchivesModel::verificationText(Verification verification) {
    return verification == Verification::content
               ? QStringLiteral("verified by content")
               : QStringLiteral("verified by counting (the server has no digest tool)");
}

void ArchivesModel::archive(const QString& path, const ArchiveTarget& target,
                            const ArchiveOptions& options) {
    if (!beginRemoval())
        return;
    const QString source = Paths::standardized(path);
    const QString name = Paths::lastComponent(source);
    lastActionWasArchive_ = true;
    archiveErrorMessage_.reset();
    errorMessage_.reset();
    interruptedCopy_.reset();
    archiveProgress_ = ArchiveProgress{QUuid::createUuid(), name, 0, 0, {}, false};
    emit progressChanged();

    // The sessions are counted before the copy; afterwards the folder is in the Trash.
    auto sessionCount = std::make_shared<std::atomic<qint64>>(0);
    // A share that could not be mounted has its own sentence, not "Archiving ... failed".
    auto mountFailed = std::make_shared<std::atomic<bool>>(false);
    const Services& services = services_;
    Runner runner = [services, source, target, sessionCount, mountFailed,
                     options](const ArchiveEventSink& sink, const CancellationToken& cancel) {
        *sessionCount =
            AgentHistoryIndex::build(services.relinker.locations).sessionsIn(source).size();
        switch (target.kind) {
        case ArchiveTarget::Kind::folder:
            services.local.archive(source, target.path, sink, cancel, options);
            return;
        case ArchiveTarget::Kind::volume:
            services.local.archive(source, ExternalVolumes::archiveFolder(target.path), sink,
                                   cancel, options);
            return;
        case ArchiveTarget::Kind::ssh:
            services.ssh.archive(source, target.destination.user, target.destination.host,
                                 target.destination.remotePath, sink, cancel, options);
            return;
        case ArchiveTarget::Kind::smb: {
            sink(ArchiveEvent::progress(
                0, 0, QStringLiteral("Connecting to %1…").arg(target.destination.name)));
            const SmbMount::Result mounted =
                SmbMount::mount(target.destination.smbURL, *services.processRunner, 30, cancel);
            if (!mounted.mountPoint) {
                *mountFailed = true;
                sink(ArchiveEvent::failed(mounted.error.value_or(QString())));
                return;
            }
            services.local.archive(source, ExternalVolumes::archiveFolder(*mounted.mountPoint),
                                   sink, cancel, options);
            return;
        }
        }
    };
    runAction(std::move(runner), [this, source, name, target, sessionCount,
                                  mountFailed](const ArchiveEvent& event) {
        switch (event.kind) {
        case ArchiveEvent::Kind::progress:
            archiveProgress_->copiedBytes = event.copiedBytes;
            archiveProgress_->totalBytes = event.totalBytes;
            archiveProgress_->currentPath = event.currentPath;
            emit progressChanged();
            return;
        case ArchiveEvent::Kind::verifying:
            archiveProgress_->isVerifying = true;
            emit progressChanged();
            return;
        case ArchiveEvent::Kind::failed:
            // A failed mount is its own sentence; everything else is a failed archive.
            archiveErrorMessage_ =
                event.text.startsWith(QStringLiteral("Could not mount ")) ||
                        event.text.startsWith(QStringLiteral("Invalid SMB URL: "))
                    ? event.text
                    : QStringLiteral("Archiving %1 failed: %2").arg(name, event.text);
            if (!event.interruptedCopy.isEmpty())
                interruptedCopy_ = event.interruptedCopy;
            return;
        case ArchiveEvent::Kind::finished: {
            ArchiveRecord record;
            record.id = QUuid::createUuid();
            record.name = name;
            record.originalPath = source;
            record.location = locationOf(target, event.text);
            record.archivedAt = QDateTime::currentDateTimeUtc();
            record.agentSessionCount = *sessionCount;
            record.verifiedBy = event.verifiedBy;
            toasts().post(QStringLiteral("Archived %1 to %2, %3. The original is in the Trash.")
                              .arg(name, event.text, verificationText(event.verifiedBy)));
            append(record);
            lastArchived_ = record;
            emit filesystemChanged();
            return;
        }
        }
    });
}

void ArchivesModel::restore(const ArchiveRecord& record, const QString& folder,
                            const ArchiveOptions& options) {
    if (!beginRemoval())
        return;
    const QString into =
        folder.isEmpty() ? Paths::parentPath(record.originalPath) : Paths::standardized(folder);
    lastActionWasArchive_ = false;
    errorMessage_.reset();
    lastRelink_.reset();
    interruptedCopy_.reset();
    restoreProgress_ = ArchiveProgress{record.id, record.name, 0, 0, {}, false};
    emit progressChanged();

    auto relink = std::make_shared<std::optional<RelinkReport>>();
    auto historyKeptAt = std::make_shared<std::optional<QString>>();
    const Services& services = services_;
    Runner runner = [services, record, into, relink, historyKeptAt,
                     options](const ArchiveEventSink& sink, const CancellationToken& cancel) {
        // The history follows a project restored elsewhere before the model hears it finished, so
        // the report arrives with the event.
        const ArchiveEventSink relinking = [&](const ArchiveEvent& event) {
            if (event.kind == ArchiveEvent::Kind::finished &&
                Paths::standardized(event.text) != Paths::standardized(record.originalPath)) {
                const bool mac = services.relinker.locations.macPathRules;
                *historyKeptAt = copyInUse(record, event.text);
                if (!*historyKeptAt)
                    *relink =
                        services.relinker.relink(AgentPaths::normalized(record.originalPath, mac),
                                                 AgentPaths::normalized(event.text, mac));
            }
            sink(event);
        };
        if (record.location.kind == ArchiveLocation::Case::ssh)
            services.ssh.restore(record.name, record.location.user, record.location.host,
                                 record.location.basePath, into, relinking, cancel, options);
        else
            services.local.restore(record.location.path, into, relinking, cancel, options);
    };
    runAction(std::move(runner), [this, record, relink, historyKeptAt](const ArchiveEvent& event) {
        switch (event.kind) {
        case ArchiveEvent::Kind::progress:
            restoreProgress_->copiedBytes = event.copiedBytes;
            restoreProgress_->totalBytes = event.totalBytes;
            restoreProgress_->currentPath = event.currentPath;
            emit progressChanged();
            return;
        case ArchiveEvent::Kind::verifying:
            restoreProgress_->isVerifying = true;
            emit progressChanged();
            return;
        case ArchiveEvent::Kind::failed:
            errorMessage_ = QStringLiteral("Restoring %1 failed: %2").arg(record.name, event.text);
            if (!event.interruptedCopy.isEmpty())
                interruptedCopy_ = event.interruptedCopy;
            return;
        case ArchiveEvent::Kind::finished: {
            lastRelink_ = *relink;
            const QDateTime restoredAt = QDateTime::currentDateTimeUtc();
            report(services_.catalog.change(record.id, [&](ArchiveRecord& stored) {
                stored.restoredAt = restoredAt;
                stored.restoredPath = event.text;
                stored.restores.append({*stored.restoredAt, event.text});
                if (*relink)
                    stored.relink = RelinkReportJson::toObject(**relink);
            }));
            emit recordsChanged();
            toasts().post(restoredToast(record, event.text, relink->has_value(), *historyKeptAt));
            emit filesystemChanged();
            return;
        }
        }
    });
}

void ArchivesModel::append(const ArchiveRecord& record) {
    // Added to the catalog as it is stored now: what another window or the command line archived
    // meanwhile stays.
    const OwnFile::Outcome outcome = services_.catalog.append(record);
    report(outcome);
    // An archive that could not be recorded is still shown for this session.
    if (!outcome.error.isEmpty())
        records_.append(record);
    emit recordsChanged();
}

// Takes the catalog as stored after a change, with what the change could not do.
void ArchivesModel::report(const OwnFile::Outcome& outcome) {
    const ArchiveCatalog::Contents contents = services_.catalog.read();
    records_ = contents.records;
    catalogProblem_ = contents.problem;
    if (!outcome.error.isEmpty())
        errorMessage_ = QStringLiteral("Could not save the archive list: ") + outcome.error;
    else if (!outcome.notice.isEmpty())
        errorMessage_ = outcome.notice;
}

void ArchivesModel::cancel() {
    actionCancellation_.cancel();
}

void ArchivesModel::finishAction() {
    archiveProgress_.reset();
    restoreProgress_.reset();
    emit progressChanged();
    finishRemoval({});
    emit actionFinished();
}

} // namespace corvane
