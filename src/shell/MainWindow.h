#pragma once

#include "platform/UpdateCheck.h"
#include "shell/AppModels.h"
#include "shell/SettingsDialog.h"

#include <QHash>
#include <QMainWindow>
#include <QPointer>
#include <functional>

class QListWidget;
class QSplitter;
class QStackedWidget;

namespace corvane {

class ProjectsView;
class ToastOverlay;

// The main window: a sidebar of the areas, the page of the area on show beside it, and the menus.
// It only composes: each page owns its actions, its header and its numbers, and the window
// follows the navigation.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit MainWindow(AppModels& models, QWidget* parent = nullptr);
    ~MainWindow() override;

    // Opens the area `areaID`; the projects area shows the project shown there last, if the scan
    // still has it.
    void showArea(const QString& areaID);
    void showProjects() { showArea(Areas::projects); }
    void showOverview() { showArea(Areas::overview); }
    // Scans `folder` on the projects page, or shows why it is refused.
    void scanFolder(const QString& folder);
    void showSettings();

    // The page of the area `areaID`.
    QWidget* page(const QString& areaID) const { return pageByArea_.value(areaID); }
    // The one page of type `Page`.
    template <typename Page> Page* page() const { return findChild<Page*>(); }
    ProjectsView& projectsView() const { return *projectsView_; }
    QListWidget* sidebar() const { return sidebar_; }
    // The Go menu's entry of each area, in the sidebar's order.
    const QList<QAction*>& areaActions() const { return areaActions_; }
    QAction* settingsAction() const { return settingsAction_; }
    UpdateChecker& updateChecker() { return updateChecker_; }
    ToastOverlay* toastOverlay() const { return toast_; }
    SettingsDialog* settingsDialog() const { return settings_; }
    // Below this width the sidebar gives the page its room: it narrows to the longest area name
    // and leaves the sizes to its tooltips.
    static constexpr int narrowSidebarBelow = 1000;
    static constexpr int sidebarWidth = 220;
    bool isSidebarNarrow() const { return sidebarNarrow_; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void makeMenus();
    void makeHelpMenu();
    QWidget* makeCentralArea();
    void makeSidebar(QWidget* parent);
    void onSidebarRowChanged(int row);
    void followSelection();
    void updateTitle();
    void updateSidebarSizes();
    void fitSidebar();

    AppModels& models_;
    Navigation& navigation_;
    QListWidget* sidebar_ = nullptr;
    QStackedWidget* pages_ = nullptr;
    QSplitter* split_ = nullptr;
    bool sidebarNarrow_ = false;
    QHash<QString, QWidget*> pageByArea_;
    QHash<QString, std::function<void()>> onShown_;
    ProjectsView* projectsView_ = nullptr;
    QList<QAction*> areaActions_;
    QAction* settingsAction_ = nullptr;
    UpdateChecker updateChecker_;
    bool updatesAsked_ = false;
    ToastOverlay* toast_ = nullptr;
    QPointer<SettingsDialog> settings_;
    std::optional<SidebarSelection> lastProjectSelection_;
    QString shownArea_;
    bool following_ = false;
};

} // namespace corvane
