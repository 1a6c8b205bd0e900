#include "shell/ProjectsView.h"

#include "platform/ByteFormat.h"
#include "platform/Paths.h"
#include "scanning/ScanWording.h"
#include "shell/ArchiveFlow.h"
#include "shell/FailuresPanel.h"
#include "shell/FilterBar.h"
#include "shell/ItemContextMenu.h"
#include "shell/KeepMenu.h"
#include "shell/ListFinder.h"
#include "shell/ProjectDetailView.h"
#include "shell/ProjectTreeModel.h"
#include "shell/SizeBarDelegate.h"
#include "shell/SummaryStrip.h"
#include "shell/TrashFlow.h"

#include <QAbstractButton>
#include <QActionGroup>
#include <QComboBox>
#include <QEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace corvane {
namespace {

constexpr int statusInterval = 150;
// Below this width the project list has no room for the last activity.
constexpr int narrowListWidth = 520;
// Below this the list and the detail stand one over the other, so that names keep their room.
constexpr int sideBySideWidth = 760;

QString counted(qsizetype count, const char* one, const char* many) {
    return QStringLiteral("%1 %2").arg(count).arg(QLatin1String(count == 1 ? one : many));
}

} // namespace

ProjectsView::ProjectsView(AppModels& models, QWidget* parent)
    : QWidget(parent)
    , models_(models)
    , projects_(models.projects)
    , session_(models.session)
    , navigation_(models.navigation)
    , projectModel_(new ProjectTreeModel(models.session, this)) {
    setObjectName(QStringLiteral("projectsView"));
    archiveFlow_ = new ArchiveFlow(*this, models.archives, models.destinations,
                                   [this] { return selectedProject(); });
    makeActions();
    makeToolBar();
    summary_ = new SummaryStrip(session_, models.overview.trashGauge(), this);
    failures_ = new FailuresPanel(this);
    body_ = new QStackedWidget(this);
    body_->addWidget(makeEmptyState());
    body_->addWidget(makeList());
    status_ = new QLabel(this);
    status_->setObjectName(QStringLiteral("scanStatus"));
    status_->setContentsMargins(8, 2, 8, 4);
    status_->setForegroundRole(QPalette::PlaceholderText);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    for (QWidget* part : {static_cast<QWidget*>(tools_), static_cast<QWidget*>(summary_),
                          static_cast<QWidget*>(failures_)})
        layout->addWidget(part);
    layout->addWidget(body_, 1);
    layout->addWidget(status_);

    statusTimer_.setInterval(statusInterval);
    connect(&statusTimer_, &QTimer::timeout, this, &ProjectsView::updateStatus);
    connect(&session_, &ScanSession::rootURLChanged, this, &ProjectsView::updateFolder);
    connect(&session_, &ScanSession::isScanningChanged, this, [this] {
        session_.isScanning() ? statusTimer_.start() : statusTimer_.stop();
        updateStatus();
        updateActions();
    });
    connect(&session_, &ScanSession::projectsChanged, this, [this] {
        if (!session_.isScanning())
            updateStatus();
    });
    for (const auto signal :
         {&ScanSession::selectedItemIDsChanged, &ScanSession::isTrashingChanged})
        connect(&session_, signal, this, &ProjectsView::updateActions);
    connect(&models.organize, &InventoryModel::isRemovingChanged, this,
            &ProjectsView::updateActions);
    connect(&models.archives, &InventoryModel::isRemovingChanged, this,
            &ProjectsView::updateActions);
    // Each trash action replaces what the panel said about the last one.
    connect(&projects_, &ProjectsModel::trashCompleted, this, [this](const TrashResult& result) {
        failures_->showFailures(result.outcome.failures);
    });
    updateFolder();
}

ProjectsView::~ProjectsView() = default;

