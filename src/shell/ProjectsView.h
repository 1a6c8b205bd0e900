#pragma once

#include "scanning/ProjectsModel.h"
#include "shell/AppModels.h"

#include <QMap>
#include <QTimer>
#include <QWidget>
#include <memory>

class QAction;
class QComboBox;
class QLabel;
class QMenu;
class QSplitter;
class QStackedWidget;
class QToolBar;
class QTreeView;

namespace corvane {

class ArchiveFlow;
class FailuresPanel;
class ListFinder;
class ProjectDetailView;
class ProjectTreeModel;
class SummaryStrip;

// The projects page: its tool row (choose a folder, rescan, sort, only unsynced, archive, move,
// and the two trash actions), the summary of what the scan could give back, the failures of the
// last trash action, the project list beside the selected project, and the scan's status line.
// It reads the projects model and the window's place; every rule lives in the models.
class ProjectsView : public QWidget {
    Q_OBJECT

public:
    enum class Action {
        chooseFolder,
        rescan,
        showOnlyUnsynced,
        sortBySize,
        sortByActivity,
        archiveProject,
        moveProject,
        // The selected project's ticked items, or the item rows selected in its detail.
        moveToTrash,
        // Every ticked item of every project.
        moveAllToTrash,
    };

    // The folder chooser as the page shows it: the title and the accept button.
    static inline const QString chooserTitle =
        QStringLiteral("Choose the folder that holds your dev projects");
    static inline const QString chooserAcceptLabel = QStringLiteral("Scan");

    ProjectsView(AppModels& models, QWidget* parent = nullptr);
    ~ProjectsView() override;

    // Opens the folder chooser as a sheet; the chosen folder goes to scanFolder.
    void chooseFolder();
    // Scans `folder`, or shows the alert that says why it is refused.
    void scanFolder(const QString& folder);
    // What Delete and Move to Trash take now: the item rows selected in the detail, else the
    // selected project's ticked items; nothing without a selected project.
    TrashPlan planOnShow() const;
    // Asks (in a sheet that lists the plan) to move the scope's items to the Trash, and moves
    // exactly what the sheet showed if the user agrees. Nothing happens while a trash action runs
    // or when the scope holds nothing.
    void confirmTrash(const TrashScope& scope);
    void confirmTrash(const TrashPlan& plan);
    // Asks (in a sheet) to move the selected project into `newParent`, keeping its name, and
    // moves it with its agent history if the user agrees.
    void confirmMoveProject(const QString& newParent);
    // Shows the window's place: the selected project in the list and its detail.
    void followSelection();

    QAction* action(Action which) const { return actions_.value(which); }
    ProjectTreeModel& projectModel() const { return *projectModel_; }
    QTreeView* projectView() const { return projectView_; }
    ProjectDetailView* detailView() const { return detailView_; }
    SummaryStrip* summary() const { return summary_; }
    FailuresPanel* failuresPanel() const { return failures_; }
    ArchiveFlow& archiveFlow() const { return *archiveFlow_; }
    QToolBar* toolBar() const { return tools_; }
    // The context menu of the project at `index` of the project list (the list pops it up).
    std::unique_ptr<QMenu> projectMenu(const QModelIndex& index);
    QString statusText() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void makeActions();
    void makeToolBar();
    QWidget* makeList();
    QWidget* makeEmptyState();
    void onProjectRowSelected();
    void selectProjectRow();
    void updateActions();
    void updateFolder();
    void updateStatus();
    std::optional<Project> selectedProject() const;
    QList<QUuid> selectedItemRows() const;

    AppModels& models_;
    ProjectsModel& projects_;
    ScanSession& session_;
    Navigation& navigation_;
    ProjectTreeModel* projectModel_;
    QMap<Action, QAction*> actions_;
    QToolBar* tools_ = nullptr;
    QComboBox* sortChoice_ = nullptr;
    SummaryStrip* summary_ = nullptr;
    FailuresPanel* failures_ = nullptr;
    QStackedWidget* body_ = nullptr;
    QTreeView* projectView_ = nullptr;
    ListFinder* projectFinder_ = nullptr;
    ProjectDetailView* detailView_ = nullptr;
    QSplitter* split_ = nullptr;
    ArchiveFlow* archiveFlow_ = nullptr;
    QLabel* status_ = nullptr;
    QTimer statusTimer_;
    bool following_ = false;
};

} // namespace corvane
