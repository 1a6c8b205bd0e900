#include "agents/AgentPaths.h"
#include "agents/AgentsModel.h"
#include "cli/AgentStorageCommand.h"
#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/JsonOutput.h"
#include "cli/SessionDriver.h"
#include "platform/Paths.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QTextStream>
#include <memory>

namespace corvane::cli {
namespace {

struct AgentsOptions {
    std::string folder;
    bool json = false;
};

QJsonObject workspaceJson(const AgentWorkspace& workspace) {
    return {{QStringLiteral("agent"), rawValue(workspace.agent)},
            {QStringLiteral("folder"), workspace.folder},
            {QStringLiteral("lastUsedAt"), isoDateOrNull(workspace.lastUsedAt)},
            {QStringLiteral("appName"), workspace.appName},
            {QStringLiteral("appBundleID"), workspace.appBundleID}};
}

QJsonObject activityJson(const AgentActivity& activity) {
    QJsonArray sessions;
    for (const AgentSession& session : activity.sessions)
        sessions.append(agentSessionJson(session));
    QJsonArray workspaces;
    for (const AgentWorkspace& workspace : activity.workspaces)
        workspaces.append(workspaceJson(workspace));
    QStringList parentIDs = activity.parentFolderSessionIDs.values();
    parentIDs.sort();
    return {{QStringLiteral("agent"), rawValue(activity.agent)},
            {QStringLiteral("sessions"), sessions},
            {QStringLiteral("workspaces"), workspaces},
            {QStringLiteral("parentFolderSessionIDs"), QJsonArray::fromStringList(parentIDs)},
            {QStringLiteral("parentFolderName"), orNull(activity.parentFolderName)}};
}

QJsonObject folderJson(const QString& folder, const QList<AgentActivity>& activities) {
    QJsonArray list;
    for (const AgentActivity& activity : activities)
        list.append(activityJson(activity));
    return {{QStringLiteral("folder"), folder}, {QStringLiteral("activities"), list}};
}

QString dateText(const std::optional<QDateTime>& date) {
    return date ? date->toUTC().toString(Qt::ISODate) : QStringLiteral("date unknown");
}

void printActivities(QTextStream& out, const QList<AgentActivity>& activities) {
    for (const AgentActivity& activity : activities) {
        out << "  " << displayName(activity.agent) << '\n';
        for (const AgentSession& session : activity.sessions) {
            out << "    " << dateText(session.updatedAt) << "  "
                << session.title.value_or(QStringLiteral("(untitled)")) << "  [" << session.id
                << "]  " << session.cwd;
            if (activity.parentFolderSessionIDs.contains(session.id))
                out << "  (started in the enclosing folder \"" << *activity.parentFolderName
                    << "\")";
            out << '\n';
        }
        for (const AgentWorkspace& workspace : activity.workspaces)
            out << "    " << dateText(workspace.lastUsedAt) << "  " << workspace.appName
                << " workspace  " << workspace.folder << '\n';
    }
}

// Each record that could not be read, on the error stream (which leaves the JSON whole): the
// history shown lacks what it holds.
int reportProblems(const AgentsModel& model) {
    QTextStream err(stderr);
    for (const QString& problem : model.index().problems)
        err << problem << '\n';
    return model.index().problems.isEmpty() ? exitOk : exitSomeFailed;
}

int run(const AgentsOptions& options) {
    QTextStream out(stdout);
    ToastCenter toasts;
    AgentsModel model(toasts);
    const bool macPathRules = AgentLocations().macPathRules;
    const QString folder =
        options.folder.empty()
            ? QString()
            : AgentPaths::normalized(
                  Paths::absoluteStandardized(QFile::decodeName(options.folder.c_str())),
                  macPathRules);
    if (!folder.isEmpty())
        model.setProjectFolders({folder});
    model.reload();
    waitUntil(model, &AgentsModel::isLoadingChanged, [&model] { return !model.isLoading(); });

    if (!folder.isEmpty()) {
        const QList<AgentActivity> activities = model.activities(folder);
        if (options.json) {
            out << QJsonDocument(folderJson(folder, activities)).toJson();
            out.flush();
            return reportProblems(model);
        }
        out << "Agent history for " << folder << '\n';
        if (activities.isEmpty())
            out << "  none\n";
        printActivities(out, activities);
        out.flush();
        return reportProblems(model);
    }
    const QMap<QString, QList<AgentActivity>> folders = model.historyByFolder();
    if (options.json) {
        QJsonArray list;
        for (auto entry = folders.begin(); entry != folders.end(); ++entry)
            list.append(folderJson(entry.key(), entry.value()));
        out << QJsonDocument(QJsonObject{{QStringLiteral("folders"), list}}).toJson();
        out.flush();
        return reportProblems(model);
    }
    if (folders.isEmpty())
        out << "No agent history found.\n";
    for (auto entry = folders.begin(); entry != folders.end(); ++entry) {
        out << entry.key() << '\n';
        printActivities(out, entry.value());
    }
    out.flush();
    return reportProblems(model);
}

} // namespace

void defineAgentsCommand(CLI::App& command, int& status) {
    auto options = std::make_shared<AgentsOptions>();
    command.add_option("FOLDER", options->folder,
                       "The project folder whose agent sessions and editor workspaces to list; "
                       "without it, all history grouped by folder");
    command.add_flag("--json", options->json, "Print JSON instead of text");
    defineAgentStorageCommands(command, status);
    command.require_subcommand(0, 1);
    command.callback([&command, options, &status] {
        if (command.get_subcommands().size() > 0)
            return;
        status = run(*options);
    });
}

} // namespace corvane::cli
