#pragma once

#include "platform/UpdateCheck.h"
#include "shell/AppModels.h"
#include "shell/SettingsDialog.h"

#include <QMainWindow>
#include <QPointer>
#include <QProgressDialog>
#include <QTimer>
#include <functional>
#include <memory>

class QComboBox;
class QLabel;
class QListWidget;
class QStackedWidget;
class QTreeView;

class QMenu;

namespace corvane {

class AgentsView;
class ArchivedView;
class DiskMapView;
class CachesView;
class AIModelsView;
class AppsView;
class AndroidView;
class DockerView;
class SimulatorsView;
class OrganizeView;
class OverviewView;
class FailuresPanel;
class ListFinder;
class ProjectDetailView;
class ProjectTreeModel;
class SummaryStrip;
class ToastOverlay;

// The main window: a sidebar of destinations (the projects of the scanned folder, the developer
// caches), the project list beside the selected project, a summary of what can be reclaimed,
// and a toolbar to choose a folder, rescan, sort, filter and move the ticked items of the area
// on show to the Trash. It only reads the models and calls their operations; every rule lives
// in them.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    enum class Action {
        chooseFolder,
        rescan,
        moveToTrash,
        showOnlyUnsynced,
        sortBySize,
        sortByActivity,
        settings,
        moveProject,
        archiveProject,
    };

    // The folder chooser as the window shows it: the title and the accept button.
    static inline const QString chooserTitle =
        QStringLiteral("Choose the folder that holds your dev projects");
    static inline const QString chooserAcceptLabel = QStringLiteral("Scan");

    explicit MainWindow(AppModels& models, QWidget* parent = nullptr);
    ~MainWindow() override;

    // Opens the folder chooser as a sheet; the chosen folder goes to scanFolder.
    void chooseFolder();
    // Scans `folder`, or shows the alert that says why it is refused.
    void scanFolder(const QString& folder);
    // Asks (in a sheet) to move the scope's ticked items to the Trash, and moves exactly what the
    // sheet showed if the user agrees, whatever is ticked by then. Nothing happens while a trash
    // action runs or when nothing of the scope is ticked.
    void confirmTrash(const TrashScope& scope);
    // The same for the ticked developer caches.
    void confirmCachesTrash();
    void showSettings();
    void showCaches();
    void showAgents();
    void showProjects();
    void showOrganize();
    // Asks (in a sheet) to move the selected project into `newParent`, keeping its name, and
    // moves it with its agent history if the user agrees.
    void confirmMoveProject(const QString& newParent);
    void showArchived();
    void showDocker();
    void showSimulators();
    void showAndroid();
    void showAIModels();
    void showApps();
    void showOverview();
    // The disk map of `folder`; without one, of the scanned folder (or the home folder before a
    // scan). A folder mapped already is not measured again.
    void showDiskMap(const QString& folder = {});
    // Asks (in a sheet) to archive the selected project to `target`, then archives it with the
    // progress sheet on show.
    void confirmArchive(const ArchiveTarget& target);
    // The Archive menu of the selected project: mounted volumes, saved destinations and
    // "Choose Folder…"; filled each time it opens.
    QMenu* archiveMenu() const { return archiveMenu_; }
    // The progress sheet of the running archive or restore, while one runs.
    QProgressDialog* archiveProgressSheet() const { return progressSheet_; }

    QAction* action(Action which) const;
    ProjectTreeModel& projectModel() const { return *projectModel_; }
    QTreeView* projectView() const { return projectView_; }
    // The context menu of the project at `index` of the project list (the list pops it up).
    std::unique_ptr<QMenu> projectMenu(const QModelIndex& index);
    ProjectDetailView* detailView() const { return detailView_; }
    CachesView* cachesView() const { return cachesView_; }
    AgentsView* agentsView() const { return agentsView_; }
    OrganizeView* organizeView() const { return organizeView_; }
    ArchivedView* archivedView() const { return archivedView_; }
    DockerView* dockerView() const { return dockerView_; }
    SimulatorsView* simulatorsView() const { return simulatorsView_; }
    AndroidView* androidView() const { return androidView_; }
    AIModelsView* aiModelsView() const { return aiModelsView_; }
    AppsView* appsView() const { return appsView_; }
    DiskMapView* diskMapView() const { return diskMapView_; }
    OverviewView* overviewView() const { return overviewView_; }
    QListWidget* sidebar() const { return sidebar_; }
    UpdateChecker& updateChecker() { return updateChecker_; }
    SummaryStrip* summary() const { return summary_; }
    FailuresPanel* failuresPanel() const { return failures_; }
    ToastOverlay* toastOverlay() const { return toast_; }
    SettingsDialog* settingsDialog() const { return settings_; }
    QString statusText() const;

