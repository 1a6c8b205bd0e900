#include "shell/AppModels.h"

#include "devtools/OverviewAreas.h"
#include "organize/OrphanFinder.h"
#include "platform/Locations.h"

namespace corvane {

AppModels::AppModels(ScanStarter starter, const LaunchOptions& options)
    : session(toasts, std::move(starter))
    , projects(session, toasts)
    , caches(toasts)
    , agents(toasts)
    , agentStorage(toasts,
                   {{AgentLocations(),
                     [](const AgentHistoryIndex& index) { return OrphanFinder::newPlaces(index); }},
                    &ProcessRunner::system(),
                    &PlatformTrash::system(),
                    {},
                    {}})
    , organize(toasts, OrganizeModel::Services::system())
    , archives(toasts)
    , docker(toasts, DockerService{&ProcessRunner::system(), Locations::homeDir()},
             options.dockerDryRun)
    , simulators(toasts, SimulatorService(), options.simulatorDryRun)
    , android(toasts, options.androidDryRun)
    , aiModels(toasts, options.aiModelsDryRun)
    , apps(toasts)
    , homebrew(toasts)
    , diskMap(toasts)
    , cleanups(toasts)
    , navigation(session)
    , overview(overviewAreas(
          {session, caches, simulators, docker, aiModels, android, apps, agentStorage})) {
    apps.setCaskMapProvider(&AppsModel::homebrewCasks);
    // A Keep mark changed from any list shows at once in every list of paths.
    for (InventoryModel* model : std::initializer_list<InventoryModel*>{
             &aiModels, &android, &simulators, &apps, &agentStorage})
        QObject::connect(&session, &ScanSession::keptPathsChanged, model,
                         &InventoryModel::refreshKeepMarks);
    // The agent history is gathered for the projects each scan found, once the scan is done.
    QObject::connect(&session, &ScanSession::isScanningChanged, &agents, [this] {
        if (session.isScanning())
            return;
        QStringList folders;
        for (const Project& project : session.projects())
            folders.append(project.url);
        agents.setProjectFolders(folders);
        agents.reload();
    });
    // Moved projects leave the scanned folder or arrive in it, an archived original went to the
    // Trash, a restored project came back: the scan shows each where it is now.
    const auto rescan = [this] {
        if (session.rootURL() && !session.isScanning())
            session.rescan();
    };
    QObject::connect(&organize, &OrganizeModel::actionFinished, &session, rescan);
    QObject::connect(&archives, &ArchivesModel::filesystemChanged, &session, rescan);
    // What a put back restored is shown again where it belongs.
    // Trashed space comes back only when the Trash is emptied: its figure follows every action
    // that fills it or takes something out of it.
    TrashGauge& trash = overview.trashGauge();
    QObject::connect(&session, &ScanSession::trashCompleted, &trash, &TrashGauge::refresh);
    QObject::connect(&caches, &GlobalCachesModel::trashCompleted, &trash, &TrashGauge::refresh);
    QObject::connect(&apps, &AppsModel::actionFinished, &trash, &TrashGauge::refresh);
    QObject::connect(&android, &AndroidModel::actionFinished, &trash, &TrashGauge::refresh);
    QObject::connect(&aiModels, &AIModelsModel::actionFinished, &trash, &TrashGauge::refresh);
    QObject::connect(&agentStorage, &AgentStorageModel::trashCompleted, &trash,
                     &TrashGauge::refresh);
    QObject::connect(&archives, &ArchivesModel::filesystemChanged, &trash, &TrashGauge::refresh);
    QObject::connect(&cleanups, &CleanupHistoryModel::putBackCompleted, &trash,
                     &TrashGauge::refresh);
    QObject::connect(&cleanups, &CleanupHistoryModel::emptyTrashCompleted, &trash,
                     &TrashGauge::refresh);
    // Every trash action may have added a cleanup; a history on show lists it.
    const auto relist = [this] {
        if (cleanups.hasLoaded())
            cleanups.reload();
    };
    QObject::connect(&session, &ScanSession::trashCompleted, &cleanups, relist);
    QObject::connect(&caches, &GlobalCachesModel::trashCompleted, &cleanups, relist);
    QObject::connect(&apps, &AppsModel::actionFinished, &cleanups, relist);
    QObject::connect(&android, &AndroidModel::actionFinished, &cleanups, relist);
    QObject::connect(&aiModels, &AIModelsModel::actionFinished, &cleanups, relist);
    QObject::connect(&cleanups, &CleanupHistoryModel::putBackCompleted, &agentStorage,
                     [this](const PutBackOutcome& outcome) {
                         const QStringList problems = agentStorage.restoreThreadRecords(outcome);
                         if (!problems.isEmpty())
                             toasts.post(problems.join(u'\n'), ToastStyle::info);
                     });
    QObject::connect(&cleanups, &CleanupHistoryModel::putBackCompleted, &session,
                     [this, rescan](const PutBackOutcome& outcome) {
                         if (outcome.restored.isEmpty() || outcome.wasDryRun)
                             return;
                         rescan();
                         for (InventoryModel* model : {static_cast<InventoryModel*>(&caches),
                                                       static_cast<InventoryModel*>(&apps)}) {
                             if (model->hasLoaded())
                                 model->reload();
                         }
                     });
}

} // namespace corvane
