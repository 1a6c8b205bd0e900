#include "shell/MainWindow.h"

#include "archive/ExternalVolumes.h"
#include "archive/SmbMount.h"
#include "platform/ByteFormat.h"
#include "platform/Locations.h"
#include "platform/Paths.h"
#include "scanning/ScanWording.h"
#include "shell/AIModelsView.h"
#include "shell/AgentsView.h"
#include "shell/AndroidView.h"
#include "shell/AppIcon.h"
#include "shell/AppsView.h"
#include "shell/ArchivedView.h"
#include "shell/CachesView.h"
#include "shell/DiskMapView.h"
#include "shell/DockerView.h"
#include "shell/FailuresPanel.h"
#include "shell/FilterBar.h"
#include "shell/KeepMenu.h"
#include "shell/ListFinder.h"
#include "shell/OrganizeView.h"
#include "shell/OverviewView.h"
#include "shell/ProjectDetailView.h"
#include "shell/ProjectTreeModel.h"
#include "shell/SettingsDialog.h"
#include "shell/SimulatorsView.h"
#include "shell/SizeBarDelegate.h"
#include "shell/SummaryStrip.h"
#include "shell/ToastOverlay.h"
#include "shell/TrashConfirmation.h"
#include "shell/UpdatePrompt.h"
#include "shell/WelcomeDialog.h"

#include <QAbstractButton>
#include <QActionGroup>
#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>
#include <QTreeView>
#include <QVBoxLayout>

