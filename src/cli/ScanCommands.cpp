#include "cli/ScanCommands.h"

#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/ScanJson.h"
#include "cli/SessionDriver.h"
#include "scanning/ProjectsModel.h"

#include <QDir>
#include <QJsonDocument>
#include <memory>

namespace corvane::cli {
namespace {

QString fromStd(const std::string& text) {
    return QString::fromStdString(text);
}

// The projects area's own trash action, which under its dry-run switch only looks.
TrashRunner projectsRunner(ProjectsModel& projects) {
    return [&projects](const TrashPlan& plan, bool dryRun) {
        projects.setDryRun(dryRun);
        return trashThrough(projects, plan);
    };
}

// Exactly the named items; a path that is not one refuses the whole command before anything
// moves, since a typo must not turn into a partial clean.
int cleanItems(ProjectsModel& projects, const QStringList& items, const TrashRequest& request,
               Console& console) {
    const ScanSession::PathsPlan planned =
        projects.session().trashPlan(QList<QString>(items.cbegin(), items.cend()));
    if (!planned.refused.isEmpty()) {
        for (const TrashFailure& refusal : planned.refused)
            console.err << refusal.url << ": " << refusal.message << '\n';
        console.err << "Nothing was moved.\n";
        return exitRefusedOrBadArguments;
    }
    return carryOut(planned.plan, request, console, projectsRunner(projects));
}

} // namespace

int runScan(const ScanRequest& request, const ScanStarter& starter, Console& console) {
    ToastCenter toasts;
    ScanSession session(toasts, starter);
    session.setSortMode(request.sort);
    session.setShowOnlyUnsynced(request.onlyUnsynced);
    if (const int status = scanFolder(session, request.folder, console); status != exitOk)
        return status;
    if (session.keepError())
        console.err << *session.keepError() << '\n';
    if (request.json)
        console.out << QJsonDocument(ScanJson::scan(session)).toJson(QJsonDocument::Indented);
    else
        printScanTable(session, console.out);
    console.out << Qt::flush;
    return exitOk;
}

int runClean(const CleanRequest& request, const ScanStarter& starter, Console& console) {
    ToastCenter toasts;
    ScanSession session(toasts, starter);
    ProjectsModel projects(session, toasts);
    if (const int status = scanFolder(session, request.folder, console); status != exitOk)
        return status;
    // Unreadable marks might protect any folder of the scan.
    if (session.keepError()) {
        console.err << *session.keepError() << "\nNothing was moved.\n";
        return exitRefusedOrBadArguments;
    }
    if (!request.items.isEmpty())
        return cleanItems(projects, request.items, request.trash, console);
    TrashScope scope = TrashScope::everything();
    if (request.project) {
        const std::optional<Project> project = session.projectAt(*request.project);
        if (!project) {
            console.err << "No project at " << *request.project << " in the scan of "
                        << session.rootURL().value_or(QString()) << '\n';
            return exitRefusedOrBadArguments;
        }
        scope = TrashScope::forProject(*project);
    }
    return carryOut(projects.trashPlan(scope), request.trash, console, projectsRunner(projects));
}

void defineScanCommand(CLI::App& command, int& status, ScanStarter starter) {
    struct Options {
        std::string folder;
        std::string sort = "size";
        bool unsynced = false;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    command.add_option("FOLDER", options->folder,
                       "The folder that holds your projects (default: "
                       "the current folder)");
    command.add_option("--sort", options->sort, "Order of the projects: size or activity")
        ->check(CLI::IsMember({"size", "activity"}));
    command.add_flag("--unsynced", options->unsynced,
                     "Only projects with work that is not committed and pushed, and their parents");
    command.add_flag("--json", options->json, "Print one JSON document on standard output");
    command.callback([options, &status, starter] {
        const ScanRequest request{fromStd(options->folder),
                                  options->sort == "activity" ? ProjectSortMode::activity
                                                              : ProjectSortMode::size,
                                  options->unsynced, options->json};
        Console console(stdout, stderr);
        status = runScan(request, starter, console);
    });
}

void defineCleanCommand(CLI::App& command, int& status, ScanStarter starter) {
    struct Options {
        std::string folder;
        std::string project;
        std::vector<std::string> items;
        TrashRequest trash;
    };
    auto options = std::make_shared<Options>();
    command.add_option("FOLDER", options->folder,
                       "The folder that holds your projects (default: the current folder)");
    CLI::Option* project = command.add_option("--project", options->project,
                                              "Only the ticked items of the project at this path");
    command
        .add_option("--item", options->items,
                    "Exactly this item of the scan instead of the ticked ones (repeatable)")
        ->excludes(project);
    addTrashFlags(command, options->trash);
    command.callback([options, &status, starter] {
        CleanRequest request;
        request.folder = fromStd(options->folder);
        if (!options->project.empty())
            request.project = fromStd(options->project);
        for (const std::string& item : options->items)
            request.items.append(fromStd(item));
        request.trash = options->trash;
        Console console(stdout, stderr);
        status = runClean(request, starter, console);
    });
}

} // namespace corvane::cli
