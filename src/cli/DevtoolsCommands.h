#pragma once

#include "cli/Console.h"
#include "devtools/AIModelsModel.h"
#include "devtools/AndroidModel.h"
#include "devtools/DockerModel.h"
#include "devtools/SimulatorsModel.h"

#include <QStringList>

// The logic of `corvane docker` and `corvane simulators`, apart from parsing, so tests drive it
// with their own console. Each goes through the model of its screen; each returns the exit status.
namespace corvane::cli {

struct DockerRemoveRequest {
    QStringList containers;
    QStringList images;
    QStringList volumes;
    bool dryRun = false;
    bool yes = false;
    bool json = false;
};

struct ChangeFlags {
    bool dryRun = false;
    bool yes = false;
    bool json = false;
};

int runDocker(bool json, Console& console, DockerService service = DockerService());
int runDockerRemove(const DockerRemoveRequest& request, Console& console,
                    DockerService service = DockerService());
int runDockerPrune(const ChangeFlags& flags, Console& console,
                   DockerService service = DockerService());
int runSimulators(bool json, Console& console, SimulatorService service = SimulatorService());
int runDeleteRuntimes(const QStringList& ids, const ChangeFlags& flags, Console& console,
                      SimulatorService service = SimulatorService());
int runEraseDevice(const QString& udid, const ChangeFlags& flags, Console& console,
                   SimulatorService service = SimulatorService());

int runModels(bool json, Console& console);
int runModelsRemove(const QStringList& ids, const ChangeFlags& flags, Console& console);
int runAndroid(bool json, Console& console);
// Items by path, or AVDs by name.
int runAndroidRemove(const QStringList& items, const ChangeFlags& flags, Console& console);

} // namespace corvane::cli