namespace corvane {
namespace {

// The sidebar's rows and the pages beside them, in the same order.
constexpr int overviewRow = 0;
constexpr int projectsRow = 1;
constexpr int cachesRow = 2;
constexpr int agentsRow = 3;
constexpr int organizeRow = 4;
constexpr int archivedRow = 5;
constexpr int dockerRow = 6;
constexpr int simulatorsRow = 7;
constexpr int androidRow = 8;
constexpr int aiModelsRow = 9;
constexpr int appsRow = 10;
constexpr int diskMapRow = 11;

// The sidebar row of each overview area.
int rowOfArea(const QString& id) {
    static const QHash<QString, int> rows{
        {QStringLiteral("projects"), projectsRow},     {QStringLiteral("caches"), cachesRow},
        {QStringLiteral("simulators"), simulatorsRow}, {QStringLiteral("docker"), dockerRow},
        {QStringLiteral("aiModels"), aiModelsRow},     {QStringLiteral("android"), androidRow},
        {QStringLiteral("appLeftovers"), appsRow}};
    return rows.value(id, -1);
}

// The row of a destination; a project, or nothing chosen, is on the projects row.
int rowOf(const std::optional<SidebarSelection>& selection) {
    if (!selection)
        return projectsRow;
    switch (selection->kind) {
    case SidebarSelection::Kind::overview:
        return overviewRow;
    case SidebarSelection::Kind::globalCaches:
        return cachesRow;
    case SidebarSelection::Kind::agents:
        return agentsRow;
    case SidebarSelection::Kind::organize:
        return organizeRow;
    case SidebarSelection::Kind::archived:
        return archivedRow;
    case SidebarSelection::Kind::docker:
        return dockerRow;
    case SidebarSelection::Kind::simulators:
        return simulatorsRow;
    case SidebarSelection::Kind::android:
        return androidRow;
    case SidebarSelection::Kind::aiModels:
        return aiModelsRow;
    case SidebarSelection::Kind::apps:
        return appsRow;
    case SidebarSelection::Kind::diskMap:
        return diskMapRow;
    default:
        return projectsRow;
    }
}
constexpr int statusInterval = 150;

QKeySequence preferencesShortcut() {
    // Not every desktop defines one; Ctrl+, is what users of such apps reach for.
    const QList<QKeySequence> standard = QKeySequence::keyBindings(QKeySequence::Preferences);
    return standard.isEmpty() ? QKeySequence(Qt::CTRL | Qt::Key_Comma) : standard.first();
}

QString counted(qsizetype count, const char* one, const char* many) {
    return QStringLiteral("%1 %2").arg(count).arg(QLatin1String(count == 1 ? one : many));
}

} // namespace

MainWindow::MainWindow(AppModels& models, QWidget* parent)
    : QMainWindow(parent)
    , session_(models.session)
    , caches_(models.caches)
    , agents_(models.agents)
    , organize_(models.organize)
    , archives_(models.archives)
    , destinations_(models.destinations)
    , docker_(models.docker)
    , simulators_(models.simulators)
    , android_(models.android)
    , aiModels_(models.aiModels)
    , apps_(models.apps)
    , homebrew_(models.homebrew)
    , diskMap_(models.diskMap)
    , overview_(models.overview)
    , navigation_(models.navigation)
    , toasts_(models.toasts)
    , rules_(models.rules)
    , projectModel_(new ProjectTreeModel(models.session, this)) {
    setObjectName(QStringLiteral("mainWindow"));
    setWindowIcon(appIcon());
    setUnifiedTitleAndToolBarOnMac(true);
    makeActions();
    makeMenus();
    makeToolBar();
    setCentralWidget(makeCentralArea());
    toast_ = new ToastOverlay(toasts_, centralWidget());
    status_ = new QLabel(this);
    status_->setObjectName(QStringLiteral("scanStatus"));
    statusBar()->addWidget(status_, 1);
    statusBar()->setSizeGripEnabled(false);
    statusTimer_.setInterval(statusInterval);
    connect(&statusTimer_, &QTimer::timeout, this, &MainWindow::updateStatus);

    connect(&session_, &ScanSession::rootURLChanged, this, &MainWindow::updateFolder);
    connect(&navigation_, &Navigation::selectionChanged, this, &MainWindow::followSelection);
    connect(&session_, &ScanSession::isScanningChanged, this, [this] {
        session_.isScanning() ? statusTimer_.start() : statusTimer_.stop();
        updateStatus();
        updateActions();
    });
    for (const auto signal :
         {&ScanSession::selectedItemIDsChanged, &ScanSession::isTrashingChanged})
        connect(&session_, signal, this, &MainWindow::updateActions);
    for (const auto signal :
         {&InventoryModel::selectedIDsChanged, &InventoryModel::isRemovingChanged})
        connect(&caches_, signal, this, &MainWindow::updateActions);
    connect(&organize_, &InventoryModel::isRemovingChanged, this, &MainWindow::updateActions);
    connect(&archives_, &InventoryModel::isRemovingChanged, this, &MainWindow::updateActions);
    connect(&overview_, &OverviewModel::changed, this, &MainWindow::updateSidebarSizes);
    connect(&archives_, &ArchivesModel::progressChanged, this, &MainWindow::followArchiveProgress);
    connect(&archives_, &ArchivesModel::actionFinished, this, &MainWindow::showArchiveFailure);
    // Each trash action replaces what the panel said about the last one.
    connect(&session_, &ScanSession::trashCompleted, this, [this](const TrashResult& result) {
        failures_->showFailures(result.outcome.failures);
    });
    connect(&caches_, &GlobalCachesModel::trashCompleted, this, [this](const TrashResult& result) {
        failures_->showFailures(result.outcome.failures);
    });
    connect(&session_, &ScanSession::projectsChanged, this, [this] {
        if (!session_.isScanning())
            updateStatus();
    });
    resize(1180, 760);
    updateFolder();
    followSelection();
}

MainWindow::~MainWindow() = default;

void MainWindow::makeActions() {
    const auto make = [this](Action which, const QString& text,
                             std::optional<QStyle::StandardPixmap> icon = std::nullopt) {
        auto* action = new QAction(text, this);
        if (icon)
            action->setIcon(style()->standardIcon(*icon));
        actions_.insert(which, action);
        return action;
    };
    QAction* choose =
        make(Action::chooseFolder, QStringLiteral("Choose Folder…"), QStyle::SP_DirOpenIcon);
    choose->setShortcut(QKeySequence::Open);
    choose->setToolTip(chooserTitle);
    connect(choose, &QAction::triggered, this, &MainWindow::chooseFolder);

    QAction* rescan = make(Action::rescan, QStringLiteral("Rescan"), QStyle::SP_BrowserReload);
    rescan->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
    connect(rescan, &QAction::triggered, &session_, &ScanSession::rescan);

    QAction* trash =
        make(Action::moveToTrash, QStringLiteral("Move to Trash"), QStyle::SP_TrashIcon);
    trash->setShortcuts(
        {QKeySequence(QKeySequence::Delete), QKeySequence(Qt::CTRL | Qt::Key_Backspace)});
    trash->setToolTip(QStringLiteral("Move the ticked items on show to the Trash"));
    connect(trash, &QAction::triggered, this, [this] {
        const int row = rowOf(navigation_.selection());
        if (row == cachesRow)
            confirmCachesTrash();
        else if (row == projectsRow)
            confirmTrash(TrashScope::everything());
    });

    QAction* unsynced = make(Action::showOnlyUnsynced, QStringLiteral("Only Unsynced"));
    unsynced->setCheckable(true);
    unsynced->setToolTip(
        QStringLiteral("Show only projects with work that is not committed and pushed"));
    connect(unsynced, &QAction::toggled, &session_, &ScanSession::setShowOnlyUnsynced);
    connect(&session_, &ScanSession::showOnlyUnsyncedChanged, unsynced,
            [this, unsynced] { unsynced->setChecked(session_.showOnlyUnsynced()); });

    auto* sortGroup = new QActionGroup(this);
    for (const auto& [which, mode] :
         {std::pair{Action::sortBySize, ProjectSortMode::size},
          std::pair{Action::sortByActivity, ProjectSortMode::activity}}) {
        QAction* sort = make(which, QStringLiteral("Sort by ") + ScanWording::sortTitle(mode));
        sort->setCheckable(true);
        sort->setChecked(session_.sortMode() == mode);
        sortGroup->addAction(sort);
        connect(sort, &QAction::triggered, &session_, [this, mode] { session_.setSortMode(mode); });
    }
    connect(&session_, &ScanSession::sortModeChanged, this, [this] {
        const bool bySize = session_.sortMode() == ProjectSortMode::size;
        actions_.value(Action::sortBySize)->setChecked(bySize);
        actions_.value(Action::sortByActivity)->setChecked(!bySize);
        if (sortChoice_)
            sortChoice_->setCurrentIndex(bySize ? 0 : 1);
    });

    QAction* settings = make(Action::settings, QStringLiteral("Settings…"));
    settings->setShortcut(preferencesShortcut());
    settings->setMenuRole(QAction::PreferencesRole);
    connect(settings, &QAction::triggered, this, &MainWindow::showSettings);

    QAction* archive = make(Action::archiveProject, QStringLiteral("Archive…"));
    archive->setToolTip(QStringLiteral("Copy the selected project to a drive, a share or a server, "
                                       "verify the copy, then move the original to the Trash"));
    archiveMenu_ = new QMenu(QStringLiteral("Archive…"), this);
    archiveMenu_->setObjectName(QStringLiteral("archiveMenu"));
    connect(archiveMenu_, &QMenu::aboutToShow, this, &MainWindow::fillArchiveMenu);
    archive->setMenu(archiveMenu_);

    QAction* move = make(Action::moveProject, QStringLiteral("Move Project…"));
    move->setToolTip(QStringLiteral("Move the selected project to another folder, with its agent "
                                    "history"));
    connect(move, &QAction::triggered, this, [this] {
        const QString folder = QFileDialog::getExistingDirectory(
            this, QStringLiteral("Move the project into"), organize_.destination());
        if (!folder.isEmpty())
            confirmMoveProject(folder);
    });
}

void MainWindow::makeMenus() {
    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    file->addAction(action(Action::chooseFolder));
    file->addAction(action(Action::rescan));
    file->addSeparator();
    file->addAction(action(Action::moveToTrash));
    file->addAction(action(Action::moveProject));
    file->addAction(action(Action::archiveProject));
    file->addSeparator();
    file->addAction(action(Action::settings));
    QAction* quit = file->addAction(QStringLiteral("Quit Corvane Clean"));
    quit->setShortcut(QKeySequence::Quit);
    quit->setMenuRole(QAction::QuitRole);
    connect(quit, &QAction::triggered, qApp, &QCoreApplication::quit, Qt::QueuedConnection);

    QMenu* view = menuBar()->addMenu(QStringLiteral("&View"));
    view->addAction(action(Action::sortBySize));
    view->addAction(action(Action::sortByActivity));
    view->addSeparator();
    view->addAction(action(Action::showOnlyUnsynced));
    view->addSeparator();
    view->addAction(QStringLiteral("Projects"), this, &MainWindow::showProjects);
    view->addAction(QStringLiteral("Developer Caches"), this, &MainWindow::showCaches);
    view->addAction(QStringLiteral("Coding Agents"), this, &MainWindow::showAgents);
    view->addAction(QStringLiteral("Organize"), this, &MainWindow::showOrganize);
    view->addAction(QStringLiteral("Archived Projects"), this, &MainWindow::showArchived);
    view->addAction(QStringLiteral("Docker"), this, &MainWindow::showDocker);
    view->addAction(QStringLiteral("Simulators"), this, &MainWindow::showSimulators);
    view->addAction(QStringLiteral("Android"), this, &MainWindow::showAndroid);
    view->addAction(QStringLiteral("AI Models"), this, &MainWindow::showAIModels);
    view->addAction(QStringLiteral("Apps"), this, &MainWindow::showApps);

    QMenu* help = menuBar()->addMenu(QStringLiteral("&Help"));
    QAction* about = help->addAction(QStringLiteral("About Corvane Clean"));
    about->setMenuRole(QAction::AboutRole);
    connect(about, &QAction::triggered, this, [this] {
        QMessageBox::about(
            this, QStringLiteral("About Corvane Clean"),
            QStringLiteral("<b>Corvane Clean %1</b><p>Gives back the disk space that "
                           "developer tools leave behind, without losing work.</p>")
                .arg(QApplication::applicationVersion()));
    });
    QAction* welcome = help->addAction(QStringLiteral("Welcome to Corvane Clean…"));
    connect(welcome, &QAction::triggered, this, [this] {
        auto* dialog = WelcomeDialog::present(this);
        connect(dialog, &WelcomeDialog::folderChosen, this, &MainWindow::scanFolder);
    });
    QAction* updates = help->addAction(QStringLiteral("Check for Updates…"));
    updates->setMenuRole(QAction::ApplicationSpecificRole);
    connect(updates, &QAction::triggered, this, [this] {
        updatesAsked_ = true;
        updateChecker_.checkNow();
    });
    // A daily check speaks only of a newer version; one asked for from the menu also says when
    // there is none or the feed could not be read.
    connect(&updateChecker_, &UpdateChecker::updateAvailable, this,
            [this](const UpdateOffer& offer) { makeUpdatePrompt(this, offer)->open(); });
    connect(&updateChecker_, &UpdateChecker::upToDate, this, [this] {
        if (std::exchange(updatesAsked_, false))
            makeUpToDateNotice(this)->open();
    });
    connect(&updateChecker_, &UpdateChecker::checkFailed, this, [this](const QString& why) {
        if (std::exchange(updatesAsked_, false))
            makeUpdateFailureNotice(this, why)->open();
    });
}

void MainWindow::makeToolBar() {
    QToolBar* bar = addToolBar(QStringLiteral("Toolbar"));
    bar->setObjectName(QStringLiteral("toolbar"));
    bar->setMovable(false);
    bar->setFloatable(false);
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->addAction(action(Action::chooseFolder));
    bar->addAction(action(Action::rescan));
    bar->addSeparator();
    bar->addWidget(new QLabel(QStringLiteral(" Sort by "), bar));
    sortChoice_ = new QComboBox(bar);
    sortChoice_->setObjectName(QStringLiteral("sortChoice"));
    sortChoice_->addItem(ScanWording::sortTitle(ProjectSortMode::size));
    sortChoice_->addItem(ScanWording::sortTitle(ProjectSortMode::activity));
    sortChoice_->setCurrentIndex(session_.sortMode() == ProjectSortMode::size ? 0 : 1);
    connect(sortChoice_, &QComboBox::activated, this, [this](int index) {
        session_.setSortMode(index == 0 ? ProjectSortMode::size : ProjectSortMode::activity);
    });
    bar->addWidget(sortChoice_);
    bar->addAction(action(Action::showOnlyUnsynced));
    auto* spacer = new QWidget(bar);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    bar->addWidget(spacer);
    bar->addAction(action(Action::archiveProject));
    bar->addAction(action(Action::moveToTrash));
}

QWidget* MainWindow::makeCentralArea() {
    auto* central = new QWidget(this);
    summary_ = new SummaryStrip(session_, overview_.trashGauge(), central);
    failures_ = new FailuresPanel(central);

    sidebar_ = new QListWidget(central);
    sidebar_->setObjectName(QStringLiteral("sidebar"));
    sidebar_->setAccessibleName(QStringLiteral("Areas"));
    sidebar_->setFrameShape(QFrame::NoFrame);
    sidebar_->setAttribute(Qt::WA_MacShowFocusRect, false);
    sidebar_->setIconSize(QSize(18, 18));
    sidebar_->setSpacing(2);
    sidebar_->addItem(
        new QListWidgetItem(style()->standardIcon(QStyle::SP_DirIcon), QStringLiteral("Projects")));
    sidebar_->addItem(new QListWidgetItem(style()->standardIcon(QStyle::SP_DriveHDIcon),
                                          QStringLiteral("Developer caches")));
    sidebar_->addItem(new QListWidgetItem(style()->standardIcon(QStyle::SP_FileDialogInfoView),
                                          QStringLiteral("Coding agents")));
    sidebar_->addItem(new QListWidgetItem(style()->standardIcon(QStyle::SP_DirLinkIcon),
                                          QStringLiteral("Organize")));
    sidebar_->addItem(new QListWidgetItem(style()->standardIcon(QStyle::SP_DriveNetIcon),
                                          QStringLiteral("Archived projects")));
    sidebar_->addItem(new QListWidgetItem(style()->standardIcon(QStyle::SP_ComputerIcon),
                                          QStringLiteral("Docker")));
    sidebar_->addItem(new QListWidgetItem(style()->standardIcon(QStyle::SP_DesktopIcon),
                                          QStringLiteral("Simulators")));
    sidebar_->addItem(new QListWidgetItem(style()->standardIcon(QStyle::SP_DriveCDIcon),
                                          QStringLiteral("Android")));
    sidebar_->addItem(new QListWidgetItem(style()->standardIcon(QStyle::SP_FileDialogDetailedView),
                                          QStringLiteral("AI models")));
    sidebar_->addItem(
        new QListWidgetItem(style()->standardIcon(QStyle::SP_DesktopIcon), QStringLiteral("Apps")));
    sidebar_->addItem(new QListWidgetItem(style()->standardIcon(QStyle::SP_FileDialogContentsView),
                                          QStringLiteral("Disk Map")));
    sidebar_->insertItem(overviewRow,
                         new QListWidgetItem(style()->standardIcon(QStyle::SP_DriveHDIcon),
                                             QStringLiteral("Overview")));
    for (int row = 0; row < sidebar_->count(); ++row)
        sidebarTitles_.append(sidebar_->item(row)->text());
    sidebar_->setCurrentRow(projectsRow);
    sidebar_->setMinimumWidth(210);
    connect(sidebar_, &QListWidget::currentRowChanged, this, &MainWindow::onSidebarRowChanged);

    cachesView_ = new CachesView(caches_, central);
    connect(cachesView_, &CachesView::trashRequested, this, &MainWindow::confirmCachesTrash);
    pages_ = new QStackedWidget(central);
    overviewView_ = new OverviewView(overview_, central);
    connect(overviewView_, &OverviewView::areaRequested, this, [this](const QString& id) {
        const int row = rowOfArea(id);
        if (row >= 0)
            onSidebarRowChanged(row);
    });
    pages_->addWidget(overviewView_);
    pages_->addWidget(makeProjectsPage());
    pages_->addWidget(cachesView_);
    agentsView_ = new AgentsView(agents_, session_, central);
    pages_->addWidget(agentsView_);
    organizeView_ = new OrganizeView(organize_, central);
    pages_->addWidget(organizeView_);
    archivedView_ = new ArchivedView(archives_, central);
    pages_->addWidget(archivedView_);
    dockerView_ = new DockerView(docker_, central);
    pages_->addWidget(dockerView_);
    simulatorsView_ = new SimulatorsView(simulators_, central);
    pages_->addWidget(simulatorsView_);
    androidView_ = new AndroidView(android_, central);
    pages_->addWidget(androidView_);
    aiModelsView_ = new AIModelsView(aiModels_, central);
    pages_->addWidget(aiModelsView_);
    appsView_ = new AppsView(apps_, homebrew_, central);
    pages_->addWidget(appsView_);
    diskMapView_ = new DiskMapView(diskMap_, central);
    pages_->addWidget(diskMapView_);
    connect(overviewView_, &OverviewView::diskMapRequested, this,
            [this] { showDiskMap(Locations::homeDir()); });

    auto* split = new QSplitter(Qt::Horizontal, central);
    split->addWidget(sidebar_);
    split->addWidget(pages_);
    split->setStretchFactor(1, 1);
    split->setSizes({220, 960});
    split->setChildrenCollapsible(false);

    auto* line = new QFrame(central);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(summary_);
    layout->addWidget(failures_);
    layout->addWidget(line);
    layout->addWidget(split, 1);
    return central;
}

QWidget* MainWindow::makeProjectsPage() {
    auto* empty = new QWidget(this);
    auto* prompt = new QLabel(chooserTitle + u'.', empty);
    prompt->setForegroundRole(QPalette::PlaceholderText);
    auto* chooseButton = new QPushButton(QStringLiteral("Choose Folder…"), empty);
    connect(chooseButton, &QPushButton::clicked, this, &MainWindow::chooseFolder);
    auto* emptyLayout = new QVBoxLayout(empty);
    emptyLayout->addStretch();
    emptyLayout->addWidget(prompt, 0, Qt::AlignHCenter);
    emptyLayout->addWidget(chooseButton, 0, Qt::AlignHCenter);
    emptyLayout->addStretch();

    projectView_ = new QTreeView(this);
    projectView_->setObjectName(QStringLiteral("projectList"));
    projectView_->setAccessibleName(QStringLiteral("Projects"));
    projectView_->setModel(projectModel_);
    projectView_->setUniformRowHeights(true);
    projectView_->setAlternatingRowColors(true);
    projectView_->setSelectionMode(QAbstractItemView::SingleSelection);
    projectView_->setItemDelegateForColumn(
        ProjectTreeModel::sizeColumn,
        new SizeBarDelegate(ProjectTreeModel::barFractionRole, projectView_));
    QHeaderView* header = projectView_->header();
    header->setStretchLastSection(false);
    header->setSectionResizeMode(ProjectTreeModel::nameColumn, QHeaderView::Stretch);
    header->setMinimumSectionSize(60);
    // Room for "3 uncommitted changes · 1 commit not pushed"; the tooltip has what is cut.
    header->resizeSection(ProjectTreeModel::stateColumn, 230);
    header->resizeSection(ProjectTreeModel::activityColumn, 100);
    header->resizeSection(ProjectTreeModel::sizeColumn, 165);
    connect(projectView_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &MainWindow::onProjectRowSelected);
    projectView_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(projectView_, &QWidget::customContextMenuRequested, this, [this](const QPoint& point) {
        if (const std::unique_ptr<QMenu> menu = projectMenu(projectView_->indexAt(point)))
            menu->exec(projectView_->viewport()->mapToGlobal(point));
    });
    // Nested projects open as they arrive; the selection follows its project when rows move.
    connect(projectModel_, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex& parent, int first, int last) {
                for (int row = first; row <= last; ++row)
                    projectView_->expandRecursively(projectModel_->index(row, 0, parent));
                selectProjectRow();
            });
    connect(projectModel_, &QAbstractItemModel::modelReset, this, [this] {
        projectView_->expandAll();
        selectProjectRow();
    });