void ProjectsView::makeActions() {
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
    choose->setToolTip(chooserTitle);
    connect(choose, &QAction::triggered, this, &ProjectsView::chooseFolder);

    QAction* rescan = make(Action::rescan, QStringLiteral("Rescan"), QStyle::SP_BrowserReload);
    rescan->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
    connect(rescan, &QAction::triggered, &projects_, &InventoryModel::reload);

    QAction* trash =
        make(Action::moveToTrash, QStringLiteral("Move to Trash"), QStyle::SP_TrashIcon);
    trash->setShortcuts(
        {QKeySequence(QKeySequence::Delete), QKeySequence(Qt::CTRL | Qt::Key_Backspace)});
    trash->setToolTip(QStringLiteral("Move the selected project's ticked items (or the selected "
                                     "folders) to the Trash"));
    connect(trash, &QAction::triggered, this, [this] { confirmTrash(planOnShow()); });
    QAction* all = make(Action::moveAllToTrash, QStringLiteral("Move All Ticked to the Trash…"));
    all->setToolTip(QStringLiteral("Move the ticked items of every project to the Trash"));
    connect(all, &QAction::triggered, this, [this] { confirmTrash(TrashScope::everything()); });

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
        action(Action::sortBySize)->setChecked(bySize);
        action(Action::sortByActivity)->setChecked(!bySize);
        if (sortChoice_)
            sortChoice_->setCurrentIndex(bySize ? 0 : 1);
    });

    QAction* archive = make(Action::archiveProject, QStringLiteral("Archive…"));
    archive->setToolTip(QStringLiteral("Copy the selected project to a drive, a share or a server, "
                                       "verify the copy, then move the original to the Trash"));
    archive->setMenu(archiveFlow_->menu());

    QAction* move = make(Action::moveProject, QStringLiteral("Move Project…"));
    move->setToolTip(QStringLiteral("Move the selected project to another folder, with its agent "
                                    "history"));
    connect(move, &QAction::triggered, this, [this] {
        const QString folder = QFileDialog::getExistingDirectory(
            this, QStringLiteral("Move the project into"), models_.organize.destination());
        if (!folder.isEmpty())
            confirmMoveProject(folder);
    });
}

void ProjectsView::makeToolBar() {
    tools_ = new QToolBar(QStringLiteral("Projects"), this);
    tools_->setObjectName(QStringLiteral("projectsToolBar"));
    tools_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    tools_->setIconSize(QSize(16, 16));
    tools_->addAction(action(Action::chooseFolder));
    tools_->addAction(action(Action::rescan));
    tools_->addSeparator();
    auto* sortLabel = new QLabel(QStringLiteral(" Sort by "), tools_);
    tools_->addWidget(sortLabel);
    sortChoice_ = new QComboBox(tools_);
    sortChoice_->setObjectName(QStringLiteral("sortChoice"));
    sortChoice_->setAccessibleName(QStringLiteral("Sort projects by"));
    sortChoice_->addItem(ScanWording::sortTitle(ProjectSortMode::size));
    sortChoice_->addItem(ScanWording::sortTitle(ProjectSortMode::activity));
    sortChoice_->setCurrentIndex(session_.sortMode() == ProjectSortMode::size ? 0 : 1);
    connect(sortChoice_, &QComboBox::activated, this, [this](int index) {
        session_.setSortMode(index == 0 ? ProjectSortMode::size : ProjectSortMode::activity);
    });
    tools_->addWidget(sortChoice_);
    tools_->addAction(action(Action::showOnlyUnsynced));
    auto* spacer = new QWidget(tools_);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    tools_->addWidget(spacer);
    tools_->addAction(action(Action::archiveProject));
    tools_->addAction(action(Action::moveProject));
    // Moving every project's ticks sits in the menu of Move to Trash: the row keeps room for the
    // selected project's actions, and the wider sweep is one deliberate step further away.
    auto* trashMenu = new QMenu(this);
    trashMenu->addAction(action(Action::moveAllToTrash));
    action(Action::moveToTrash)->setMenu(trashMenu);
    tools_->addAction(action(Action::moveToTrash));
    for (QToolButton* button : tools_->findChildren<QToolButton*>()) {
        // The Archive button's face opens its menu as well.
        if (button->defaultAction() == action(Action::archiveProject))
            button->setPopupMode(QToolButton::InstantPopup);
        if (button->defaultAction() == action(Action::moveToTrash))
            button->setPopupMode(QToolButton::MenuButtonPopup);
    }
}

QWidget* ProjectsView::makeEmptyState() {
    auto* empty = new QWidget(this);
    auto* prompt = new QLabel(chooserTitle + u'.', empty);
    prompt->setForegroundRole(QPalette::PlaceholderText);
    auto* chooseButton = new QPushButton(QStringLiteral("Choose Folder…"), empty);
    connect(chooseButton, &QPushButton::clicked, this, &ProjectsView::chooseFolder);
    auto* layout = new QVBoxLayout(empty);
    layout->addStretch();
    layout->addWidget(prompt, 0, Qt::AlignHCenter);
    layout->addWidget(chooseButton, 0, Qt::AlignHCenter);
    layout->addStretch();
    return empty;
}

