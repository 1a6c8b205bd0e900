#include "cli/AppsCommand.h"

#include "apps/AppRemover.h"
#include "apps/AppsModel.h"
#include "cli/AppsJson.h"
#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/Console.h"
#include "cli/HistoryCommands.h"
#include "cli/JsonOutput.h"
#include "cli/SessionDriver.h"
#include "platform/ByteFormat.h"
#include "platform/PathIdentity.h"
#include "platform/Paths.h"
#include "platform/PlatformWords.h"

#include <QJsonArray>
#include <memory>
#include <variant>

namespace corvane::cli {
namespace {

using RemoveOptions = AppsRemoveOptions;

QString decoded(const std::string& text) {
    return QString::fromStdString(text);
}

void load(AppsModel& model) {
    model.setCaskMapProvider(&AppsModel::homebrewCasks);
    model.reload();
    waitUntil(model, &AppsModel::isLoadingChanged, [&model] { return !model.isLoading(); });
}

// Runs the model's removal started by `start`; a dry run ends at once.
void carryOut(AppsModel& model, const std::function<void()>& start) {
    bool finished = false;
    const QObject receiver;
    QObject::connect(&model, &AppsModel::actionFinished, &receiver,
                     [&finished] { finished = true; });
    start();
    waitUntil(model, &AppsModel::actionFinished, [&] { return finished || !model.isRemoving(); });
}

bool confirmed(const QString& question, const RemoveOptions& options, Console& console,
               int& status) {
    if (options.dryRun || options.yes)
        return true;
    if (!console.canAsk) {
        console.err << "Nothing was removed: confirm with --yes, or run on a terminal to be asked "
                       "first.\n";
        status = exitRefusedOrBadArguments;
        return false;
    }
    if (!console.ask(question)) {
        console.out << "Nothing was removed.\n" << Qt::flush;
        status = exitOk;
        return false;
    }
    return true;
}

int report(const AppsModel& model, const RemoveOptions& options, bool withMethod,
           Console& console) {
    const AppRemovalOutcome outcome = model.lastOutcome().value_or(AppRemovalOutcome());
    if (options.json) {
        QJsonObject document = AppsJson::outcome(outcome, withMethod);
        document.insert(QStringLiteral("message"), model.lastMessage());
        if (!options.dryRun)
            addCleanupNote(document, outcome.cleanup);
        printJson(console, document);
    } else {
        if (!model.lastMessage().isEmpty())
            console.out << model.lastMessage() << '\n';
        printPutBackHint(console, outcome.cleanup);
        if (!outcome.cleanup.notice.isEmpty())
            console.out << outcome.cleanup.notice << '\n';
        for (const QString& failure : outcome.failures)
            console.out << "  " << failure << '\n';
        if (outcome.terminalCommand)
            console.out << "Run in " << PlatformWords::here().terminal << ": "
                        << *outcome.terminalCommand << '\n';
        console.out << Qt::flush;
    }
    // A dry run runs every guard: an app it would leave is reported the same way.
    const bool appStayed = withMethod && !outcome.appMethod;
    return outcome.failures.isEmpty() && !appStayed && !outcome.terminalCommand ? exitOk
                                                                                : exitSomeFailed;
}

// The app `target` names: its path (links resolved), or a name only one listed app has. Several
// apps of one name are never guessed between: the refusal lists their paths.
std::variant<const InstalledApp*, QString> findApp(const AppInventory& inventory,
                                                   const QString& target) {
    const QString path = Paths::absoluteStandardized(target);
    QList<const InstalledApp*> named;
    for (const InstalledApp& listed : inventory.apps) {
        if (PathIdentity::same(listed.url, path))
            return &listed;
        if (listed.name == target)
            named.append(&listed);
    }
    if (named.size() == 1)
        return named.first();
    if (named.isEmpty())
        return QStringLiteral("No installed app is %1; `corvane apps` lists them.\n").arg(target);
    QString refusal = QStringLiteral("%1 apps are named %2; name the one to remove by its path:\n")
                          .arg(named.size())
                          .arg(target);
    for (const InstalledApp* app : named)
        refusal += QStringLiteral("  ") + app->url + u'\n';
    return refusal;
}

int runApps(bool json, Console& console) {
    ToastCenter toasts;
    AppsModel model(toasts);
    load(model);
    const AppInventory& inventory = model.inventory();
    // What could not be found out (flatpak's list) makes the listing incomplete, and says so.
    const int status = inventory.errors.isEmpty() ? exitOk : exitSomeFailed;
    if (json) {
        QJsonArray apps;
        for (const InstalledApp& app : inventory.apps) {
            const QSet<QString> ticked = AppsModel::preselected(app);
            QList<AppDataItem> preselected;
            for (const AppDataItem& item : app.data) {
                if (ticked.contains(item.url))
                    preselected.append(item);
            }
            apps.append(AppsJson::app(app, preselected));
        }
        QJsonArray orphans;
        for (const OrphanedAppData& orphan : inventory.orphans)
            orphans.append(AppsJson::orphan(orphan));
        QJsonArray unknown;
        for (const OrphanedAppData& data : inventory.unknownData)
            unknown.append(AppsJson::orphan(data));
        printJson(console,
                  {{QStringLiteral("apps"), apps},
                   {QStringLiteral("orphans"), orphans},
                   {QStringLiteral("unknownData"), unknown},
                   {QStringLiteral("errors"), QJsonArray::fromStringList(inventory.errors)}});
        return status;
    }
    for (const InstalledApp& app : inventory.apps) {
        console.out << app.name.leftJustified(32) << ' '
                    << formatBytes(app.sizeBytes + app.dataBytes()).rightJustified(10) << "  "
                    << app.url << '\n';
        for (const AppDataItem& item : app.data)
            console.out << "    " << label(item.kind).leftJustified(20) << ' '
                        << formatBytes(item.sizeBytes).rightJustified(10) << "  " << item.url
                        << (item.isExactMatch ? "" : "  (possibly related)") << '\n';
    }
    if (!inventory.orphans.isEmpty())
        console.out << "\nLeftovers\n";
    for (const OrphanedAppData& orphan : inventory.orphans) {
        console.out << "  " << orphan.bundleIdentifier << "  " << formatBytes(orphan.sizeBytes())
                    << '\n';
        if (orphan.gone)
            console.out << "    " << AppsModel::goneText(orphan) << '\n';
        for (const AppDataItem& item : orphan.items)
            console.out << "    " << item.url << '\n';
    }
    if (!inventory.unknownData.isEmpty())
        console.out << "\nUnknown: an app that could not be read may use this data\n";
    for (const OrphanedAppData& data : inventory.unknownData) {
        console.out << "  " << data.bundleIdentifier << "  ("
                    << data.unreadableBundle.value_or(QString()) << ")\n";
        for (const AppDataItem& item : data.items)
            console.out << "    " << item.url << '\n';
    }
    console.out << Qt::flush;
    for (const QString& error : inventory.errors)
        console.err << error << '\n';
    return status;
}

} // namespace

int runAppsRemove(const RemoveOptions& options, Console& console) {
    ToastCenter toasts;
    AppsModel model(toasts);
    load(model);
    const QString target = decoded(options.targets.front());
    const std::variant<const InstalledApp*, QString> found = findApp(model.inventory(), target);
    if (const QString* refusal = std::get_if<QString>(&found)) {
        console.err << *refusal;
        return exitRefusedOrBadArguments;
    }
    const InstalledApp* app = std::get<const InstalledApp*>(found);
    if (const std::optional<QString> refusal = model.appRefusal(*app)) {
        console.err << *refusal << '\n';
        return exitSomeFailed;
    }
    QSet<QString> data = options.defaultData ? AppsModel::preselected(*app) : QSet<QString>();
    for (const std::string& item : options.data) {
        const QString itemPath = Paths::absoluteStandardized(decoded(item));
        const auto listed = std::find_if(app->data.begin(), app->data.end(),
                                         [&](const AppDataItem& d) { return d.url == itemPath; });
        if (listed == app->data.end()) {
            console.err << itemPath << ": This data does not belong to " << app->name << '\n';
            return exitRefusedOrBadArguments;
        }
        // Every item is judged before anything moves: a refused one stops the whole command.
        if (const std::optional<QString> refusal = AppRemover().dataRefusal(*app, *listed)) {
            console.err << *refusal << '\n';
            return exitRefusedOrBadArguments;
        }
        data.insert(itemPath);
    }
    int status = exitOk;
    // Nothing is removed for a package or a snap: the command is looked up and printed.
    if (!model.isRemovedByCommand(*app) &&
        !confirmed(QStringLiteral("Remove %1 (%2) and %3 data item(s)? [y/N] ")
                       .arg(app->name, app->url)
                       .arg(data.size()),
                   options, console, status))
        return status;
    model.setDryRun(options.dryRun);
    const QString url = app->url;
    carryOut(model, [&] { model.removeApp(url, data); });
    return report(model, options, true, console);
}

int runLeftoversRemove(const RemoveOptions& options, Console& console) {
    ToastCenter toasts;
    AppsModel model(toasts);
    load(model);
    QStringList urls;
    for (const std::string& target : options.targets) {
        const QString text = decoded(target);
        const QString path = Paths::absoluteStandardized(text);
        bool found = false;
        for (const OrphanedAppData& orphan : model.inventory().orphans) {
            for (const AppDataItem& item : orphan.items) {
                if (orphan.bundleIdentifier == text || item.url == path) {
                    urls.append(item.url);
                    found = true;
                }
            }
        }
        if (!found) {
            console.err << "No leftover is " << text << "; `corvane apps` lists them.\n";
            return exitRefusedOrBadArguments;
        }
    }
    int status = exitOk;
    if (!confirmed(QStringLiteral("Move %1 leftover item(s) to the Trash? [y/N] ").arg(urls.size()),
                   options, console, status))
        return status;
    model.setDryRun(options.dryRun);
    carryOut(model, [&] { model.removeLeftovers(urls); });
    return report(model, options, false, console);
}

namespace {

void addRemoveFlags(CLI::App& command, RemoveOptions& options) {
    command.add_flag("--dry-run", options.dryRun, "Say what would be removed; change nothing");
    command.add_flag("--yes", options.yes, "Do not ask first");
    command.add_flag("--json", options.json, "Print one JSON document on standard output");
}

} // namespace

void defineAppsCommand(CLI::App& command, int& status) {
    command.require_subcommand(0, 1);
    auto json = std::make_shared<bool>(false);
    command.add_flag("--json", *json, "Print one JSON document on standard output");

    auto remove = std::make_shared<RemoveOptions>();
    CLI::App* removeCommand = command.add_subcommand(
        "remove", "Remove an app, and the data named (or pre-selected) once the app is gone");
    removeCommand->add_option("APP", remove->targets, "The app's path or name")
        ->required()
        ->expected(1);
    removeCommand->add_option("--data", remove->data, "A data item's path, as listed");
    removeCommand->add_flag("--default-data", remove->defaultData,
                            "Also the pre-selected items: caches, logs and window state");
    addRemoveFlags(*removeCommand, *remove);
    removeCommand->callback([remove, &status] {
        Console console(stdout, stderr);
        status = runAppsRemove(*remove, console);
    });

    auto leftovers = std::make_shared<RemoveOptions>();
    CLI::App* leftoversCommand =
        command.add_subcommand("leftovers", "Data of apps that are no longer installed");
    leftoversCommand->require_subcommand(1, 1);
    CLI::App* leftoversRemove =
        leftoversCommand->add_subcommand("remove", "Move leftovers to the Trash");
    leftoversRemove
        ->add_option("ID_OR_PATH", leftovers->targets,
                     "A leftover's identifier (all its items) or one item's path")
        ->required();
    addRemoveFlags(*leftoversRemove, *leftovers);
    leftoversRemove->callback([leftovers, &status] {
        Console console(stdout, stderr);
        status = runLeftoversRemove(*leftovers, console);
    });

    command.callback([&command, json, &status] {
        if (!command.get_subcommands().empty())
            return;
        Console console(stdout, stderr);
        status = runApps(*json, console);
    });
}

} // namespace corvane::cli
