#include "cli/OverviewCommand.h"

#include "cli/AgentStorageCommand.h"
#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/JsonOutput.h"
#include "cli/SessionDriver.h"
#include "devtools/OverviewAreas.h"
#include "platform/AreaCatalog.h"
#include "platform/ByteFormat.h"
#include "platform/Locations.h"

#include <QJsonArray>
#include <memory>

namespace corvane::cli {
namespace {

// The models the app would hold, for one look at the disk.
struct OverviewModels {
    explicit OverviewModels(const ScanStarter& starter)
        : session(toasts, starter)
        , caches(toasts)
        , docker(toasts, DockerService{&ProcessRunner::system(), Locations::homeDir()})
        , simulators(toasts)
        , aiModels(toasts)
        , android(toasts)
        , apps(toasts)
        , agentStorage(toasts, {systemAgentStorageInputs(),
                                &ProcessRunner::system(),
                                &PlatformTrash::system(),
                                {},
                                {}})
        , overview(overviewAreas(
              {session, caches, simulators, docker, aiModels, android, apps, agentStorage})) {}

    ToastCenter toasts;
    ScanSession session;
    GlobalCachesModel caches;
    DockerModel docker;
    SimulatorsModel simulators;
    AIModelsModel aiModels;
    AndroidModel android;
    AppsModel apps;
    AgentStorageModel agentStorage;
    OverviewModel overview;
};

QJsonObject overviewJson(const OverviewModel& overview) {
    QJsonArray areas;
    for (const OverviewArea& area : overview.areas()) {
        const std::optional<qint64> bytes = area.bytes();
        QJsonObject entry{{QStringLiteral("id"), area.id},
                          {QStringLiteral("name"), area.name},
                          {QStringLiteral("bytes"), bytes ? QJsonValue(*bytes) : QJsonValue()}};
        if (!bytes)
            entry.insert(QStringLiteral("note"), area.note());
        if (const QString detail = area.detailText(); !detail.isEmpty())
            entry.insert(QStringLiteral("detail"), detail);
        if (const std::optional<AreaRow> row = Areas::find(area.id); row && !row->command.isEmpty())
            entry.insert(QStringLiteral("command"), row->command);
        areas.append(entry);
    }
    const QJsonObject disk{{QStringLiteral("capacityBytes"), overview.capacityBytes()},
                           {QStringLiteral("freeBytes"), overview.freeBytes()}};
    return {{QStringLiteral("disk"), disk},
            {QStringLiteral("areas"), areas},
            {QStringLiteral("totalBytes"), overview.totalBytes()},
            {QStringLiteral("trashBytes"),
             overview.trashBytes() ? QJsonValue(*overview.trashBytes()) : QJsonValue()}};
}

void printOverview(const OverviewModel& overview, QTextStream& out) {
    out << "Disk: " << formatBytes(overview.capacityBytes()) << ", "
        << formatBytes(overview.freeBytes()) << " free\n\n";
    for (const OverviewArea& area : overview.areas()) {
        const std::optional<qint64> bytes = area.bytes();
        const QString detail = area.detailText();
        out << area.name.leftJustified(20) << ' '
            << (bytes ? formatBytes(*bytes).rightJustified(10) : area.note())
            << (detail.isEmpty() ? QString() : QStringLiteral("  (") + detail + u')') << '\n';
    }
    out << QStringLiteral("Could give back").leftJustified(20) << ' '
        << formatBytes(overview.totalBytes()).rightJustified(10) << '\n';
    if (overview.trashBytes())
        out << QStringLiteral("In the Trash").leftJustified(20) << ' '
            << formatBytes(*overview.trashBytes()).rightJustified(10) << "  "
            << OverviewModel::trashNote << '\n';
}

} // namespace

int runOverview(const OverviewRequest& request, const ScanStarter& starter, Console& console) {
    OverviewModels models(starter);
    if (!request.folder.isEmpty()) {
        const int scanned = scanFolder(models.session, request.folder, console);
        if (scanned != exitOk)
            return scanned;
    }
    OverviewModel& overview = models.overview;
    overview.reload();
    waitUntil(overview, &OverviewModel::changed,
              [&overview] { return overview.isComplete() && overview.trashBytes().has_value(); });
    if (request.json)
        printJson(console, overviewJson(overview));
    else
        printOverview(overview, console.out);
    console.out << Qt::flush;
    return exitOk;
}

void defineOverviewCommand(CLI::App& command, int& status, ScanStarter starter) {
    auto request = std::make_shared<OverviewRequest>();
    auto folder = std::make_shared<std::string>();
    command.add_option("--folder", *folder,
                       "Also scan FOLDER and count what its projects could give back");
    command.add_flag("--json", request->json, "Print one JSON document on standard output");
    command.callback([request, folder, starter, &status] {
        request->folder = QString::fromStdString(*folder);
        Console console(stdout, stderr);
        status = runOverview(*request, starter, console);
    });
}

} // namespace corvane::cli
