#include "cli/Command.h"
#include "cli/Commands.h"
#include "platform/Locations.h"

#include <QTextStream>

namespace corvane::cli {

void defineLocationsCommand(CLI::App& command, int& status) {
    command.callback([&status] {
        using Locations::Tool;
        QTextStream out(stdout);
        out << "Home folder:      " << Locations::homeDir() << '\n'
            << "Own files:        " << Locations::appSupportDir() << '\n'
            << "Applications:     " << Locations::applicationsDir() << '\n'
            << "Volumes:          " << Locations::volumesDir() << '\n';
        const std::pair<const char*, Tool> tools[] = {
            {"git", Tool::git}, {"lsof", Tool::lsof}, {"ssh", Tool::ssh},
            {"tar", Tool::tar}, {"ps", Tool::ps},     {"xcrun", Tool::xcrun},
        };
        for (const auto& [name, tool] : tools)
            out << QStringLiteral("Tool %1").arg(QLatin1String(name), -12) << "  "
                << Locations::toolPath(tool) << '\n';
        status = exitOk;
    });
}

} // namespace corvane::cli
