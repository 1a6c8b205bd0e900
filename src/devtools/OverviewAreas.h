#pragma once

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
};

// The areas of the disk overview in their fixed order, each read through its model in `sources`,
// which must outlive the areas.
QList<OverviewArea> overviewAreas(const OverviewSources& sources);

} // namespace corvane
