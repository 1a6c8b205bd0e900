#include "apps/HomebrewModel.h"
#include "cli/AppsJson.h"
#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/Console.h"
#include "cli/JsonOutput.h"
#include "cli/SessionDriver.h"

#include <memory>

namespace corvane::cli {
namespace {

void load(HomebrewModel& model) {
    model.reload();
    waitUntil(model, &HomebrewModel::isLoadingChanged, [&model] { return !model.isLoading(); });
}

int runOutdated(bool json, Console& console) {
    ToastCenter toasts;
    HomebrewModel model(toasts);
    load(model);
    if (model.loadError()) {
        console.err << *model.loadError() << '\n';
        return exitSomeFailed;
    }
    if (json) {
        printJson(console, AppsJson::outdated(model.outdated()));
        return exitOk;
    }
    if (model.outdated().isEmpty())
        console.out << "Everything installed with Homebrew is up to date.\n";
    for (const BrewOutdatedItem& item : model.outdated())
        console.out << "  " << (item.kind == BrewOutdatedItem::Kind::cask ? "cask    " : "formula ")
                    << item.name.leftJustified(32) << ' ' << item.installedVersion << " -> "
                    << item.currentVersion << (item.isPinned ? "  (pinned)" : "") << '\n';
    console.out << Qt::flush;
    return exitOk;
}

int runUpgrade(const QString& name, bool cask, bool json, Console& console) {
    ToastCenter toasts;
    HomebrewModel model(toasts);
    load(model);
    if (model.loadError()) {
        console.err << *model.loadError() << '\n';
        return exitSomeFailed;
    }
    const auto item = std::find_if(
        model.outdated().begin(), model.outdated().end(), [&](const BrewOutdatedItem& candidate) {
            return candidate.name == name &&
                   (candidate.kind == BrewOutdatedItem::Kind::cask) == cask;
        });
    if (item == model.outdated().end()) {
        console.err << name << " is not among the outdated " << (cask ? "casks" : "formulae")
                    << "; `corvane brew outdated` lists them.\n";
        return exitRefusedOrBadArguments;
    }
    // Brew's own lines go to a person watching; a JSON reader gets the outcome only.
    qsizetype shown = 0;
    const QObject receiver;
    QObject::connect(&model, &HomebrewModel::outputChanged, &receiver, [&] {
        if (json || !console.showsProgress)
            return;
        for (; shown < model.output().size(); ++shown)
            console.err << model.output()[shown] << '\n';
        console.err << Qt::flush;
    });
    bool finished = false;
    QObject::connect(&model, &HomebrewModel::actionFinished, &receiver,
                     [&finished] { finished = true; });
    model.upgrade(*item);
    waitUntil(model, &HomebrewModel::actionFinished, [&finished] { return finished; });
    if (json) {
        printJson(console, {{QStringLiteral("succeeded"), model.lastUpgradeSucceeded()},
                            {QStringLiteral("message"), model.lastMessage()},
                            {QStringLiteral("terminalCommand"), orNull(model.terminalCommand())}});
    } else {
        console.out << model.lastMessage() << '\n' << Qt::flush;
    }
    return model.lastUpgradeSucceeded() ? exitOk : exitSomeFailed;
}

} // namespace

void defineBrewCommand(CLI::App& command, int& status) {
    command.require_subcommand(1, 1);
    auto json = std::make_shared<bool>(false);
    CLI::App* outdated = command.add_subcommand("outdated", "List outdated formulae and casks");
    outdated->add_flag("--json", *json, "Print one JSON document on standard output");
    outdated->callback([json, &status] {
        Console console(stdout, stderr);
        status = runOutdated(*json, console);
    });

    struct UpgradeOptions {
        std::string name;
        bool cask = false;
        bool json = false;
    };
    auto options = std::make_shared<UpgradeOptions>();
    CLI::App* upgrade = command.add_subcommand(
        "upgrade", "Upgrade one formula or cask; a password prompt stops it and names the command");
    upgrade->add_option("NAME", options->name, "The formula or cask")->required();
    upgrade->add_flag("--cask", options->cask, "NAME is a cask");
    upgrade->add_flag("--json", options->json, "Print one JSON document on standard output");
    upgrade->callback([options, &status] {
        Console console(stdout, stderr);
        status = runUpgrade(QString::fromStdString(options->name), options->cask, options->json,
                            console);
    });
}

} // namespace corvane::cli
