#include "agents/AgentHistoryIndex.h"
#include "agents/AgentPaths.h"
#include "cli/Command.h"
#include "cli/Commands.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QTextStream>
#include <algorithm>
#include <memory>

namespace corvane::cli {
namespace {

struct AgentsOptions {
    std::string folder;
    bool json = false;
};

QJsonValue isoDate(const std::optional<QDateTime>& date) {
    return date ? QJsonValue(date->toUTC().toString(Qt::ISODate)) : QJsonValue();
}

QJsonValue optionalText(const std::optional<QString>& text) {
    return text ? QJsonValue(*text) : QJsonValue();
}

QJsonObject sessionJson(const AgentSession& session) {
    return {{QStringLiteral("agent"), rawValue(session.agent)},
            {QStringLiteral("id"), session.id},
            {QStringLiteral("desktopID"), optionalText(session.desktopID)},
            {QStringLiteral("title"), optionalText(session.title)},
            {QStringLiteral("cwd"), session.cwd},
            {QStringLiteral("updatedAt"), isoDate(session.updatedAt)}};
}

QJsonObject workspaceJson(const AgentWorkspace& workspace) {
    return {{QStringLiteral("agent"), rawValue(workspace.agent)},
            {QStringLiteral("folder"), workspace.folder},
            {QStringLiteral("lastUsedAt"), isoDate(workspace.lastUsedAt)},
            {QStringLiteral("appName"), workspace.appName},
            {QStringLiteral("appBundleID"), workspace.appBundleID}};
}

QJsonObject activityJson(const AgentActivity& activity) {
    QJsonArray sessions;
    for (const AgentSession& session : activity.sessions)
        sessions.append(sessionJson(session));
    QJsonArray workspaces;
    for (const AgentWorkspace& workspace : activity.workspaces)
        workspaces.append(workspaceJson(workspace));
    QStringList parentIDs = activity.parentFolderSessionIDs.values();
    parentIDs.sort();
    return {{QStringLiteral("agent"), rawValue(activity.agent)},
            {QStringLiteral("sessions"), sessions},
            {QStringLiteral("workspaces"), workspaces},
            {QStringLiteral("parentFolderSessionIDs"), QJsonArray::fromStringList(parentIDs)},
            {QStringLiteral("parentFolderName"), optionalText(activity.parentFolderName)}};
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

// Every folder that has history, each with exactly the sessions and workspaces opened there.
QMap<QString, QList<AgentActivity>> historyByFolder(const AgentHistoryIndex& index) {
    QMap<QString, QList<AgentActivity>> folders;
    const auto activityFor = [&folders](const QString& folder, AgentKind kind) -> AgentActivity& {
        QList<AgentActivity>& activities = folders[folder];
        for (AgentActivity& activity : activities) {
            if (activity.agent == kind)
                return activity;
        }
        activities.append(AgentActivity{kind, {}, {}, {}, {}});
        return activities.last();
    };
    for (const AgentSession& session : index.sessions)
        activityFor(session.cwd, session.agent).sessions.append(session);
    for (const AgentWorkspace& workspace : index.workspaces)
        activityFor(workspace.folder, workspace.agent).workspaces.append(workspace);
    for (QList<AgentActivity>& activities : folders) {
        std::sort(activities.begin(), activities.end(),
                  [](const AgentActivity& a, const AgentActivity& b) { return a.agent < b.agent; });
        for (AgentActivity& activity : activities)
            sortMostRecentFirst(activity);
    }
    return folders;
}

void run(const AgentsOptions& options) {
    QTextStream out(stdout);
    const AgentLocations locations;
    const AgentHistoryIndex index = AgentHistoryIndex::build(locations);
    if (!options.folder.empty()) {
        const QString folder = AgentPaths::normalized(
            QDir::current().absoluteFilePath(QFile::decodeName(options.folder.c_str())),
            locations.macPathRules);
        const QList<AgentActivity> activities = index.activities(folder);
        if (options.json) {
            out << QJsonDocument(folderJson(folder, activities)).toJson();
            return;
        }
        out << "Agent history for " << folder << '\n';
        if (activities.isEmpty())
            out << "  none\n";
        printActivities(out, activities);
        return;
    }
    const QMap<QString, QList<AgentActivity>> folders = historyByFolder(index);
    if (options.json) {
        QJsonArray list;
        for (auto folder = folders.begin(); folder != folders.end(); ++folder)
            list.append(folderJson(folder.key(), folder.value()));
        out << QJsonDocument(QJsonObject{{QStringLiteral("folders"), list}}).toJson();
        return;
    }
    if (folders.isEmpty())
        out << "No agent history found.\n";
    for (auto folder = folders.begin(); folder != folders.end(); ++folder) {
        out << folder.key() << '\n';
        printActivities(out, folder.value());
    }
}

} // namespace

void defineAgentsCommand(CLI::App& command, int& status) {
    auto options = std::make_shared<AgentsOptions>();
    command.add_option("FOLDER", options->folder,
                       "The project folder whose agent sessions and editor workspaces to list; "
                       "without it, all history grouped by folder");
    command.add_flag("--json", options->json, "Print JSON instead of text");
    command.callback([options, &status] {
        run(*options);
        status = exitOk;
    });
}

} // namespace corvane::cli
