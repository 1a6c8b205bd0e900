#pragma once

#include <QString>

// The one place where the system's locations come from, so that tests can redirect all of them:
// the home folder from HOME, and every tool from CORVANE_TOOL_<NAME>.
namespace corvane::Locations {

QString homeDir();
// Where the application keeps its own files (journal, catalog, ledger).
QString appSupportDir();
// home + "Library"; the macOS user library, looked at on every system.
QString libraryDir();
// home + "Library/Application Support".
QString applicationSupportRoot();
// The folder of installed applications, overridable by CORVANE_APPLICATIONS_DIR.
QString applicationsDir();
// The folder where volumes are mounted, overridable by CORVANE_VOLUMES_DIR.
QString volumesDir();
// The folder that stands in for the macOS Trash when CORVANE_TRASH_DIR names one (tests point it
// into their temporary home, never at the user's Trash); empty otherwise. The freedesktop Trash
// follows XDG_DATA_HOME instead.
QString trashStandIn();

enum class Tool { git, lsof, ssh, tar, ps, sh, xcrun, xcodebuild, codesign, mdls, open };

// Absolute path of a tool: CORVANE_TOOL_<NAME> when set, else the system's own location.
QString toolPath(Tool tool);
// The same rule for tools that have no fixed location: `name` gives the variable's suffix.
QString toolPath(const QString& name, const QString& defaultPath);

bool isMac();

} // namespace corvane::Locations
