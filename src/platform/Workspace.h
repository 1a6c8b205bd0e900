#pragma once

#include <QString>
#include <QStringList>

// What the desktop offers beside the app: showing files in the file manager, opening a terminal
// in a folder and starting programs that outlive the call. Tools come from Locations, so a test
// points them at stand-ins that record their arguments. Each call returns an empty string when
// the program started, else the message for the user.
namespace corvane::Workspace {

// Shows `paths` selected in the file manager (on Linux: opens the folders that hold them).
QString reveal(const QStringList& paths);

// Opens a terminal window in `path`, or in the folder that holds it when it is a file.
QString openTerminal(const QString& path);

// Starts `program` with `arguments` in `workingDirectory` and does not wait for it: a file
// manager or a terminal lives on after the call. `name` words the failure.
QString startDetached(const QString& name, const QString& program, const QStringList& arguments,
                      const QString& workingDirectory = {});

} // namespace corvane::Workspace
