#include "cli/ArchiveCommands.h"
#include "cli/Command.h"
#include "cli/Commands.h"

#include <QFile>
#include <memory>

namespace corvane::cli {
namespace {

QString decoded(const std::string& argument) {
    return QFile::decodeName(argument.c_str());
}

std::optional<QString> decodedIfGiven(const std::string& argument) {
    return argument.empty() ? std::nullopt : std::optional<QString>(decoded(argument));
}

} // namespace

void defineVolumesCommand(CLI::App& command, int& status) {
    auto json = std::make_shared<bool>(false);
    command.add_flag("--json", *json, "Print one JSON document on standard output");
    command.callback([json, &status] {
        Console console(stdout, stderr);
        status = runVolumes(*json, console);
    });
}

void defineDestinationsCommand(CLI::App& command, int& status) {
    command.require_subcommand(0, 1);
    auto json = std::make_shared<bool>(false);
    command.add_flag("--json", *json, "Print one JSON document on standard output");

    struct Options {
        std::string name;
        std::string login;
        std::string remotePath;
        std::string url;
    };
    auto options = std::make_shared<Options>();
    CLI::App* addSsh = command.add_subcommand("add-ssh", "Save an SSH server to archive to");
    addSsh->add_option("NAME", options->name, "The name shown in menus")->required();
    addSsh->add_option("LOGIN", options->login, "USER@HOST")->required();
    addSsh->add_option("--path", options->remotePath,
                       "The folder on the server (default ~/CorvaneArchive)");
    addSsh->callback([options, &status] {
        Console console(stdout, stderr);
        status = runAddSshDestination(decoded(options->name), decoded(options->login),
                                      decodedIfGiven(options->remotePath), console);
    });
    CLI::App* addSmb = command.add_subcommand("add-smb", "Save an SMB share to archive to");
    addSmb->add_option("NAME", options->name, "The name shown in menus")->required();
    addSmb->add_option("URL", options->url, "smb://server/share")->required();
    addSmb->callback([options, &status] {
        Console console(stdout, stderr);
        status = runAddSmbDestination(decoded(options->name), decoded(options->url), console);
    });
    CLI::App* remove = command.add_subcommand("remove", "Forget a saved destination");
    remove->add_option("NAME", options->name, "Its name")->required();
    remove->callback([options, &status] {
        Console console(stdout, stderr);
        status = runRemoveDestination(decoded(options->name), console);
    });
    CLI::App* test = command.add_subcommand("test", "Try to log in to a saved SSH destination");
    test->add_option("NAME", options->name, "Its name")->required();
    test->callback([options, &status] {
        Console console(stdout, stderr);
        status = runTestDestination(decoded(options->name), console);
    });

    command.callback([&command, json, &status] {
        if (!command.get_subcommands().empty())
            return;
        Console console(stdout, stderr);
        status = runDestinations(*json, console);
    });
}

void defineArchiveCommand(CLI::App& command, int& status) {
    struct Options {
        std::string project;
        std::string folder;
        std::string volume;
        std::string destination;
        bool yes = false;
        bool json = false;
        bool removePartial = false;
    };
    auto options = std::make_shared<Options>();
    command.add_option("PROJECT", options->project, "The project folder")->required();
    command.add_option("--to", options->folder, "A folder the project goes straight into");
    command.add_option("--volume", options->volume,
                       "A mounted drive or share, by name (`corvane volumes`)");
    command.add_option("--destination", options->destination,
                       "A saved destination, by name (`corvane destinations`)");
    command.add_flag("--yes", options->yes, "Do not ask first");
    command.add_flag("--json", options->json, "Print one JSON document on standard output");
    command.add_flag("--remove-partial", options->removePartial,
                     "Remove a partial copy that an interrupted run left at the destination "
                     "(locally to the Trash), then archive");
    command.callback([options, &status] {
        ArchiveRequest request;
        request.removePartial = options->removePartial;
        request.project = decoded(options->project);
        request.folder = decodedIfGiven(options->folder);
        request.volume = decodedIfGiven(options->volume);
        request.destination = decodedIfGiven(options->destination);
        request.yes = options->yes;
        request.json = options->json;
        Console console(stdout, stderr);
        status = runArchive(request, console);
    });
}

void defineArchivesCommand(CLI::App& command, int& status) {
    auto json = std::make_shared<bool>(false);
    command.add_flag("--json", *json, "Print the catalog as JSON");
    command.callback([json, &status] {
        Console console(stdout, stderr);
        status = runArchives(*json, console);
    });
}

void defineRestoreCommand(CLI::App& command, int& status) {
    struct Options {
        std::string record;
        std::string folder;
        bool json = false;
        bool removePartial = false;
    };
    auto options = std::make_shared<Options>();
    command.add_option("ID_OR_NAME", options->record, "The archived project, by id or name")
        ->required();
    command.add_option("--to", options->folder,
                       "The folder to restore into (default: where it was)");
    command.add_flag("--json", options->json, "Print one JSON document on standard output");
    command.add_flag("--remove-partial", options->removePartial,
                     "Move a partial copy that an interrupted restore left there to the Trash, "
                     "then restore");
    command.callback([options, &status] {
        Console console(stdout, stderr);
        status =
            runRestore(decoded(options->record), decodedIfGiven(options->folder), options->json,
                       console, ArchivesModel::Services(), options->removePartial);
    });
}

} // namespace corvane::cli