    auto* list = new QWidget(this);
    auto* filter = new FilterBar(QStringLiteral("Filter projects by name or path"), list);
    projectFinder_ = ListFinder::attach(*projectView_, filter, QStringLiteral("projects"));
    connect(projectFinder_, &ListFinder::countsChanged, this, &MainWindow::updateStatus);
    // The toolbar's order takes over from a column the user clicked.
    connect(&session_, &ScanSession::sortModeChanged, projectFinder_, &ListFinder::clearSort);
    auto* listLayout = new QVBoxLayout(list);
    listLayout->setContentsMargins(6, 6, 0, 0);
    listLayout->addWidget(filter);
    listLayout->addWidget(projectView_, 1);

    detailView_ = new ProjectDetailView(session_, agents_, this);
    connect(detailView_, &ProjectDetailView::trashRequested, this, &MainWindow::confirmTrash);
    auto* split = new QSplitter(Qt::Horizontal, this);
    split->addWidget(list);
    split->addWidget(detailView_);
    // Names get the room they need; the detail gives way.
    split->setStretchFactor(0, 1);
    split->setStretchFactor(1, 0);
    split->setSizes({700, 380});
    split->setChildrenCollapsible(false);

    projectsPage_ = new QStackedWidget(this);
    projectsPage_->addWidget(empty);
    projectsPage_->addWidget(split);
    return projectsPage_;
}