private:
    void makeActions();
    void makeMenus();
    void makeToolBar();
    QWidget* makeCentralArea();
    QWidget* makeProjectsPage();
    void showRefusal(const ScanRefusal& refusal);
    void askToTrash(const TrashPlan& plan, std::function<void(const TrashPlan&)> carryOut);
    void onSidebarRowChanged(int row);
    void onProjectRowSelected();
    void followSelection();
    void selectProjectRow();
    void updateActions();
    void updateFolder();
    void updateStatus();
    void fillArchiveMenu();
    void updateSidebarSizes();
    void followArchiveProgress();
    void showArchiveFailure();

    ScanSession& session_;
    GlobalCachesModel& caches_;
    AgentsModel& agents_;
    OrganizeModel& organize_;
    ArchivesModel& archives_;
    DestinationsStore& destinations_;
    DockerModel& docker_;
    SimulatorsModel& simulators_;
    AndroidModel& android_;
    AIModelsModel& aiModels_;
    AppsModel& apps_;
    HomebrewModel& homebrew_;
    DiskMapModel& diskMap_;
    OverviewModel& overview_;
    Navigation& navigation_;
    ToastCenter& toasts_;
    RulesStore& rules_;
    ProjectTreeModel* projectModel_ = nullptr;
    QMap<Action, QAction*> actions_;
    QComboBox* sortChoice_ = nullptr;
    QListWidget* sidebar_ = nullptr;
    QStackedWidget* pages_ = nullptr;
    QStackedWidget* projectsPage_ = nullptr;
    QTreeView* projectView_ = nullptr;
    ListFinder* projectFinder_ = nullptr;
    ProjectDetailView* detailView_ = nullptr;
    CachesView* cachesView_ = nullptr;
    AgentsView* agentsView_ = nullptr;
    OrganizeView* organizeView_ = nullptr;
    ArchivedView* archivedView_ = nullptr;
    DiskMapView* diskMapView_ = nullptr;
    DockerView* dockerView_ = nullptr;
    SimulatorsView* simulatorsView_ = nullptr;
    AndroidView* androidView_ = nullptr;
    AIModelsView* aiModelsView_ = nullptr;
    AppsView* appsView_ = nullptr;
    OverviewView* overviewView_ = nullptr;
    QStringList sidebarTitles_;
    UpdateChecker updateChecker_;
    bool updatesAsked_ = false;
    QMenu* archiveMenu_ = nullptr;
    QPointer<QProgressDialog> progressSheet_;
    // The project and target of the last archive the user confirmed, to run it again.
    std::optional<std::pair<QString, ArchiveTarget>> lastArchive_;
    SummaryStrip* summary_ = nullptr;
    FailuresPanel* failures_ = nullptr;
    ToastOverlay* toast_ = nullptr;
    QLabel* status_ = nullptr;
    QPointer<SettingsDialog> settings_;
    std::optional<SidebarSelection> lastProjectSelection_;
    bool followingSession_ = false;
    QTimer statusTimer_;
};

} // namespace corvane
