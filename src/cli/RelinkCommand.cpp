#include "agents/AgentPaths.h"
#include "agents/AgentRelinker.h"
#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/RelinkText.h"
#include "platform/Paths.h"

#include <QFile>
#include <QTextStream>
#include <memory>

namespace corvane::cli {
namespace {

struct RelinkOptions {
    std::string oldPath;
    std::string newPath;
    bool preview = false;
    bool json = false;
};

QString absoluteNormalized(const std::string& argument, bool macPathRules) {
    return AgentPaths::normalized(Paths::absoluteStandardized(QFile::decodeName(argument.c_str())),
                                  macPathRules);
}

int run(const RelinkOptions& options) {
    const AgentRelinker relinker{AgentLocations()};
    const bool mac = relinker.locations.macPathRules;
    const QString oldPath = absoluteNormalized(options.oldPath, mac);
    const QString newPath = absoluteNormalized(options.newPath, mac);
    const RelinkReport report =
        options.preview ? relinker.preview(oldPath, newPath) : relinker.relink(oldPath, newPath);
    QTextStream out(stdout);
    if (options.json) {
        out << RelinkReportJson::serialized(report, true);
    } else {
        out << (options.preview ? "Would relink agent history from "
                                : "Relinked agent history from ")
            << oldPath << " to " << newPath << '\n';
        printRelinkReport(out, report, options.preview, QStringLiteral("  "));
    }
    return report.warnings.isEmpty() ? exitOk : exitSomeFailed;
}

} // namespace

void defineRelinkCommand(CLI::App& command, int& status) {
    auto options = std::make_shared<RelinkOptions>();
    command.add_option("OLD", options->oldPath, "Where the project was")->required();
    command.add_option("NEW", options->newPath, "Where the project is now")->required();
    command.add_flag("--preview", options->preview, "Only count what would change");
    command.add_flag("--json", options->json, "Print the report as JSON");
    command.callback([options, &status] { status = run(*options); });
}

} // namespace corvane::cli
