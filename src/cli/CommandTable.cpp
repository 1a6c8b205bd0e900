#include "cli/Command.h"
#include "cli/Commands.h"
#include "scanning/RulesStore.h"
#include "scanning/ScanEngine.h"

#include <QCoreApplication>
#include <QStringDecoder>
#include <iostream>

namespace corvane::cli {
namespace {

// Every argument becomes text as UTF-8. A name that is not valid UTF-8 would come out with
// replacement characters and name a place that does not exist; it is refused for what it is.
// The bytes that do not decode are shown as \xNN.
std::optional<std::string> invalidUtf8Argument(int argc, char** argv) {
    for (int index = 1; index < argc; ++index) {
        const QByteArrayView bytes(argv[index]);
        // Stateless, so that a sequence cut off at the end is an error too.
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        [[maybe_unused]] const QString decoded = decoder(bytes);
        if (!decoder.hasError())
            continue;
        std::string shown;
        for (const char byte : bytes) {
            const auto value = static_cast<unsigned char>(byte);
            if (value < 0x80) {
                shown += byte;
            } else {
                static const char digits[] = "0123456789ABCDEF";
                shown += {'\\', 'x', digits[value >> 4], digits[value & 0xF]};
            }
        }
        return shown;
    }
    return std::nullopt;
}

} // namespace

const std::vector<Command>& commandTable() {
    static const std::vector<Command> table{
        {"scan",
         "Scan FOLDER for projects and the artifact folders that can go, with git's word on each",
         [](CLI::App& command, int& status) {
             defineScanCommand(command, status, ScanEngine::scan);
         }},
        {"clean", "Scan FOLDER and move what is ticked (or what you name) to the Trash",
         [](CLI::App& command, int& status) {
             defineCleanCommand(command, status, ScanEngine::scan);
         }},
        {"overview",
         "Show the disk's free space, what each area could give back and what sits in the Trash",
         [](CLI::App& command, int& status) {
             defineOverviewCommand(command, status, ScanEngine::scan);
         }},
        {"keep",
         "Mark a project or item folder Keep so that no clean takes it; `keep --remove PATH` "
         "and `keep --list`",
         defineKeepCommand},
        {"locations",
         "Print where Corvane Clean looks for the home folder, its own files and tools",
         defineLocationsCommand},
        {"inspect",
         "Show the git state of the working tree that holds PATH and what a scan would offer of "
         "it as a project, and why",
         defineInspectCommand},
        {"caches",
         "List the developer caches outside your projects with their sizes; `caches clean ID...` "
         "moves some to the Trash",
         defineCachesCommand},
        {"history",
         "List the latest cleanups, newest first, with how many of their items are still in the "
         "Trash",
         defineHistoryCommand},
        {"put-back",
         "Move the items of the newest cleanup (or of cleanup ID) from the Trash back to where "
         "they were",
         definePutBackCommand},
        {"agents",
         "List the coding-agent sessions and editor workspaces of a folder, or of every folder",
         defineAgentsCommand},
        {"relink", "Make coding-agent history follow a project folder that moved from OLD to NEW",
         defineRelinkCommand},
        {"processes",
         "List the processes working in FOLDER (or anywhere), which keep it from moving",
         defineProcessesCommand},
        {"orphans", "List agent history whose folder is gone, and where it probably is now",
         defineOrphansCommand},
        {"organize",
         "Gather the projects of your home folder into one folder, with their agent history; "
         "`organize undo` puts the last run back",
         defineOrganizeCommand},
        {"move", "Move one project folder to a new path on the same disk, with its agent history",
         defineMoveCommand},
        {"archive",
         "Copy a project to a folder, drive or server, verify the copy, then move the original to "
         "the Trash",
         defineArchiveCommand},
        {"archives", "List the archived projects and whether each copy can be reached now",
         defineArchivesCommand},
        {"restore", "Copy an archived project back, with its agent history", defineRestoreCommand},
        {"docker",
         "List Docker's images, containers, volumes and build cache; `docker remove` and "
         "`docker prune-build-cache` free them for good",
         defineDockerCommand},
        {"simulators",
         "List Xcode's simulator runtimes and devices; `simulators delete-runtime` and "
         "`simulators erase` free them for good",
         defineSimulatorsCommand},
        {"models",
         "List the local AI models of LM Studio, Ollama and Hugging Face with what each frees; "
         "`models remove` removes chosen ones",
         defineModelsCommand},
        {"apps",
         "List every app with the data it keeps, and leftovers of deleted apps; `apps remove` "
         "and `apps leftovers remove` remove them",
         defineAppsCommand},
        {"brew", "List outdated Homebrew formulae and casks, and upgrade one", defineBrewCommand},
        {"android",
         "List Android SDK packages and emulators; `android remove` moves chosen ones to the "
         "Trash",
         defineAndroidCommand},
        {"volumes", "List the mounted drives and shares an archive can go to",
         defineVolumesCommand},
        {"destinations", "List, add, remove or test the servers saved as archive destinations",
         defineDestinationsCommand},
    };
    return table;
}

int runCommandLine(int argc, char** argv) {
    CLI::App app{"Corvane Clean gives back the disk space that developer tools leave behind, "
                 "without losing work.",
                 "corvane"};
    app.set_version_flag("--version",
                         "corvane " + QCoreApplication::applicationVersion().toStdString());
    app.require_subcommand(0, 1);
    // The user's own artifact rules, from the settings the app writes, hold here as they do there.
    const RulesStore rules;
    if (const std::optional<std::string> name = invalidUtf8Argument(argc, argv)) {
        std::cerr << "The name " << *name
                  << " is not valid UTF-8. Corvane Clean reads names as UTF-8 text; rename it and "
                     "try again.\n";
        return exitRefusedOrBadArguments;
    }
    int status = exitOk;
    for (const Command& command : commandTable())
        command.define(*app.add_subcommand(command.name, command.help), status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int code = app.exit(error);
        return code == 0 ? exitOk : exitRefusedOrBadArguments;
    }
    if (app.get_subcommands().empty()) {
        std::cout << app.help();
        return exitOk;
    }
    return status;
}

} // namespace corvane::cli
