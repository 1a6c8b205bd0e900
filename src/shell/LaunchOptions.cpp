#include "shell/LaunchOptions.h"

namespace corvane {

LaunchOptions LaunchOptions::fromArguments(const QStringList& arguments) {
    // The first argument is the program itself; a switch is never mistaken for it.
    const QStringList switches = arguments.mid(1);
    LaunchOptions options;
    options.dockerDryRun = switches.contains(u"--docker-dry-run");
    options.simulatorDryRun = switches.contains(u"--simulator-dry-run");
    options.aiModelsDryRun = switches.contains(u"--ai-models-dry-run");
    options.androidDryRun = switches.contains(u"--android-dry-run");
    options.installedFromVolume = switches.contains(u"--installed-from-volume");
    // The folder follows its switch; a switch with none after it is ignored.
    const qsizetype destination = switches.indexOf(u"--move-destination");
    if (destination >= 0 && destination + 1 < switches.size() &&
        !switches.at(destination + 1).startsWith(u"--"))
        options.moveDestination = switches.at(destination + 1);
    return options;
}

} // namespace corvane
