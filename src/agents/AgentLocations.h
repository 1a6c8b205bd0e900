#pragma once

#include "agents/AgentModel.h"
#include "agents/ClaudeFolderLedger.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace corvane {

// Where the coding agents keep their history, for one home folder. The macOS places come first
// and the Linux ones after; both are read on every system, and each contributes only where it
// exists.
struct AgentLocations {
    // The current user's home folder (Locations::homeDir()).
    AgentLocations();
    explicit AgentLocations(const QString& home);

    QString home;
    QString claudeProjects;
    QStringList claudeDesktopSessions;
    QString claudeConfig;
    QString codexHome;
    QList<EditorStorage> editorStorages;
    // In the application's own folder (Locations::appSupportDir()), whatever the home.
    ClaudeFolderLedger claudeFolderLedger;
    // Whether paths are compared under the macOS rule for "/tmp" and "/var" (see AgentPaths);
    // the system's own rule by default.
    bool macPathRules;
};

} // namespace corvane
