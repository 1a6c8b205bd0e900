#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/OrganizeCommands.h"

#include <QFile>
#include <memory>

namespace corvane::cli {
namespace {

QString decoded(const std::string& argument) {
    return QFile::decodeName(argument.c_str());
}

struct OrganizeOptions {
    std::string destination;
    std::string layout;
    std::vector<std::string> additions;
    bool dryRun = false;
    bool yes = false;
    bool json = false;

    OrganizeRequest request() const {
        OrganizeRequest request;
        if (!destination.empty())
            request.destination = decoded(destination);
        if (!layout.empty())
            request.layout = decoded(layout);
        for (const std::string& addition : additions)
            request.additions.append(decoded(addition));
        request.dryRun = dryRun;
        request.yes = yes;
        request.json = json;
        return request;
    }
};

void addPlanOptions(CLI::App& command, OrganizeOptions& options) {
    command.add_option("--to", options.destination,
                       "The destination folder (default: the one last chosen in the app, else "
                       "Code in your home folder)");
    command.add_option("--layout", options.layout, "by-agent, by-owner or flat");
    command.add_option("--add", options.additions, "A folder to organize besides those found");
    command.add_flag("--json", options.json, "Print one JSON document on standard output");
}

} // namespace

void defineProcessesCommand(CLI::App& command, int& status) {
    struct Options {
        std::string folder;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    command.add_option("FOLDER", options->folder, "Only the processes working at or inside it");
    command.add_flag("--json", options->json, "Print one JSON document on standard output");
    command.callback([options, &status] {
        Console console(stdout, stderr);
        status =
            runProcesses(options->folder.empty() ? std::nullopt
                                                 : std::optional<QString>(decoded(options->folder)),
                         options->json, console);
    });
}

void defineOrphansCommand(CLI::App& command, int& status) {
    auto json = std::make_shared<bool>(false);
    command.add_flag("--json", *json, "Print one JSON document on standard output");
    command.callback([json, &status] {
        Console console(stdout, stderr);
        status = runOrphans(*json, console, OrganizeModel::Services::system());
    });
}

void defineOrganizeCommand(CLI::App& command, int& status) {
    command.require_subcommand(1, 1);

    auto planOptions = std::make_shared<OrganizeOptions>();
    CLI::App* plan = command.add_subcommand(
        "plan", "Show where each project found in your home folder would go, and why some can't");
    addPlanOptions(*plan, *planOptions);
    plan->callback([planOptions, &status] {
        Console console(stdout, stderr);
        status =
            runOrganizePlan(planOptions->request(), console, OrganizeModel::Services::system());
    });

    auto runOptions = std::make_shared<OrganizeOptions>();
    CLI::App* run = command.add_subcommand(
        "run", "Move the projects that are ready into the destination, with their agent history");
    addPlanOptions(*run, *runOptions);
    run->add_flag("--dry-run", runOptions->dryRun, "Show what would move; change nothing");
    run->add_flag("--yes", runOptions->yes, "Do not ask before moving");
    run->callback([runOptions, &status] {
        Console console(stdout, stderr);
        status = runOrganize(runOptions->request(), console, OrganizeModel::Services::system());
    });

    auto undoOptions = std::make_shared<OrganizeOptions>();
    CLI::App* undo = command.add_subcommand("undo", "Put back every move of the last run");
    undo->add_flag("--yes", undoOptions->yes, "Do not ask before putting back");
    undo->add_flag("--json", undoOptions->json, "Print one JSON document on standard output");
    undo->callback([undoOptions, &status] {
        Console console(stdout, stderr);
        status = runOrganizeUndo(undoOptions->yes, undoOptions->json, console,
                                 OrganizeModel::Services::system());
    });
}

void defineMoveCommand(CLI::App& command, int& status) {
    auto options = std::make_shared<OrganizeOptions>();
    auto source = std::make_shared<std::string>();
    command.add_option("SOURCE", *source, "The project folder to move")->required();
    command
        .add_option("DEST", options->destination,
                    "Its new path, which must not exist yet (on the same disk)")
        ->required();
    command.add_flag("--yes", options->yes, "Do not ask before moving");
    command.add_flag("--json", options->json, "Print one JSON document on standard output");
    command.callback([options, source, &status] {
        Console console(stdout, stderr);
        status = runMove(decoded(*source), decoded(options->destination), options->yes,
                         options->json, console, OrganizeModel::Services::system());
    });
}

} // namespace corvane::cli
