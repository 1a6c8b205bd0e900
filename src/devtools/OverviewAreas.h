#pragma once

#include "agents/AgentStorageModel.h"
#include "apps/AppsModel.h"
#include "devtools/AIModelsModel.h"
#include "devtools/AndroidModel.h"
#include "devtools/DockerModel.h"
#include "devtools/SimulatorsModel.h"
#include "platform/OverviewModel.h"
#include "scanning/GlobalCachesModel.h"
#include "scanning/ScanSession.h"

namespace corvane {

// The models the disk overview reads; the app and the command line each own theirs.
struct OverviewSources {
    ScanSession& session;
    GlobalCachesModel& caches;
    SimulatorsModel& simulators;
    DockerModel& docker;
    AIModelsModel& aiModels;
    AndroidModel& android;
    AppsModel& apps;
    AgentStorageModel& agentStorage;
};

// What an area could give back: only what its guards let go. Docker: no running container, no
// image or volume a container uses, the build cache records not in use. AI models: every model
// not held open nor in a store this account cannot change, data files they share counted once.
// Android: no required package, no image an emulator boots from, no running emulator.
namespace OverviewFigures {
qint64 docker(const DockerSnapshot& snapshot);
qint64 aiModels(const QList<AIModel>& models, const QHash<QString, QString>& openBy);
qint64 android(const AndroidInventory& inventory);
// Coding agents: the history nobody can reach any more and the leftovers the agents recreate;
// never the history of a project that exists, nor anything listed and not offered.
qint64 agents(const AgentStore& store);
} // namespace OverviewFigures

// The areas of the disk overview, in the order and with the names of the table of areas, each read
// through its model in `sources`, which must outlive the areas.
QList<OverviewArea> overviewAreas(const OverviewSources& sources);

} // namespace corvane
