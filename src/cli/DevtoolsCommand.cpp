#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/DevtoolsCommands.h"
#include "platform/Locations.h"

#include <memory>

namespace corvane::cli {
namespace {

QStringList texts(const std::vector<std::string>& arguments) {
    QStringList list;
    for (const std::string& argument : arguments)
        list.append(QString::fromStdString(argument));
    return list;
}

void addChangeFlags(CLI::App& command, ChangeFlags& flags) {
    command.add_flag("--dry-run", flags.dryRun, "Show what would be removed; change nothing");
    command.add_flag("--yes", flags.yes, "Do not ask first");
    command.add_flag("--json", flags.json, "Print one JSON document on standard output");
}

DockerService dockerService() {
    return DockerService{&ProcessRunner::system(), Locations::homeDir()};
}

} // namespace

void defineDockerCommand(CLI::App& command, int& status) {
    command.require_subcommand(0, 1);
    auto json = std::make_shared<bool>(false);
    command.add_flag("--json", *json, "Print one JSON document on standard output");

    struct RemoveOptions {
        std::vector<std::string> containers;
        std::vector<std::string> images;
        std::vector<std::string> volumes;
        ChangeFlags flags;
    };
    auto remove = std::make_shared<RemoveOptions>();
    CLI::App* removeCommand = command.add_subcommand(
        "remove", "Remove containers, images and volumes for good (they skip the Trash)");
    removeCommand->add_option("--container", remove->containers,
                              "A container's name, id or unique id prefix");
    removeCommand->add_option("--image", remove->images,
                              "An image's name:tag, its 12-character id or a unique id prefix");
    removeCommand->add_option("--volume", remove->volumes, "A volume name");
    addChangeFlags(*removeCommand, remove->flags);
    removeCommand->callback([remove, &status] {
        DockerRemoveRequest request;
        request.containers = texts(remove->containers);
        request.images = texts(remove->images);
        request.volumes = texts(remove->volumes);
        request.dryRun = remove->flags.dryRun;
        request.yes = remove->flags.yes;
        request.json = remove->flags.json;
        Console console(stdout, stderr);
        status = runDockerRemove(request, console, dockerService());
    });

    auto prune = std::make_shared<ChangeFlags>();
    CLI::App* pruneCommand =
        command.add_subcommand("prune-build-cache", "Clear Docker's build cache for good");
    addChangeFlags(*pruneCommand, *prune);
    pruneCommand->callback([prune, &status] {
        Console console(stdout, stderr);
        status = runDockerPrune(*prune, console, dockerService());
    });

    command.callback([&command, json, &status] {
        if (!command.get_subcommands().empty())
            return;
        Console console(stdout, stderr);
        status = runDocker(*json, console, dockerService());
    });
}

void defineSimulatorsCommand(CLI::App& command, int& status) {
    command.require_subcommand(0, 1);
    auto json = std::make_shared<bool>(false);
    command.add_flag("--json", *json, "Print one JSON document on standard output");

    struct DeleteOptions {
        std::vector<std::string> ids;
        ChangeFlags flags;
    };
    auto remove = std::make_shared<DeleteOptions>();
    CLI::App* deleteCommand = command.add_subcommand(
        "delete-runtime", "Delete simulator runtimes and the devices on them, for good");
    deleteCommand->add_option("ID", remove->ids, "Runtime ids as `corvane simulators` lists them")
        ->required();
    addChangeFlags(*deleteCommand, remove->flags);
    deleteCommand->callback([remove, &status] {
        Console console(stdout, stderr);
        status = runDeleteRuntimes(texts(remove->ids), remove->flags, console);
    });

    struct EraseOptions {
        std::string udid;
        ChangeFlags flags;
    };
    auto erase = std::make_shared<EraseOptions>();
    CLI::App* eraseCommand =
        command.add_subcommand("erase", "Erase a simulator device's apps and data");
    eraseCommand->add_option("UDID", erase->udid, "The device's udid")->required();
    addChangeFlags(*eraseCommand, erase->flags);
    eraseCommand->callback([erase, &status] {
        Console console(stdout, stderr);
        status = runEraseDevice(QString::fromStdString(erase->udid), erase->flags, console);
    });

    command.callback([&command, json, &status] {
        if (!command.get_subcommands().empty())
            return;
        Console console(stdout, stderr);
        status = runSimulators(*json, console);
    });
}

void defineAndroidCommand(CLI::App& command, int& status) {
    command.require_subcommand(0, 1);
    auto json = std::make_shared<bool>(false);
    command.add_flag("--json", *json, "Print one JSON document on standard output");

    struct RemoveOptions {
        std::vector<std::string> items;
        ChangeFlags flags;
    };
    auto remove = std::make_shared<RemoveOptions>();
    CLI::App* removeCommand = command.add_subcommand(
        "remove", "Move SDK packages (by path) and emulators (by name) to the Trash");
    removeCommand->add_option("ITEM", remove->items, "A package's folder or an AVD's name")
        ->required();
    addChangeFlags(*removeCommand, remove->flags);
    removeCommand->callback([remove, &status] {
        Console console(stdout, stderr);
        status = runAndroidRemove(texts(remove->items), remove->flags, console);
    });

    command.callback([&command, json, &status] {
        if (!command.get_subcommands().empty())
            return;
        Console console(stdout, stderr);
        status = runAndroid(*json, console);
    });
}

void defineModelsCommand(CLI::App& command, int& status) {
    command.require_subcommand(0, 1);
    auto json = std::make_shared<bool>(false);
    command.add_flag("--json", *json, "Print one JSON document on standard output");

    struct RemoveOptions {
        std::vector<std::string> ids;
        ChangeFlags flags;
    };
    auto remove = std::make_shared<RemoveOptions>();
    CLI::App* removeCommand = command.add_subcommand(
        "remove", "Remove models: LM Studio's and Hugging Face's to the Trash, Ollama's by Ollama");
    removeCommand->add_option("ID", remove->ids, "Model ids as `corvane models` lists them")
        ->required();
    addChangeFlags(*removeCommand, remove->flags);
    removeCommand->callback([remove, &status] {
        Console console(stdout, stderr);
        status = runModelsRemove(texts(remove->ids), remove->flags, console);
    });

    command.callback([&command, json, &status] {
        if (!command.get_subcommands().empty())
            return;
        Console console(stdout, stderr);
        status = runModels(*json, console);
    });
}

} // namespace corvane::cli