std::unique_ptr<QMenu> MainWindow::projectMenu(const QModelIndex& index) {
    const std::optional<Project> project = projectModel_->projectAt(index);
    if (!project)
        return nullptr;
    auto menu = std::make_unique<QMenu>(this);
    KeepMenu::addEntry(*menu, session_, project->url, KeepMenu::Subject::project, this);
    return menu;
}

QAction* MainWindow::action(Action which) const {
    return actions_.value(which);
}

void MainWindow::chooseFolder() {
    auto* dialog = new QFileDialog(this, chooserTitle);
    dialog->setObjectName(QStringLiteral("folderChooser"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setLabelText(QFileDialog::Accept, chooserAcceptLabel);
    if (session_.rootURL())
        dialog->setDirectory(Paths::parentPath(*session_.rootURL()));
    dialog->setWindowModality(Qt::WindowModal);
    connect(dialog, &QFileDialog::fileSelected, this, &MainWindow::scanFolder);
    dialog->open();
}

void MainWindow::scanFolder(const QString& folder) {
    if (const std::optional<ScanRefusal> refusal = session_.chooseFolderAndScan(folder))
        showRefusal(*refusal);
}

void MainWindow::showRefusal(const ScanRefusal& refusal) {
    auto* alert = new QMessageBox(this);
    alert->setObjectName(QStringLiteral("refusalAlert"));
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setIcon(QMessageBox::Warning);
    // A sheet shows no window title, so the title leads the text as well.
    alert->setWindowTitle(refusal.title);
    alert->setText(refusal.title);
    alert->setInformativeText(refusal.text);
    alert->setStandardButtons(QMessageBox::Ok);
    alert->setWindowModality(Qt::WindowModal);
    alert->open();
}

void MainWindow::confirmTrash(const TrashScope& scope) {
    if (!session_.isTrashing())
        askToTrash(session_.trashPlan(scope),
                   [this](const TrashPlan& plan) { session_.trash(plan); });
}

void MainWindow::confirmCachesTrash() {
    if (!caches_.isRemoving())
        askToTrash(caches_.trashPlan(), [this](const TrashPlan& plan) { caches_.trash(plan); });
}

void MainWindow::askToTrash(const TrashPlan& plan, std::function<void(const TrashPlan&)> carryOut) {
    if (plan.isEmpty())
        return;
    QMessageBox* box = makeTrashConfirmation(this, TrashQuestion::about(plan));
    // The plan the sheet shows is the plan carried out: a scan still running may tick more
    // items meanwhile, and those wait for a sheet of their own.
    connect(box, &QMessageBox::buttonClicked, this,
            [box, plan, carryOut = std::move(carryOut)](QAbstractButton* button) {
                if (box->buttonRole(button) == QMessageBox::AcceptRole)
                    carryOut(plan);
            });
    box->open();
}

void MainWindow::showSettings() {
    if (!settings_)
        settings_ = new SettingsDialog(rules_, destinations_, this);
    settings_->show();
    settings_->raise();
    settings_->activateWindow();
}

void MainWindow::showCaches() {
    navigation_.setSelection(SidebarSelection::of(SidebarSelection::Kind::globalCaches));
}

void MainWindow::showAgents() {
    navigation_.setSelection(SidebarSelection::of(SidebarSelection::Kind::agents));
}

void MainWindow::showOrganize() {
    navigation_.setSelection(SidebarSelection::of(SidebarSelection::Kind::organize));
    // The plan is made when the page is first shown; Reload makes it again.
    if (!organize_.hasLoaded() && !organize_.isLoading())
        organize_.reload();
}

void MainWindow::confirmMoveProject(const QString& newParent) {
    const std::optional<SidebarSelection>& selection = navigation_.selection();
    if (!selection || !selection->project || organize_.isOrganizing())
        return;
    const QString source = selection->project->url;
    const QString destination = Paths::joined(newParent, Paths::lastComponent(source));
    auto* box = new QMessageBox(QMessageBox::Question, QStringLiteral("Move Project"),
                                QStringLiteral("Move %1 to %2?").arg(source, destination),
                                QMessageBox::Cancel, this);
    box->setObjectName(QStringLiteral("moveProjectConfirmation"));
    box->setInformativeText(
        QStringLiteral("The folder is renamed on this disk and its coding-agent "
                       "history follows it. Undo Last Organize puts it back."));
    QPushButton* move = box->addButton(QStringLiteral("Move"), QMessageBox::AcceptRole);
    box->setDefaultButton(move);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    connect(box, &QMessageBox::buttonClicked, this,
            [this, move, source, destination](QAbstractButton* button) {
                if (button == move)
                    organize_.moveProject(source, destination);
            });
    box->open();
}

void MainWindow::showOverview() {
    navigation_.setSelection(SidebarSelection::of(SidebarSelection::Kind::overview));
}

void MainWindow::updateSidebarSizes() {
    for (const OverviewArea& area : overview_.areas()) {
        const int row = rowOfArea(area.id);
        if (row < 0 || row >= sidebarTitles_.size())
            continue;
        const std::optional<qint64> bytes = area.bytes();
        sidebar_->item(row)->setText(
            bytes && *bytes > 0 ? sidebarTitles_[row] + QStringLiteral("   ") + formatBytes(*bytes)
                                : sidebarTitles_[row]);
    }
}

void MainWindow::showDocker() {
    navigation_.setSelection(SidebarSelection::of(SidebarSelection::Kind::docker));
}

void MainWindow::showSimulators() {
    navigation_.setSelection(SidebarSelection::of(SidebarSelection::Kind::simulators));
}

void MainWindow::showAndroid() {
    navigation_.setSelection(SidebarSelection::of(SidebarSelection::Kind::android));
}

void MainWindow::showAIModels() {
    navigation_.setSelection(SidebarSelection::of(SidebarSelection::Kind::aiModels));
}

void MainWindow::showApps() {
    navigation_.setSelection(SidebarSelection::of(SidebarSelection::Kind::apps));
}

void MainWindow::showDiskMap(const QString& folder) {
    navigation_.setSelection(SidebarSelection::of(SidebarSelection::Kind::diskMap));
    const QString shown = !folder.isEmpty()              ? folder
                          : session_.rootURL()           ? *session_.rootURL()
                          : !diskMap_.folder().isEmpty() ? diskMap_.folder()
                                                         : Locations::homeDir();
    diskMapView_->showFolderOnce(shown);
}

void MainWindow::showArchived() {
    navigation_.setSelection(SidebarSelection::of(SidebarSelection::Kind::archived));
    archives_.reload();
}

void MainWindow::fillArchiveMenu() {
    archiveMenu_->clear();
    for (const ExternalVolumes::Volume& volume : ExternalVolumes::mounted()) {
        archiveMenu_->addAction(ExternalVolumes::menuTitle(volume), this, [this, volume] {
            confirmArchive(ArchiveTarget::volume(volume.path));
        });
    }
    for (const SavedDestination& destination : destinations_.destinations()) {
        QString title = destination.name;
        if (destination.kind == SavedDestination::Kind::ssh) {
            title += QStringLiteral(" (SSH)");
        } else {
            const std::optional<QString> mountPoint =
                SmbMount::expectedMountPoint(destination.smbURL);
            title += mountPoint && QFileInfo(*mountPoint).isDir() ? QStringLiteral(" (network)")
                                                                  : QStringLiteral(" (connect)");
        }
        archiveMenu_->addAction(title, this, [this, destination] {
            confirmArchive(ArchiveTarget::saved(destination));
        });
    }
    if (!archiveMenu_->isEmpty())
        archiveMenu_->addSeparator();
    archiveMenu_->addAction(QStringLiteral("Choose Folder…"), this, [this] {
        const QString folder = QFileDialog::getExistingDirectory(
            this, QStringLiteral("Choose the folder to archive into"));
        if (!folder.isEmpty())
            confirmArchive(ArchiveTarget::folder(folder));
    });
}

void MainWindow::confirmArchive(const ArchiveTarget& target) {
    const std::optional<SidebarSelection>& selection = navigation_.selection();
    if (!selection || !selection->project || archives_.isBusy())
        return;
    const Project project = *selection->project;
    QString where;
    switch (target.kind) {
    case ArchiveTarget::Kind::folder:
        where = target.path;
        break;
    case ArchiveTarget::Kind::volume:
        where = ExternalVolumes::archiveFolder(target.path);
        break;
    case ArchiveTarget::Kind::ssh:
        where = target.destination.user + u'@' + target.destination.host + u':' +
                target.destination.remotePath;
        break;
    case ArchiveTarget::Kind::smb:
        where = target.destination.smbURL;
        break;
    }
    auto* box = new QMessageBox(QMessageBox::Question, QStringLiteral("Archive"),
                                QStringLiteral("Archive %1 to %2?").arg(project.name, where),
                                QMessageBox::Cancel, this);
    box->setObjectName(QStringLiteral("archiveConfirmation"));
    box->setInformativeText(QStringLiteral("The project is copied and every file of the copy is "
                                           "compared with the original. Only when they match "
                                           "does the original go to the Trash."));
    QPushButton* accept = box->addButton(QStringLiteral("Archive"), QMessageBox::AcceptRole);
    box->setDefaultButton(accept);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    connect(box, &QMessageBox::buttonClicked, this,
            [this, accept, path = project.url, target](QAbstractButton* button) {
                if (button != accept)
                    return;
                lastArchive_ = std::pair(path, target);
                archives_.archive(path, target);
            });
    box->open();
}

void MainWindow::followArchiveProgress() {
    const std::optional<ArchiveProgress>& archiving = archives_.archiveProgress();
    const std::optional<ArchiveProgress>& progress =
        archiving ? archiving : archives_.restoreProgress();
    if (!progress) {
        if (progressSheet_)
            progressSheet_->close();
        return;
    }
    if (!progressSheet_) {
        progressSheet_ = new QProgressDialog(this);
        progressSheet_->setObjectName(QStringLiteral("archiveProgress"));
        progressSheet_->setAttribute(Qt::WA_DeleteOnClose);
        progressSheet_->setWindowModality(Qt::WindowModal);
        progressSheet_->setAutoClose(false);
        progressSheet_->setAutoReset(false);
        progressSheet_->setMinimumDuration(0);
        progressSheet_->setMinimumWidth(460);
        connect(progressSheet_, &QProgressDialog::canceled, &archives_, &ArchivesModel::cancel);
        progressSheet_->open();
    }
    const QString verb = archiving ? QStringLiteral("Archiving") : QStringLiteral("Restoring");
    QString text;
    if (progress->isVerifying)
        text = QStringLiteral("Verifying the copy of %1…").arg(progress->projectName);
    else if (progress->totalBytes > 0)
        text = QStringLiteral("%1 %2: %3 of %4\n%5")
                   .arg(verb, progress->projectName, formatBytes(progress->copiedBytes),
                        formatBytes(progress->totalBytes), progress->currentPath);
    else
        text = QStringLiteral("%1 %2…\n%3").arg(verb, progress->projectName, progress->currentPath);
    progressSheet_->setLabelText(text);
    // Bytes scaled to a thousand steps, so that large projects fit the dialog's int range.
    progressSheet_->setRange(0, progress->isVerifying || progress->totalBytes <= 0 ? 0 : 1000);
    if (progress->totalBytes > 0 && !progress->isVerifying)
        progressSheet_->setValue(
            static_cast<int>(progress->copiedBytes * 1000 / progress->totalBytes));
}

void MainWindow::showArchiveFailure() {
    if (progressSheet_)
        progressSheet_->close();
    // A failed archive says why; a finished one may still not have reached the catalog. A
    // restore says it on the Archived Projects page.
    if (!archives_.lastActionWasArchive())
        return;
    const std::optional<QString> message = archives_.archiveErrorMessage()
                                               ? archives_.archiveErrorMessage()
                                               : archives_.errorMessage();
    if (!message)
        return;
    auto* alert = new QMessageBox(QMessageBox::Warning, QStringLiteral("Archive"), *message,
                                  QMessageBox::Ok, this);
    alert->setObjectName(QStringLiteral("archiveFailure"));
    alert->setAttribute(Qt::WA_DeleteOnClose);
    // A partial copy of an interrupted run blocks the way: offered to be removed, never silently.
    if (archives_.interruptedCopy() && lastArchive_) {
        QPushButton* retry = alert->addButton(QStringLiteral("Remove Partial Copy and Archive"),
                                              QMessageBox::DestructiveRole);
        retry->setObjectName(QStringLiteral("removePartialCopy"));
        alert->setDefaultButton(QMessageBox::Ok);
        connect(retry, &QPushButton::clicked, this, [this, last = *lastArchive_] {
            ArchiveOptions options;
            options.removeInterruptedCopy = true;
            archives_.archive(last.first, last.second, options);
        });
    }
    alert->setWindowModality(Qt::WindowModal);
    alert->open();
}

void MainWindow::showProjects() {
    const std::optional<SidebarSelection>& current = navigation_.selection();
    if (current && current->kind == SidebarSelection::Kind::project) {
        followSelection();
        return;
    }
    // Back from another destination: the project shown before, if the scan still has it.
    std::optional<SidebarSelection> back;
    if (lastProjectSelection_ && session_.project(lastProjectSelection_->project->id))
        back = lastProjectSelection_;
    navigation_.setSelection(back);
    followSelection();
}

void MainWindow::onSidebarRowChanged(int row) {
    if (followingSession_)
        return;
    if (row == overviewRow)
        showOverview();
    else if (row == cachesRow)
        showCaches();
    else if (row == agentsRow)
        showAgents();
    else if (row == organizeRow)
        showOrganize();
    else if (row == archivedRow)
        showArchived();
    else if (row == dockerRow)
        showDocker();
    else if (row == simulatorsRow)
        showSimulators();
    else if (row == androidRow)
        showAndroid();
    else if (row == aiModelsRow)
        showAIModels();
    else if (row == appsRow)
        showApps();
    else if (row == diskMapRow)
        showDiskMap();
    else
        showProjects();
}

void MainWindow::onProjectRowSelected() {
    if (followingSession_)
        return;
    const QModelIndexList rows = projectView_->selectionModel()->selectedRows();
    // A row that disappears takes its selection along; the session decides what is selected then.
    if (rows.isEmpty())
        return;
    if (const std::optional<Project> project = projectModel_->projectAt(rows.first()))
        navigation_.setSelection(SidebarSelection::forProject(*project));
}

void MainWindow::followSelection() {
    updateActions();
    const std::optional<SidebarSelection>& selection = navigation_.selection();
    const int row = rowOf(selection);
    followingSession_ = true;
    sidebar_->setCurrentRow(row);
    pages_->setCurrentIndex(row);
    followingSession_ = false;
    if (row != projectsRow)
        return;
    const bool isProject = selection && selection->kind == SidebarSelection::Kind::project;
    if (isProject)
        lastProjectSelection_ = selection;
    detailView_->setProject(isProject ? selection->project : std::nullopt);
    selectProjectRow();
}

void MainWindow::selectProjectRow() {
    const std::optional<SidebarSelection>& selection = navigation_.selection();
    const QModelIndex row = selection && selection->project
                                ? projectModel_->indexOf(selection->project->id)
                                : QModelIndex();
    followingSession_ = true;
    if (!row.isValid()) {
        projectView_->selectionModel()->clear();
    } else if (!projectView_->selectionModel()->isRowSelected(row.row(), row.parent())) {
        projectView_->selectionModel()->setCurrentIndex(row, QItemSelectionModel::ClearAndSelect |
                                                                 QItemSelectionModel::Rows);
        projectView_->scrollTo(row);
    }
    followingSession_ = false;
}

void MainWindow::updateActions() {
    const bool trashing = session_.isTrashing();
    action(Action::rescan)->setEnabled(session_.rootURL() && !trashing);
    // Ticks change with every batch of a scan, so this stays a look at the sets; the plan, with
    // its nesting checks, is only made when the user asks.
    // The toolbar acts on the area on show; a page without items to tick leaves it off.
    bool canTrash = false;
    switch (rowOf(navigation_.selection())) {
    case projectsRow:
        canTrash = !session_.selectedItemIDs().isEmpty() && !trashing;
        break;
    case cachesRow:
        canTrash = !caches_.selectedIDs().isEmpty() && !caches_.isRemoving();
        break;
    }
    action(Action::moveToTrash)->setEnabled(canTrash);
    const std::optional<SidebarSelection>& selection = navigation_.selection();
    action(Action::moveProject)
        ->setEnabled(selection && selection->project && !organize_.isOrganizing());
    action(Action::archiveProject)
        ->setEnabled(selection && selection->project && !archives_.isBusy());
}

void MainWindow::updateFolder() {
    const std::optional<QString>& root = session_.rootURL();
    setWindowTitle(root ? Paths::lastComponent(*root) + QStringLiteral(" — Corvane Clean")
                        : QStringLiteral("Corvane Clean"));
    sidebar_->item(projectsRow)->setToolTip(root.value_or(QString()));
    projectsPage_->setCurrentIndex(root ? 1 : 0);
    updateActions();
    updateStatus();
}

void MainWindow::updateStatus() {
    const std::optional<QString>& root = session_.rootURL();
    const qsizetype projects = session_.projects().size();
    if (!root) {
        status_->setText(QStringLiteral("Choose a folder to scan."));
    } else if (session_.isScanning()) {
        const QString measured = formatBytes(session_.measuredBytes());
        const QString counts = QStringLiteral("  ·  %1  ·  %2 measured")
                                   .arg(counted(projects, "project", "projects"), measured);
        const int room = std::max(80, status_->width() - status_->fontMetrics().horizontalAdvance(
                                                             QStringLiteral("Scanning ") + counts));
        const QString path =
            status_->fontMetrics().elidedText(session_.currentPath(), Qt::ElideMiddle, room);
        status_->setText(QStringLiteral("Scanning ") + path + counts);
    } else if (projectFinder_ && projectFinder_->isFiltering()) {
        status_->setText(QStringLiteral("%1 of %2 in %3")
                             .arg(projectFinder_->shownRowCount())
                             .arg(counted(projects, "project", "projects"), *root));
    } else {
        status_->setText(
            QStringLiteral("%1 in %2").arg(counted(projects, "project", "projects"), *root));
    }
}

QString MainWindow::statusText() const {
    return status_->text();
}

} // namespace corvane
