#include "cli/ArchiveCommands.h"

#include "archive/ExternalVolumes.h"
#include "archive/SmbMount.h"
#include "archive/SshLogin.h"
#include "cli/Command.h"
#include "cli/JsonOutput.h"
#include "cli/SessionDriver.h"
#include "platform/ByteFormat.h"
#include "platform/Paths.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

namespace corvane::cli {
namespace {

QString kindWord(SavedDestination::Kind kind) {
    return kind == SavedDestination::Kind::ssh ? QStringLiteral("SSH") : QStringLiteral("SMB");
}

// A new destination of `kind`, as the store made it, for the caller to fill in and update.
SavedDestination added(DestinationsStore& store, SavedDestination::Kind kind) {
    const QUuid id = store.add(kind);
    for (const SavedDestination& destination : store.destinations()) {
        if (destination.id == id)
            return destination;
    }
    return {};
}

// Runs the model's action started by `start` and waits until it has ended, drawing progress on a
// terminal.
void carryOutAction(ArchivesModel& model, Console& console, const std::function<void()>& start) {
    bool finished = false;
    const QObject receiver;
    QObject::connect(&model, &ArchivesModel::actionFinished, &receiver,
                     [&finished] { finished = true; });
    if (console.showsProgress) {
        QObject::connect(&model, &ArchivesModel::progressChanged, &receiver, [&model, &console] {
            const std::optional<ArchiveProgress>& progress =
                model.archiveProgress() ? model.archiveProgress() : model.restoreProgress();
            if (!progress)
                return;
            console.err << "\r\033[K"
                        << (progress->isVerifying ? QStringLiteral("Verifying…")
                                                  : QStringLiteral("%1 of %2  %3")
                                                        .arg(formatBytes(progress->copiedBytes),
                                                             formatBytes(progress->totalBytes),
                                                             progress->currentPath))
                        << Qt::flush;
        });
    }
    start();
    waitUntil(model, &ArchivesModel::actionFinished, [&finished] { return finished; });
    if (console.showsProgress)
        console.err << "\r\033[K" << Qt::flush;
}

void load(ArchivesModel& model) {
    model.reload();
    waitUntil(model, &ArchivesModel::isLoadingChanged, [&model] { return !model.isLoading(); });
}

// The target the request names, or the reason it names none.
std::optional<ArchiveTarget> targetOf(const ArchiveRequest& request, Console& console) {
    const int named = int(request.folder.has_value()) + int(request.volume.has_value()) +
                      int(request.destination.has_value());
    if (named != 1) {
        console.err << "Name exactly one of --to FOLDER, --volume NAME and --destination NAME.\n";
        return std::nullopt;
    }
    if (request.folder)
        return ArchiveTarget::folder(Paths::absoluteStandardized(*request.folder));
    if (request.volume) {
        for (const ExternalVolumes::Volume& volume : ExternalVolumes::mounted()) {
            if (volume.name == *request.volume)
                return ArchiveTarget::volume(volume.path);
        }
        console.err << "No mounted volume is named " << *request.volume
                    << "; `corvane volumes` lists them.\n";
        return std::nullopt;
    }
    const DestinationsStore store;
    if (const std::optional<SavedDestination> destination = store.named(*request.destination))
        return ArchiveTarget::saved(*destination);
    console.err << "No saved destination is named " << *request.destination
                << "; `corvane destinations` lists them.\n";
    return std::nullopt;
}

QString targetWords(const ArchiveTarget& target) {
    switch (target.kind) {
    case ArchiveTarget::Kind::folder:
        return target.path;
    case ArchiveTarget::Kind::volume:
        return ExternalVolumes::archiveFolder(target.path);
    case ArchiveTarget::Kind::ssh:
        return target.destination.user + u'@' + target.destination.host + u':' +
               target.destination.remotePath;
    case ArchiveTarget::Kind::smb:
        return target.destination.smbURL;
    }
    return {};
}

// Where the restore of the record `id` put the project.
QString restoredPath(const ArchivesModel& model, const QUuid& id) {
    for (const ArchiveRecord& record : model.records()) {
        if (record.id == id)
            return record.restoredPath.value_or(QString());
    }
    return {};
}

// The record whose id is `idOrName`, else the newest one of that name.
std::optional<ArchiveRecord> recordNamed(const QList<ArchiveRecord>& records,
                                         const QString& idOrName) {
    const QUuid id = QUuid::fromString(idOrName);
    for (auto record = records.rbegin(); record != records.rend(); ++record) {
        if ((!id.isNull() && record->id == id) || record->name == idOrName)
            return *record;
    }
    return std::nullopt;
}

} // namespace

int runVolumes(bool json, Console& console) {
    const QList<ExternalVolumes::Volume> volumes = ExternalVolumes::mounted();
    if (json) {
        QJsonArray list;
        for (const ExternalVolumes::Volume& volume : volumes)
            list.append(QJsonObject{
                {QStringLiteral("name"), volume.name},
                {QStringLiteral("path"), volume.path},
                {QStringLiteral("isNetwork"), volume.isNetwork},
                {QStringLiteral("archiveFolder"), ExternalVolumes::archiveFolder(volume.path)}});
        printJson(console, {{QStringLiteral("volumes"), list}});
        return exitOk;
    }
    if (volumes.isEmpty())
        console.out << "No external drive or share is mounted.\n";
    for (const ExternalVolumes::Volume& volume : volumes)
        console.out << ExternalVolumes::menuTitle(volume) << "  ->  "
                    << ExternalVolumes::archiveFolder(volume.path) << '\n';
    console.out << Qt::flush;
    return exitOk;
}

// What the stored list could not give, or a change could not do, ends the command with a failure.
int destinationsStatus(const DestinationsStore& store, Console& console) {
    console.out << Qt::flush;
    if (!store.problem())
        return exitOk;
    console.err << *store.problem() << '\n' << Qt::flush;
    return exitSomeFailed;
}

int runDestinations(bool json, Console& console) {
    const DestinationsStore store;
    if (json) {
        printJson(
            console,
            {{QStringLiteral("destinations"),
              QJsonDocument::fromJson(DestinationsStore::encoded(store.destinations())).array()}});
        return destinationsStatus(store, console);
    }
    if (store.destinations().isEmpty() && !store.problem())
        console.out << "No destinations yet. Mounted external drives always appear in the Archive "
                       "menu automatically.\n";
    for (const SavedDestination& destination : store.destinations()) {
        console.out << destination.name << "  (" << kindWord(destination.kind) << ")  ";
        if (destination.kind == SavedDestination::Kind::ssh)
            console.out << destination.user << '@' << destination.host << ':'
                        << destination.remotePath << '\n';
        else
            console.out << destination.smbURL << '\n';
    }
    return destinationsStatus(store, console);
}

int runAddSshDestination(const QString& name, const QString& login,
                         const std::optional<QString>& remotePath, Console& console) {
    const std::optional<std::pair<QString, QString>> parts = SshLogin::split(login);
    if (name.isEmpty() || !parts) {
        console.err << "Give a name and the login as USER@HOST.\n";
        return exitRefusedOrBadArguments;
    }
    if (const std::optional<QString> problem = SshLogin::problem(parts->first, parts->second)) {
        console.err << *problem << " Nothing was saved.\n";
        return exitRefusedOrBadArguments;
    }
    DestinationsStore store;
    if (store.named(name)) {
        console.err << "A destination named " << name << " exists already.\n";
        return exitRefusedOrBadArguments;
    }
    SavedDestination destination = added(store, SavedDestination::Kind::ssh);
    destination.name = name;
    destination.user = parts->first;
    destination.host = parts->second;
    if (remotePath)
        destination.remotePath = *remotePath;
    store.update(destination);
    console.out << "Saved " << name << ": " << login << ':' << destination.remotePath << '\n';
    return destinationsStatus(store, console);
}

int runAddSmbDestination(const QString& name, const QString& url, Console& console) {
    if (!SmbMount::expectedMountPoint(url)) {
        console.err << "Invalid SMB URL: " << url << '\n';
        return exitRefusedOrBadArguments;
    }
    DestinationsStore store;
    if (name.isEmpty() || store.named(name)) {
        console.err << "Give a name that no other destination has.\n";
        return exitRefusedOrBadArguments;
    }
    SavedDestination destination = added(store, SavedDestination::Kind::smb);
    destination.name = name;
    destination.smbURL = url;
    store.update(destination);
    console.out << "Saved " << name << ": " << url << '\n';
    return destinationsStatus(store, console);
}

int runRemoveDestination(const QString& name, Console& console) {
    DestinationsStore store;
    const std::optional<SavedDestination> destination = store.named(name);
    if (!destination) {
        console.err << "No saved destination is named " << name << ".\n";
        return exitRefusedOrBadArguments;
    }
    store.remove(destination->id);
    console.out << "Removed " << name << '\n';
    return destinationsStatus(store, console);
}

int runTestDestination(const QString& name, Console& console, const ProcessRunner& runner) {
    const DestinationsStore store;
    const std::optional<SavedDestination> destination = store.named(name);
    if (!destination || destination->kind != SavedDestination::Kind::ssh) {
        console.err << "No saved SSH destination is named " << name << ".\n";
        return exitRefusedOrBadArguments;
    }
    const QString result =
        SSHArchiveService::testConnection(destination->user, destination->host, runner);
    console.out << result << '\n' << Qt::flush;
    return result == QStringLiteral("Connected") ? exitOk : exitSomeFailed;
}

int runArchive(const ArchiveRequest& request, Console& console, ArchivesModel::Services services) {
    const std::optional<ArchiveTarget> target = targetOf(request, console);
    if (!target)
        return exitRefusedOrBadArguments;
    const QString project = Paths::absoluteStandardized(request.project);
    if (!QFileInfo(project).isDir()) {
        console.err << "No such folder: " << project << '\n';
        return exitRefusedOrBadArguments;
    }
    if (!request.yes) {
        if (!console.canAsk) {
            console.err << "Nothing was archived: confirm with --yes, or run on a terminal to be "
                           "asked first.\n";
            return exitRefusedOrBadArguments;
        }
        if (!console.ask(QStringLiteral("Archive %1 to %2?%3 The original goes to the Trash once "
                                        "the copy is verified. [y/N] ")
                             .arg(project, targetWords(*target),
                                  request.removePartial
                                      ? QStringLiteral(" A partial copy an interrupted run left "
                                                       "there is removed first.")
                                      : QString()))) {
            console.out << "Nothing was archived.\n" << Qt::flush;
            return exitOk;
        }
    }
    ToastCenter toasts;
    ArchivesModel model(toasts, std::move(services));
    ArchiveOptions options;
    options.removeInterruptedCopy = request.removePartial;
    carryOutAction(model, console, [&] { model.archive(project, *target, options); });
    const std::optional<ArchiveRecord>& record = model.lastArchived();
    if (request.json) {
        QJsonObject document;
        if (record) {
            document.insert(QStringLiteral("finished"), record->locationDescription());
            document.insert(QStringLiteral("record"), ArchiveCatalog::recordJson(*record));
        } else {
            document.insert(QStringLiteral("failed"),
                            model.archiveErrorMessage().value_or(QString()));
        }
        printJson(console, document);
    } else if (record) {
        console.out << toasts.current()->message << '\n';
    } else {
        console.err << model.archiveErrorMessage().value_or(QString()) << '\n';
        if (model.interruptedCopy())
            console.err << "Run again with --remove-partial to remove it and archive.\n";
    }
    if (model.errorMessage())
        console.err << *model.errorMessage() << '\n';
    console.out << Qt::flush;
    return record ? exitOk : exitSomeFailed;
}

int runArchives(bool json, Console& console, ArchivesModel::Services services) {
    ToastCenter toasts;
    ArchivesModel model(toasts, std::move(services));
    load(model);
    if (json) {
        QJsonArray list;
        for (const ArchiveRecord& record : model.records()) {
            QJsonObject object = ArchiveCatalog::recordJson(record);
            object.insert(QStringLiteral("available"), ArchivesModel::isAvailable(record));
            list.append(object);
        }
        console.out << QJsonDocument(list).toJson(QJsonDocument::Indented) << Qt::flush;
    } else if (model.records().isEmpty() && !model.catalogProblem()) {
        console.out << "No project has been archived yet.\n";
    }
    for (const ArchiveRecord& record : json ? QList<ArchiveRecord>() : model.records()) {
        console.out << record.name << "  " << record.archivedAt.toLocalTime().toString(Qt::ISODate)
                    << "  " << record.locationDescription() << "  ("
                    << ArchivesModel::verificationText(record.verifiedBy) << ")\n"
                    << "    from " << record.originalPath << "; "
                    << (record.restoredPath ? QStringLiteral("restored to ") + *record.restoredPath
                                            : ArchivesModel::restoreHint(record))
                    << "\n    id " << record.id.toString(QUuid::WithoutBraces).toUpper() << '\n';
    }
    console.out << Qt::flush;
    // Records the catalog holds but this version cannot list are no "nothing archived".
    if (model.catalogProblem()) {
        console.err << *model.catalogProblem() << '\n' << Qt::flush;
        return exitSomeFailed;
    }
    return exitOk;
}

int runRestore(const QString& idOrName, const std::optional<QString>& folder, bool json,
               Console& console, ArchivesModel::Services services, bool removePartial) {
    ToastCenter toasts;
    ArchivesModel model(toasts, std::move(services));
    load(model);
    const std::optional<ArchiveRecord> record = recordNamed(model.records(), idOrName);
    if (!record) {
        console.err << "No archived project has the id or name " << idOrName
                    << "; `corvane archives` lists them.\n";
        return exitRefusedOrBadArguments;
    }
    const QString into = folder ? Paths::absoluteStandardized(*folder) : QString();
    ArchiveOptions options;
    options.removeInterruptedCopy = removePartial;
    carryOutAction(model, console, [&] { model.restore(*record, into, options); });
    const bool failed =
        model.errorMessage() && model.errorMessage()->startsWith(QStringLiteral("Restoring "));
    if (json) {
        QJsonObject document;
        if (failed)
            document.insert(QStringLiteral("failed"), *model.errorMessage());
        else
            document.insert(QStringLiteral("finished"), restoredPath(model, record->id));
        if (model.lastRelink())
            document.insert(QStringLiteral("relink"),
                            RelinkReportJson::toObject(*model.lastRelink()));
        printJson(console, document);
    } else if (failed) {
        console.err << *model.errorMessage() << '\n';
        if (model.interruptedCopy())
            console.err << "Run again with --remove-partial to move it to the Trash and restore.\n";
    } else {
        console.out << toasts.current()->message << '\n';
    }
    if (!failed && model.errorMessage())
        console.err << *model.errorMessage() << '\n';
    console.out << Qt::flush;
    return failed ? exitSomeFailed : exitOk;
}

} // namespace corvane::cli