QWidget* ProjectsView::makeList() {
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
    // Names and git states share what the numbers leave, so no column needs a sideways scroll;
    // the tooltip has what is cut.
    header->setSectionResizeMode(ProjectTreeModel::nameColumn, QHeaderView::Stretch);
    header->setSectionResizeMode(ProjectTreeModel::stateColumn, QHeaderView::Stretch);
    header->setMinimumSectionSize(60);
    header->resizeSection(ProjectTreeModel::activityColumn, 100);
    header->resizeSection(ProjectTreeModel::sizeColumn, 140);
    projectView_->installEventFilter(this);
    connect(projectView_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ProjectsView::onProjectRowSelected);
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
    connect(projectFinder_, &ListFinder::countsChanged, this, &ProjectsView::updateStatus);
    // The tool row's order takes over from a column the user clicked.
    connect(&session_, &ScanSession::sortModeChanged, projectFinder_, &ListFinder::clearSort);
    auto* listLayout = new QVBoxLayout(list);
    listLayout->setContentsMargins(6, 6, 0, 0);
    listLayout->addWidget(filter);
    listLayout->addWidget(projectView_, 1);

    detailView_ = new ProjectDetailView(session_, models_.agents, this);
    connect(detailView_, &ProjectDetailView::trashRequested, this,
            qOverload<const TrashScope&>(&ProjectsView::confirmTrash));
    // What Delete takes follows the rows selected in the detail.
    connect(detailView_->itemsView()->selectionModel(), &QItemSelectionModel::selectionChanged,
            this, &ProjectsView::updateActions);
    split_ = new QSplitter(Qt::Horizontal, this);
    split_->addWidget(list);
    split_->addWidget(detailView_);
    // Names get the room they need; the detail gives way, and stays out of the way until a
    // project is selected.
    split_->setStretchFactor(0, 1);
    split_->setStretchFactor(1, 0);
    split_->setSizes({760, 320});
    split_->setChildrenCollapsible(false);
    split_->installEventFilter(this);
    detailView_->hide();
    return split_;
}

bool ProjectsView::eventFilter(QObject* watched, QEvent* event) {
    // A narrow list keeps the name, the git state and the size; the last activity waits for room.
    if (watched == projectView_ && event->type() == QEvent::Resize)
        projectView_->header()->setSectionHidden(ProjectTreeModel::activityColumn,
                                                 projectView_->width() < narrowListWidth);
    if (watched == split_ && event->type() == QEvent::Resize)
        split_->setOrientation(split_->width() < sideBySideWidth ? Qt::Vertical : Qt::Horizontal);
    return QWidget::eventFilter(watched, event);
}

std::unique_ptr<QMenu> ProjectsView::projectMenu(const QModelIndex& index) {
    const std::optional<Project> project = projectModel_->projectAt(index);
    if (!project)
        return nullptr;
    auto menu = std::make_unique<QMenu>(this);
    ItemContextMenu::addPathEntries(*menu, {project->url}, this);
    menu->addSeparator();
    KeepMenu::addEntry(*menu, session_, project->url, KeepMenu::Subject::project, this);
    return menu;
}

