#pragma once

#include "agents/AgentLocations.h"
#include "agents/AgentModel.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

// Which agent sessions and editor workspaces belong to which folder: a snapshot of every
// agent's history, built in one read-only pass and thrown away after use. Every source is
// optional; one that can't be read contributes nothing, and building never fails as a whole.
struct AgentHistoryIndex {
    // One session record of the Claude desktop app.
    struct DesktopEntry {
        QString desktopID;
        // The Claude Code session the record continues, when it names one.
        std::optional<QString> cliSessionID;
        std::optional<QString> title;
        std::optional<QString> cwd;
        std::optional<QDateTime> lastActivity;
        bool isArchived = false;
        // The record's own file.
        QString file;

        bool operator==(const DesktopEntry&) const = default;
    };

    QList<AgentSession> sessions;
    // Every record of the Claude desktop app, those that continue a session of `sessions` too.
    QList<DesktopEntry> desktopRecords;
    QList<AgentWorkspace> workspaces;
    // The records there that could not be read, one message each, naming the file: what they
    // hold is missing from the snapshot.
    QStringList problems;
    // The home folder and path rule the snapshot was built with; queries use them too.
    QString home;
    bool macPathRules = false;

    static AgentHistoryIndex build(const AgentLocations& locations);

    // The records of the Claude desktop app under `folders` (searched recursively).
    static QList<DesktopEntry> desktopEntries(const QStringList& folders, bool macPathRules);

    // Sessions and workspaces whose folder is `folder` or lies inside it.
    QList<AgentSession> sessionsIn(const QString& folder) const;
    QList<AgentWorkspace> workspacesIn(const QString& folder) const;

    // For each agent that has anything for the project at `projectFolder`, in agent order:
    // its sessions and workspaces there, most recent first, plus the sessions that ran in the
    // project's parent folder, unless that is the home folder or the root (those sessions' ids
    // go into `parentFolderSessionIDs`).
    QList<AgentActivity> activities(const QString& projectFolder) const;
};

} // namespace corvane
