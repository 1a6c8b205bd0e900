#pragma once

#include "archive/ArchivesModel.h"
#include "archive/DestinationsStore.h"
#include "cli/Console.h"

#include <QString>
#include <optional>

// The logic of `corvane volumes`, `destinations`, `archive`, `archives` and `restore`, apart from
// parsing, so tests drive it with their own services and console. Archives and restores go
// through one ArchivesModel, the model of the app's Archived Projects screen; each function
// returns the exit status.
namespace corvane::cli {

struct ArchiveRequest {
    QString project;
    // Exactly one of the three.
    std::optional<QString> folder;
    std::optional<QString> volume;
    std::optional<QString> destination;
    bool yes = false;
    bool json = false;
    // A partial copy that an interrupted run left at the destination is removed first.
    bool removePartial = false;
};

int runVolumes(bool json, Console& console);
int runDestinations(bool json, Console& console);
int runAddSshDestination(const QString& name, const QString& login,
                         const std::optional<QString>& remotePath, Console& console);
int runAddSmbDestination(const QString& name, const QString& url, Console& console);
int runRemoveDestination(const QString& name, Console& console);
int runTestDestination(const QString& name, Console& console,
                       const ProcessRunner& runner = ProcessRunner::system());
int runArchive(const ArchiveRequest& request, Console& console,
               ArchivesModel::Services services = ArchivesModel::Services());
int runArchives(bool json, Console& console,
                ArchivesModel::Services services = ArchivesModel::Services());
int runRestore(const QString& idOrName, const std::optional<QString>& folder, bool json,
               Console& console, ArchivesModel::Services services = ArchivesModel::Services(),
               bool removePartial = false);

} // namespace corvane::cli
