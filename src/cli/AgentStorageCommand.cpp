#include "cli/AgentStorageCommand.h"

#include "agents/AgentStorageModel.h"
#include "cli/Command.h"
#include "cli/JsonOutput.h"
#include "cli/SessionDriver.h"
#include "organize/OrphanFinder.h"
#include "platform/ByteFormat.h"
#include "platform/CheckedSum.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <memory>

namespace corvane::cli {
namespace {

void load(AgentStorageModel& model) {
    model.reload();
    waitUntil(model, &AgentStorageModel::isLoadingChanged, [&model] { return !model.isLoading(); });
}

QJsonObject rowJson(const AgentStoreRow& row) {
    return {{QStringLiteral("id"), row.id},
            {QStringLiteral("agent"), rawValue(row.agent)},
            {QStringLiteral("kind"), rawValue(row.kind)},
            {QStringLiteral("reason"), row.reason},
            {QStringLiteral("name"), row.name},
            {QStringLiteral("project"), row.project.isEmpty() ? QJsonValue() : row.project},
            {QStringLiteral("updatedAt"), isoDateOrNull(row.updatedAt)},
            {QStringLiteral("bytes"), row.bytes},
            {QStringLiteral("paths"), QJsonArray::fromStringList(row.paths())},
            {QStringLiteral("offered"), row.isOffered()},
            {QStringLiteral("ticked"), row.isOffered() && row.tickedByDefault},
            {QStringLiteral("blockedReason"), orNull(row.blockedReason)},
            {QStringLiteral("newPlace"), orNull(row.newPlace)}};
}

// Rows by agent, then by project, in the store's order.
using Grouped = QMap<AgentKind, QMap<QString, QList<const AgentStoreRow*>>>;

Grouped grouped(const AgentStore& store) {
    Grouped groups;
    for (const AgentStoreRow& row : store.rows)
        groups[row.agent][row.project].append(&row);
    return groups;
}

qint64 bytesOf(const QList<const AgentStoreRow*>& rows) {
    qint64 total = 0;
    for (const AgentStoreRow* row : rows)
        total = checkedSum(total, row->bytes);
    return total;
}

QJsonObject storeJson(const AgentStore& store) {
    QJsonArray agents;
    const Grouped groups = grouped(store);
    for (auto agent = groups.cbegin(); agent != groups.cend(); ++agent) {
        QJsonArray projects;
        qint64 agentBytes = 0;
        for (auto project = agent->cbegin(); project != agent->cend(); ++project) {
            QJsonArray rows;
            for (const AgentStoreRow* row : project.value())
                rows.append(rowJson(*row));
            agentBytes = checkedSum(agentBytes, bytesOf(project.value()));
            projects.append(
                QJsonObject{{QStringLiteral("project"),
                             project.key().isEmpty() ? QJsonValue() : QJsonValue(project.key())},
                            {QStringLiteral("bytes"), bytesOf(project.value())},
                            {QStringLiteral("count"), project.value().size()},
                            {QStringLiteral("rows"), rows}});
        }
        agents.append(QJsonObject{{QStringLiteral("agent"), rawValue(agent.key())},
                                  {QStringLiteral("bytes"), agentBytes},
                                  {QStringLiteral("projects"), projects}});
    }
    return {{QStringLiteral("agents"), agents},
            {QStringLiteral("totalBytes"), store.totalBytes()},
            {QStringLiteral("reclaimableBytes"), store.reclaimableBytes()}};
}

void printStore(const AgentStore& store, QTextStream& out) {
    if (store.rows.isEmpty()) {
        out << "No coding-agent data found.\n";
        return;
    }
    const Grouped groups = grouped(store);
    for (auto agent = groups.cbegin(); agent != groups.cend(); ++agent) {
        out << displayName(agent.key()) << '\n';
        for (auto project = agent->cbegin(); project != agent->cend(); ++project) {
            out << "  "
                << (project.key().isEmpty() ? QStringLiteral("(no project)") : project.key())
                << "  " << formatBytes(bytesOf(project.value())) << ", " << project.value().size()
                << (project.value().size() == 1 ? " item" : " items") << '\n';
            for (const AgentStoreRow* row : project.value()) {
                out << "    " << formatBytes(row->bytes).rightJustified(9) << "  "
                    << (row->isOffered() && row->tickedByDefault ? "[x] " : "[ ] ") << row->name
                    << "  [" << row->id << "]\n"
                    << "               " << displayName(row->kind) << ": "
                    << row->blockedReason.value_or(row->reason) << '\n';
            }
        }
    }
    out << "\nTotal: " << formatBytes(store.totalBytes())
        << "; can go: " << formatBytes(store.reclaimableBytes()) << '\n';
}

// The rows the flags choose, or the refusal of a row named with --session.
QStringList chosenRows(const AgentStorageModel& model, const AgentsCleanRequest& request) {
    QStringList ids = request.sessionIDs;
    const auto add = [&ids](const QString& id) {
        if (!ids.contains(id))
            ids.append(id);
    };
    for (const AgentStoreRow& row : model.store().rows) {
        if (request.orphaned && row.kind == AgentStoreKind::unreachable && !row.newPlace &&
            row.isOffered())
            add(row.id);
    }
    if (request.olderThanDays) {
        for (const QString& id :
             model.olderThan(*request.olderThanDays, QDateTime::currentDateTimeUtc())) {
            if (model.row(id)->isOffered())
                add(id);
        }
    }
    return ids;
}

} // namespace

AgentStorage::Inputs systemAgentStorageInputs() {
    return {AgentLocations(),
            [](const AgentHistoryIndex& index) { return OrphanFinder::newPlaces(index); }};
}

int runAgentsStorage(const AgentStorage::Inputs& inputs, bool json, Console& console) {
    ToastCenter toasts;
    AgentStorageModel model(toasts,
                            {inputs, &ProcessRunner::system(), &PlatformTrash::system(), {}, {}});
    load(model);
    if (json)
        console.out << QJsonDocument(storeJson(model.store())).toJson(QJsonDocument::Indented);
    else
        printStore(model.store(), console.out);
    console.out << Qt::flush;
    return exitOk;
}

int runAgentsClean(const AgentStorage::Inputs& inputs, const AgentsCleanRequest& request,
                   Console& console) {
    if (!request.orphaned && !request.olderThanDays && request.sessionIDs.isEmpty()) {
        console.err << "Say what to clean: --orphaned, --older-than DAYS or --session ID.\n";
        return exitRefusedOrBadArguments;
    }
    ToastCenter toasts;
    AgentStorageModel model(toasts,
                            {inputs, &ProcessRunner::system(), &PlatformTrash::system(), {}, {}});
    load(model);
    const AgentStorage::Plan plan = model.plan(chosenRows(model, request));
    // A row asked for by name that may not go stops everything, before anything moves.
    bool refusedNamed = false;
    for (const ItemFailure& refused : plan.refused) {
        console.err << refused.name << " [" << refused.itemID << "]: " << refused.message << '\n';
        refusedNamed = refusedNamed || request.sessionIDs.contains(refused.itemID);
    }
    if (refusedNamed) {
        console.err << "Nothing was moved.\n";
        return exitRefusedOrBadArguments;
    }
    return carryOut(plan.trash, request.trash, console,
                    [&model](const TrashPlan& chosen, bool dryRun) {
                        model.setDryRun(dryRun);
                        return trashThrough(model, chosen);
                    });
}

void defineAgentStorageCommands(CLI::App& agents, int& status) {
    auto json = std::make_shared<bool>(false);
    CLI::App* storage = agents.add_subcommand(
        "storage", "What each coding agent keeps, per project, measured, with what may go");
    storage->add_flag("--json", *json, "Print one JSON document on standard output");
    storage->callback([json, &status] {
        Console console(stdout, stderr);
        status = runAgentsStorage(systemAgentStorageInputs(), *json, console);
    });

    struct CleanOptions {
        bool orphaned = false;
        int olderThan = -1;
        std::vector<std::string> sessions;
        TrashRequest trash;
    };
    auto options = std::make_shared<CleanOptions>();
    CLI::App* clean = agents.add_subcommand(
        "clean", "Move chosen coding-agent history and leftovers to the Trash");
    clean->add_flag("--orphaned", options->orphaned,
                    "History whose project folder is gone and has no known new place");
    clean
        ->add_option("--older-than", options->olderThan,
                     "History last used more than DAYS days ago")
        ->check(CLI::NonNegativeNumber);
    clean->add_option("--session", options->sessions,
                      "A row by its id as `corvane agents storage` lists it (repeatable)");
    addTrashFlags(*clean, options->trash);
    clean->callback([options, &status] {
        AgentsCleanRequest request;
        request.orphaned = options->orphaned;
        if (options->olderThan >= 0)
            request.olderThanDays = options->olderThan;
        for (const std::string& id : options->sessions)
            request.sessionIDs.append(QString::fromStdString(id));
        request.trash = options->trash;
        Console console(stdout, stderr);
        status = runAgentsClean(systemAgentStorageInputs(), request, console);
    });
}

} // namespace corvane::cli
