#pragma once

#include "agents/AgentStorageModel.h"
#include "agents/AgentsModel.h"
#include "apps/AppsModel.h"
#include "apps/HomebrewModel.h"
#include "archive/ArchivesModel.h"
#include "archive/DestinationsStore.h"
#include "devtools/AIModelsModel.h"
#include "devtools/AndroidModel.h"
#include "devtools/DockerModel.h"
#include "devtools/SimulatorsModel.h"
#include "organize/OrganizeModel.h"
#include "platform/CleanupHistoryModel.h"
#include "platform/OverviewModel.h"
#include "platform/ToastCenter.h"
#include "scanning/DiskMapModel.h"
#include "scanning/GlobalCachesModel.h"
#include "scanning/ProjectsModel.h"
#include "scanning/RulesStore.h"
#include "scanning/ScanSession.h"
#include "shell/LaunchOptions.h"
#include "shell/Navigation.h"

namespace corvane {

// Every model of the app, made once and kept for as long as the app runs: the toast center they
// all post to, the custom rules, the model of each area and where the window is. The views only
// read them and call their operations.
class AppModels {
public:
    // The inventories' dry-run switches come from `options`.
    explicit AppModels(ScanStarter starter, const LaunchOptions& options = LaunchOptions());
    AppModels(const AppModels&) = delete;
    AppModels& operator=(const AppModels&) = delete;

    ToastCenter toasts;
    RulesStore rules;
    ScanSession session;
    // The projects area as every page and command sees it, following `session`.
    ProjectsModel projects;
    GlobalCachesModel caches;
    AgentsModel agents;
    // What the agents keep on disk, and what of it may go.
    AgentStorageModel agentStorage;
    OrganizeModel organize;
    DestinationsStore destinations;
    ArchivesModel archives;
    DockerModel docker;
    SimulatorsModel simulators;
    AndroidModel android;
    AIModelsModel aiModels;
    AppsModel apps;
    HomebrewModel homebrew;
    DiskMapModel diskMap;
    // Answers the "Put Back" button of every cleanup's toast.
    CleanupHistoryModel cleanups;
    Navigation navigation;
    // Made last: it reads the models above.
    OverviewModel overview;
};

} // namespace corvane
