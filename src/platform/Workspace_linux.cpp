#include "platform/Locations.h"
#include "platform/Workspace.h"

#include <QFileInfo>
#include <QStandardPaths>

namespace corvane::Workspace {
namespace {

struct Terminal {
    // The executable's name; CORVANE_TOOL_<variable> overrides where it is found.
    const char* executable;
    const char* variable;
    // The terminal's own option for where to start, "--option=" joined to the folder or
    // "--option" before it; none for those (x-terminal-emulator, xterm) that only start in the
    // working directory they are given, which every one of them is given as well.
    const char* option;
};

constexpr Terminal terminals[] = {
    {"x-terminal-emulator", "X_TERMINAL_EMULATOR", nullptr},
    {"gnome-terminal", "GNOME_TERMINAL", "--working-directory="},
    {"kgx", "KGX", "--working-directory="},
    {"konsole", "KONSOLE", "--workdir"},
    {"xfce4-terminal", "XFCE4_TERMINAL", "--working-directory="},
    {"xterm", "XTERM", nullptr},
};

QStringList argumentsFor(const Terminal& terminal, const QString& folder) {
    if (!terminal.option)
        return {};
    const QString option = QString::fromLatin1(terminal.option);
    if (option.endsWith(u'='))
        return {option + folder};
    return {option, folder};
}

} // namespace

QString reveal(const QStringList& paths) {
    // The file manager cannot be asked to select a file without D-Bus: its folder is opened,
    // once for each folder the paths share.
    QStringList folders;
    for (const QString& path : paths) {
        const QString folder = QFileInfo(path).absolutePath();
        if (!folders.contains(folder))
            folders.append(folder);
    }
    for (const QString& folder : folders) {
        if (const QString error =
                startDetached(QStringLiteral("The file manager"),
                              Locations::toolPath(Locations::Tool::open), {folder});
            !error.isEmpty())
            return error;
    }
    return {};
}

QString openTerminal(const QString& path) {
    const QFileInfo info(path);
    const QString folder = info.isDir() ? info.absoluteFilePath() : info.absolutePath();
    for (const Terminal& terminal : terminals) {
        const QString name = QString::fromLatin1(terminal.executable);
        const QString program = Locations::toolPath(QString::fromLatin1(terminal.variable),
                                                    QStandardPaths::findExecutable(name));
        if (program.isEmpty() || !QFileInfo(program).isExecutable())
            continue;
        return startDetached(name, program, argumentsFor(terminal, folder), folder);
    }
    return QStringLiteral("No terminal app was found. Install one (GNOME Terminal, Konsole, "
                          "xterm…) to open folders in it.");
}

} // namespace corvane::Workspace
