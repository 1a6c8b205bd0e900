#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/ScanCommands.h"
#include "cli/ScanJson.h"
#include "cli/SessionDriver.h"
#include "platform/ByteFormat.h"

#include <QJsonDocument>
#include <memory>

namespace corvane::cli {
namespace {

// The caches need no scan of a folder, so the session gets no engine.
ScanStarter noScans() {
    return {};
}

void scanCaches(ScanSession& session) {
    session.scanCaches();
    waitUntil(session, &ScanSession::isCacheScanningChanged,
              [&session] { return !session.isCacheScanning(); });
}

void printCaches(const ScanSession& session, QTextStream& out) {
    if (session.globalCaches().isEmpty()) {
        out << "No known developer caches found on this machine.\n";
        return;
    }
    for (const GlobalCacheItem& cache : session.globalCaches()) {
        const qint64 bytes = session.cacheSizeByID().value(cache.id());
        out << cache.entry.name.leftJustified(24) << ' ' << formatBytes(bytes).rightJustified(10)
            << "  " << cache.id() << '\n'
            << "    " << cache.entry.detail << '\n';
    }
    out << "\nTotal: " << formatBytes(session.measuredCacheBytes()) << '\n';
}

} // namespace

int runCaches(bool json, Console& console) {
    ToastCenter toasts;
    ScanSession session(toasts, noScans());
    scanCaches(session);
    if (json)
        console.out << QJsonDocument(ScanJson::caches(session)).toJson(QJsonDocument::Indented);
    else
        printCaches(session, console.out);
    console.out << Qt::flush;
    return exitOk;
}

int runCachesClean(const CachesCleanRequest& request, Console& console) {
    ToastCenter toasts;
    ScanSession session(toasts, noScans());
    scanCaches(session);
    for (const QString& id : request.ids) {
        session.setCacheSelected(id, true);
        if (!session.selectedCacheIDs().contains(id)) {
            console.err << "No developer cache " << id
                        << " on this machine; `corvane caches` lists them.\n";
            return exitRefusedOrBadArguments;
        }
    }
    return carryOut(session, toasts,
                    {session.trashPlan(TrashScope::caches()),
                     [&session] { session.trash(TrashScope::caches()); }},
                    request.trash, console);
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