void ProjectsView::chooseFolder() {
    auto* dialog = new QFileDialog(window(), chooserTitle);
    dialog->setObjectName(QStringLiteral("folderChooser"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setLabelText(QFileDialog::Accept, chooserAcceptLabel);
    if (session_.rootURL())
        dialog->setDirectory(Paths::parentPath(*session_.rootURL()));
    dialog->setWindowModality(Qt::WindowModal);
    connect(dialog, &QFileDialog::fileSelected, this, &ProjectsView::scanFolder);
    dialog->open();
}

void ProjectsView::scanFolder(const QString& folder) {
    const std::optional<ScanRefusal> refusal = projects_.scan(folder);
    if (!refusal)
        return;
    auto* alert = new QMessageBox(window());
    alert->setObjectName(QStringLiteral("refusalAlert"));
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setIcon(QMessageBox::Warning);
    // A sheet shows no window title, so the title leads the text as well.
    alert->setWindowTitle(refusal->title);
    alert->setText(refusal->title);
    alert->setInformativeText(refusal->text);
    alert->setStandardButtons(QMessageBox::Ok);
    alert->setWindowModality(Qt::WindowModal);
    alert->open();
}

std::optional<Project> ProjectsView::selectedProject() const {
    const std::optional<SidebarSelection>& selection = navigation_.selection();
    return selection ? selection->project : std::nullopt;
}

QList<QUuid> ProjectsView::selectedItemRows() const {
    QList<QUuid> rows;
    for (const QModelIndex& row : detailView_->itemsView()->selectionModel()->selectedRows())
        rows.append(row.data(ProjectItemsModel::itemIDRole).toUuid());
    return rows;
}

TrashPlan ProjectsView::planOnShow() const {
    const std::optional<Project> project = selectedProject();
    if (!project)
        return {};
    const QList<QUuid> rows = selectedItemRows();
    return rows.isEmpty() ? projects_.trashPlan(TrashScope::forProject(*project))
                          : projects_.trashPlan(rows);
}

void ProjectsView::confirmTrash(const TrashScope& scope) {
    confirmTrash(projects_.trashPlan(scope));
}

void ProjectsView::confirmTrash(const TrashPlan& plan) {
    if (!projects_.isRemoving())
        confirmThenTrash(*this, plan, [this](const TrashPlan& shown) { projects_.trash(shown); });
}

void ProjectsView::confirmMoveProject(const QString& newParent) {
    const std::optional<Project> project = selectedProject();
    if (!project || models_.organize.isOrganizing())
        return;
    const QString source = project->url;
    const QString destination = Paths::joined(newParent, Paths::lastComponent(source));
    auto* box = new QMessageBox(QMessageBox::Question, QStringLiteral("Move Project"),
                                QStringLiteral("Move %1 to %2?").arg(source, destination),
                                QMessageBox::Cancel, window());
    box->setObjectName(QStringLiteral("moveProjectConfirmation"));
    box->setInformativeText(
        QStringLiteral("The folder is renamed on this disk and its coding-agent "
                       "history follows it. Undo Last Organize puts it back."));
    QPushButton* move = box->addButton(QStringLiteral("Move"), QMessageBox::AcceptRole);
    // Return never moves anything by accident.
    box->setDefaultButton(QMessageBox::Cancel);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    connect(box, &QMessageBox::buttonClicked, this,
            [this, move, source, destination](QAbstractButton* button) {
                if (button == move)
                    models_.organize.moveProject(source, destination);
            });
    box->open();
}

void ProjectsView::followSelection() {
    const std::optional<Project> project = selectedProject();
    detailView_->setProject(project);
    detailView_->setVisible(project.has_value());
    selectProjectRow();
    updateActions();
}

void ProjectsView::onProjectRowSelected() {
    if (following_)
        return;
    const QModelIndexList rows = projectView_->selectionModel()->selectedRows();
    // A row that disappears takes its selection along; the session decides what is selected then.
    if (rows.isEmpty())
        return;
    if (const std::optional<Project> project = projectModel_->projectAt(rows.first()))
        navigation_.setSelection(SidebarSelection::forProject(*project));
}

void ProjectsView::selectProjectRow() {
    const std::optional<Project> project = selectedProject();
    const QModelIndex row = project ? projectModel_->indexOf(project->id) : QModelIndex();
    following_ = true;
    if (!row.isValid()) {
        projectView_->selectionModel()->clear();
    } else if (!projectView_->selectionModel()->isRowSelected(row.row(), row.parent())) {
        projectView_->selectionModel()->setCurrentIndex(row, QItemSelectionModel::ClearAndSelect |
                                                                 QItemSelectionModel::Rows);
        projectView_->scrollTo(row);
    }
    following_ = false;
}

void ProjectsView::updateActions() {
    const bool trashing = session_.isTrashing();
    action(Action::rescan)->setEnabled(session_.rootURL() && !trashing);
    // Ticks change with every batch of a scan, so this stays a look at the sets; the plan, with
    // its nesting checks, is only made when the user asks.
    const std::optional<Project> project = selectedProject();
    bool canTrash = project && !selectedItemRows().isEmpty();
    if (project && !canTrash) {
        for (const CleanableItem& item : session_.items(project->id))
            canTrash = canTrash || session_.selectedItemIDs().contains(item.id);
    }
    action(Action::moveToTrash)->setEnabled(canTrash && !trashing);
    action(Action::moveAllToTrash)->setEnabled(!session_.selectedItemIDs().isEmpty() && !trashing);
    const bool hasProject = project.has_value();
    action(Action::moveProject)->setEnabled(hasProject && !models_.organize.isOrganizing());
    action(Action::archiveProject)->setEnabled(hasProject && !models_.archives.isBusy());
}

void ProjectsView::updateFolder() {
    body_->setCurrentIndex(session_.rootURL() ? 1 : 0);
    updateActions();
    updateStatus();
}

void ProjectsView::updateStatus() {
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

QString ProjectsView::statusText() const {
    return status_->text();
}

} // namespace corvane
