#pragma once

#include "cli/Console.h"
#include "organize/OrganizeModel.h"

#include <QString>
#include <QStringList>
#include <optional>

// The logic of `corvane processes`, `orphans`, `organize` and `move`, apart from parsing, so tests
// drive it with their own services and console. Everything goes through one OrganizeModel, the
// model of the app's Organize screen; each function returns the exit status.
namespace corvane::cli {

struct OrganizeRequest {
    // Unset: the remembered destination and layout, which the command line never changes.
    std::optional<QString> destination;
    std::optional<QString> layout;
    QStringList additions;
    bool dryRun = false;
    bool yes = false;
    bool json = false;
};

int runProcesses(const std::optional<QString>& folder, bool json, Console& console,
                 const ProcessRunner& runner = ProcessRunner::system());
int runOrphans(bool json, Console& console, const OrganizeModel::Services& services);
int runOrganizePlan(const OrganizeRequest& request, Console& console,
                    const OrganizeModel::Services& services);
int runOrganize(const OrganizeRequest& request, Console& console,
                const OrganizeModel::Services& services);
int runOrganizeUndo(bool yes, bool json, Console& console, const OrganizeModel::Services& services);
int runMove(const QString& source, const QString& destination, bool yes, bool json,
            Console& console, const OrganizeModel::Services& services);

} // namespace corvane::cli
