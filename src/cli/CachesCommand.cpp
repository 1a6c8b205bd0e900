#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/ScanCommands.h"
#include "cli/ScanJson.h"
#include "cli/SessionDriver.h"
#include "platform/ByteFormat.h"
#include "platform/Locations.h"

#include <QJsonDocument>
#include <memory>

namespace corvane::cli {
namespace {

void load(GlobalCachesModel& model) {
    model.reload();
    waitUntil(model, &GlobalCachesModel::isLoadingChanged, [&model] { return !model.isLoading(); });
}

void printCaches(const GlobalCachesModel& model, QTextStream& out) {
    if (model.caches().isEmpty()) {
        out << "No known developer caches found on this machine.\n";
        return;
    }
    for (const GlobalCacheItem& cache : model.caches()) {
        const qint64 bytes = model.cacheSizeByID().value(cache.id());
        out << cache.entry.name.leftJustified(24) << ' ' << formatBytes(bytes).rightJustified(10)
            << "  " << cache.id() << (cache.isKept ? "  Kept" : "") << '\n'
            << "    " << cache.entry.detail << '\n';
    }
    out << "\nTotal: " << formatBytes(model.measuredBytes()) << '\n';
}

} // namespace

int runCaches(bool json, Console& console) {
    ToastCenter toasts;
    GlobalCachesModel model(toasts);
    load(model);
    if (json)
        console.out << QJsonDocument(ScanJson::caches(model)).toJson(QJsonDocument::Indented);
    else
        printCaches(model, console.out);
    console.out << Qt::flush;
    return exitOk;
}

int runCachesClean(const CachesCleanRequest& request, Console& console) {
    ToastCenter toasts;
    GlobalCachesModel model(toasts);
    load(model);
    QList<GlobalCacheItem> kept;
    for (const QString& id : request.ids) {
        const std::optional<GlobalCacheItem> cache = model.cache(id);
        if (!cache) {
            console.err << "No developer cache " << id
                        << " on this machine; `corvane caches` lists them.\n";
            return exitRefusedOrBadArguments;
        }
        if (cache->isKept)
            kept.append(*cache);
        else
            model.setSelected(id, true);
    }
    // A kept cache asked for by name cannot be ticked; the trash step refuses it with its reason,
    // as one failure of the batch.
    TrashPlan plan = model.trashPlan();
    for (const GlobalCacheItem& cache : kept)
        plan.add(Locations::homeDir(), cache.entry.url, std::nullopt);
    return carryOut(plan, request.trash, console, [&model](const TrashPlan& plan, bool dryRun) {
        model.setDryRun(dryRun);
        return trashThrough(model, plan);
    });
}

void defineCachesCommand(CLI::App& command, int& status) {
    auto json = std::make_shared<bool>(false);
    command.add_flag("--json", *json, "Print one JSON document on standard output");
    command.require_subcommand(0, 1);

    struct CleanOptions {
        std::vector<std::string> ids;
        TrashRequest trash;
    };
    auto options = std::make_shared<CleanOptions>();
    CLI::App* clean =
        command.add_subcommand("clean", "Move developer caches to the Trash, by their ids");
    clean->add_option("ID", options->ids, "Cache ids as `corvane caches` lists them")->required();
    addTrashFlags(*clean, options->trash);
    clean->callback([options, &status] {
        CachesCleanRequest request;
        for (const std::string& id : options->ids)
            request.ids.append(QString::fromStdString(id));
        request.trash = options->trash;
        Console console(stdout, stderr);
        status = runCachesClean(request, console);
    });

    command.callback([&command, json, &status] {
        if (command.got_subcommand("clean"))
            return;
        Console console(stdout, stderr);
        status = runCaches(*json, console);
    });
}

} // namespace corvane::cli
