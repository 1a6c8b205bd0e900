#include "shell/ProjectDetailView.h"

#include "platform/ByteFormat.h"
#include "scanning/ScanWording.h"
#include "shell/ItemContextMenu.h"
#include "shell/KeepMenu.h"
#include "shell/ListFinder.h"
#include "shell/StateBadge.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QStackedLayout>
#include <QStyle>
#include <QTreeView>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corvane {
namespace {

constexpr int refreshDelay = 80;

QLabel* secondaryLabel(QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setForegroundRole(QPalette::PlaceholderText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

QLabel* headingLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    QFont font = label->font();
    font.setBold(true);
    label->setFont(font);
    return label;
}

// pnpm's store when each reclaimable item that shares files shares them with it.
SharedWith reclaimableSharedWith(const ScanSession& session, const QList<CleanableItem>& items) {
    bool sharing = false;
    for (const CleanableItem& item : items) {
        const auto space = session.spaceByItem().constFind(item.id);
        if (item.confidence != CleanConfidence::safe || space == session.spaceByItem().cend() ||
            space->freesBytes >= space->sizeBytes)
            continue;
        if (session.sharedWith(item.id) != SharedWith::pnpmStore)
            return SharedWith::otherFolders;
        sharing = true;
    }
    return sharing ? SharedWith::pnpmStore : SharedWith::otherFolders;
}

} // namespace

const QString ProjectDetailView::keptText =
    QStringLiteral("Kept: nothing in this project is ticked or moved to the Trash.");

const QString ProjectDetailView::wholeProjectWarning = QStringLiteral(
    "The whole project can be cloned again from its remote, but git cannot bring back what it "
    "never had: ignored files outside the artifact folders, such as .env files with secrets, "
    "local databases and editor settings. Check the folder for them before you tick it.");

ProjectDetailView::ProjectDetailView(ScanSession& session, const AgentsModel& agents,
                                     QWidget* parent)
    : QWidget(parent)
    , session_(session)
    , agents_(agents)
    , items_(new ProjectItemsModel(session, this)) {
    auto* placeholder =
        new QLabel(QStringLiteral("Select a project to see what it can give back."), this);
    placeholder->setAlignment(Qt::AlignCenter);
    placeholder->setForegroundRole(QPalette::PlaceholderText);
    pages_ = new QStackedLayout(this);
    pages_->addWidget(placeholder);
    pages_->addWidget(makeContent());

    refreshTimer_.setSingleShot(true);
    refreshTimer_.setInterval(refreshDelay);
    connect(&refreshTimer_, &QTimer::timeout, this, &ProjectDetailView::showItemsState);
    for (const auto signal : {&ScanSession::itemsByProjectChanged, &ScanSession::sizeByItemChanged,
                              &ScanSession::selectedItemIDsChanged, &ScanSession::isTrashingChanged,
                              &ScanSession::keptPathsChanged})
        connect(&session_, signal, &refreshTimer_, [this] {
            if (!refreshTimer_.isActive())
                refreshTimer_.start();
        });
    connect(&session_, &ScanSession::gitDetailsByProjectChanged, this, &ProjectDetailView::showGit);
    connect(&agents_, &AgentsModel::historyChanged, this, &ProjectDetailView::showAgentHistory);
    connect(trashButton_, &QPushButton::clicked, this, [this] {
        if (project())
            emit trashRequested(TrashScope::forProject(*project()));
    });
    setProject(std::nullopt);
}

QWidget* ProjectDetailView::makeContent() {
    content_ = new QWidget(this);
    title_ = new QLabel(content_);
    QFont big = title_->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setWeight(QFont::DemiBold);
    title_->setFont(big);
    path_ = secondaryLabel(content_);
    // A long path or name must not hold the pane wide: the project list beside it needs the room.
    for (QLabel* label : {title_, path_})
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    keptNote_ = new QLabel(content_);
    keptNote_->setObjectName(QStringLiteral("keptNote"));
    keptNote_->setWordWrap(true);
    QFont keptFont = keptNote_->font();
    keptFont.setBold(true);
    keptNote_->setFont(keptFont);
    space_ = secondaryLabel(content_);
    space_->setObjectName(QStringLiteral("projectSpace"));
    space_->setWordWrap(true);

    itemsView_ = new QTreeView(content_);
    itemsView_->setObjectName(QStringLiteral("itemsView"));
    itemsView_->setAccessibleName(QStringLiteral("Folders that can go"));
    itemsView_->setModel(items_);
    itemsView_->setRootIsDecorated(false);
    itemsView_->setUniformRowHeights(true);
    itemsView_->setAlternatingRowColors(true);
    // Several rows can be chosen for Delete at once.
    itemsView_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    itemsView_->setTextElideMode(Qt::ElideMiddle);
    itemsView_->header()->setStretchLastSection(false);
    // The folder keeps room for its name and the sizes follow it, so they show in a narrow pane;
    // what brings it back takes what is left (its tooltip has all of a long clone URL).
    itemsView_->header()->resizeSection(ProjectItemsModel::folderColumn, 150);
    itemsView_->header()->setSectionResizeMode(ProjectItemsModel::hintColumn, QHeaderView::Stretch);
    itemsView_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(itemsView_, &QWidget::customContextMenuRequested, this, [this](const QPoint& point) {
        if (const std::unique_ptr<QMenu> menu = itemMenu(itemsView_->indexAt(point)))
            menu->exec(itemsView_->viewport()->mapToGlobal(point));
    });
    for (const int column : {ProjectItemsModel::sizeColumn, ProjectItemsModel::freesColumn,
                             ProjectItemsModel::kindColumn, ProjectItemsModel::confidenceColumn})
        itemsView_->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    // A project has a handful of items: sorting, but no filter field beside the project list's.
    ListFinder::attach(*itemsView_, nullptr, QStringLiteral("projectItems"),
                       {ProjectItemsModel::sizeColumn, Qt::DescendingOrder});

    warning_ = new QLabel(wholeProjectWarning, content_);
    warning_->setObjectName(QStringLiteral("wholeProjectWarning"));
    warning_->setWordWrap(true);
    ticked_ = secondaryLabel(content_);
    trashButton_ = new QPushButton(QStringLiteral("Move to Trash"), content_);
    trashButton_->setObjectName(QStringLiteral("projectTrashButton"));

    auto* warningRow = new QHBoxLayout;
    auto* warningIcon = new QLabel(content_);
    warningIcon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(20, 20));
    warningIcon->setAlignment(Qt::AlignTop);
    warningRow->addWidget(warningIcon);
    warningRow->addWidget(warning_, 1);
    warningBox_ = new QWidget(content_);
    warningBox_->setLayout(warningRow);
    warningRow->setContentsMargins(0, 0, 0, 0);

    auto* footer = new QHBoxLayout;
    footer->addWidget(ticked_, 1);
    footer->addWidget(trashButton_);

    auto* layout = new QVBoxLayout(content_);
    layout->setContentsMargins(16, 14, 16, 12);
    layout->addWidget(title_);
    layout->addWidget(path_);
    layout->addWidget(keptNote_);
    layout->addWidget(space_);
    layout->addSpacing(6);
    layout->addWidget(makeGitSection(content_));
    layout->addSpacing(6);
    layout->addWidget(headingLabel(QStringLiteral("Items"), content_));
    layout->addWidget(itemsView_, 1);
    layout->addWidget(warningBox_);
    layout->addLayout(footer);
    return content_;
}

QWidget* ProjectDetailView::makeGitSection(QWidget* parent) {
    auto* section = new QWidget(parent);
    stateIcon_ = new QLabel(section);
    state_ = new QLabel(section);
    branch_ = new QLabel(section);
    remote_ = new QLabel(section);
    agentHistory_ = new QLabel(section);
    agentHistory_->setObjectName(QStringLiteral("agentHistory"));
    state_->setWordWrap(true);
    for (QLabel* label : {state_, branch_, remote_, agentHistory_})
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* stateRow = new QHBoxLayout;
    stateRow->setSpacing(2);
    stateRow->addWidget(stateIcon_);
    stateRow->addWidget(state_, 1);

    auto* form = new QFormLayout;
    form->setContentsMargins(0, 0, 0, 0);
    form->addRow(QStringLiteral("Git:"), stateRow);
    form->addRow(QStringLiteral("Branch:"), branch_);
    form->addRow(QStringLiteral("Remote:"), remote_);
    form->addRow(QStringLiteral("Agents:"), agentHistory_);

    changesHeading_ = headingLabel(QString(), section);
    changes_ = new QTreeWidget(section);
    changes_->setObjectName(QStringLiteral("changesList"));
    changes_->setAccessibleName(QStringLiteral("Uncommitted changes"));
    changes_->setColumnCount(2);
    changes_->setHeaderLabels({QStringLiteral("Change"), QStringLiteral("Path")});
    changes_->setRootIsDecorated(false);
    changes_->setUniformRowHeights(true);
    changes_->setMaximumHeight(130);
    changes_->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);

    auto* layout = new QVBoxLayout(section);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(form);
    layout->addWidget(changesHeading_);
    layout->addWidget(changes_);
    return section;
}

void ProjectDetailView::setProject(const std::optional<Project>& project) {
    items_->setProject(project);
    pages_->setCurrentIndex(project ? 1 : 0);
    if (!project)
        return;
    title_->setText(project->name);
    path_->setText(project->url);
    path_->setToolTip(project->url);
    shownGit_.reset();
    showGit();
    showItemsState();
    showAgentHistory();
}

void ProjectDetailView::showAgentHistory() {
    if (!project())
        return;
    const QList<AgentActivity> activities = agents_.activities(project()->url);
    QStringList agents;
    for (const AgentActivity& activity : activities) {
        if (!activity.sessions.isEmpty())
            agents.append(displayName(activity.agent));
    }
    const int sessions = agents_.sessionCount(project()->url);
    if (sessions == 0)
        agentHistory_->setText(agents_.hasLoaded() ? QStringLiteral("No sessions")
                                                   : QStringLiteral("Reading history…"));
    else
        agentHistory_->setText((sessions == 1 ? QStringLiteral("1 session")
                                              : QStringLiteral("%1 sessions").arg(sessions)) +
                               QStringLiteral(" (") + agents.join(QStringLiteral(", ")) + u')');
}

QString ProjectDetailView::agentHistoryText() const {
    return agentHistory_->text();
}

void ProjectDetailView::showGit() {
    if (!project())
        return;
    const auto found = session_.gitDetailsByProject().constFind(project()->id);
    const bool known = found != session_.gitDetailsByProject().cend();
    const std::optional<GitDetails> current =
        known ? std::optional<GitDetails>(*found) : std::nullopt;
    // Other projects' details arrive all through a scan; this one's rarely changes.
    if (shownGit_ && *shownGit_ == current)
        return;
    shownGit_ = current;
    const GitDetails details = current.value_or(GitDetails());
    // The detail has room for the whole reason, which names the folder and what went wrong.
    state_->setText(!known            ? QStringLiteral("Checking git…")
                    : details.problem ? *details.problem
                                      : ScanWording::gitDetailsWords(details));
    stateIcon_->setPixmap(known ? stateIcon(details.status).pixmap(16, 16) : QPixmap());
    branch_->setText(details.branch.value_or(QStringLiteral("—")));
    remote_->setText(
        details.repoDisplayName().value_or(details.remoteURL.value_or(QStringLiteral("None"))));
    remote_->setToolTip(details.remoteURL.value_or(QString()));

    changes_->clear();
    for (const GitChange& change : details.changes)
        changes_->addTopLevelItem(
            new QTreeWidgetItem(QStringList{ScanWording::changeWords(change.kind), change.path}));
    const auto count = details.changes.size();
    changesHeading_->setText(count == 1 ? QStringLiteral("1 change not committed")
                                        : QStringLiteral("%1 changes not committed").arg(count));
    changesHeading_->setVisible(count > 0);
    changes_->setVisible(count > 0);
}

void ProjectDetailView::showItemsState() {
    refreshTimer_.stop();
    if (!project())
        return;
    const QList<CleanableItem> items = session_.items(project()->id);
    const bool wholeOffered =
        std::any_of(items.cbegin(), items.cend(), [](const CleanableItem& item) {
            return item.kind == ArtifactKind::wholeProject;
        });
    warningBox_->setVisible(wholeOffered);
    // Marks that cannot be read keep nothing ticked anywhere; the user is told where to look.
    keptNote_->setText(session_.keepError().value_or(keptText));
    keptNote_->setVisible(session_.keepError() || session_.isKept(*project()));
    QString space = QStringLiteral("Reclaimable: ") +
                    ScanWording::freedWords(session_.reclaimableSizeBytes(project()->id),
                                            session_.reclaimableBytes(project()->id),
                                            reclaimableSharedWith(session_, items));
    // The list shows a project with those inside it; here the project stands alone.
    const qint64 branch = session_.branchReclaimableBytes().value(project()->id);
    if (branch > session_.reclaimableBytes(project()->id))
        space += QStringLiteral(" · %1 with the projects inside it").arg(formatBytes(branch));
    space_->setText(space);

    const TrashPlan plan = session_.trashPlan(TrashScope::forProject(*project()));
    const auto count = plan.urls().size();
    ticked_->setText(count == 0 ? QStringLiteral("Nothing ticked")
                                : QStringLiteral("%1 ticked, %2")
                                      .arg(count == 1 ? QStringLiteral("1 item")
                                                      : QStringLiteral("%1 items").arg(count),
                                           formatBytes(plan.totalBytes())));
    trashButton_->setEnabled(count > 0 && !session_.isTrashing());
}

bool ProjectDetailView::showsWholeProjectWarning() const {
    return !warningBox_->isHidden();
}

QString ProjectDetailView::tickedText() const {
    return ticked_->text();
}

bool ProjectDetailView::showsKeptNote() const {
    return !keptNote_->isHidden();
}

QString ProjectDetailView::keptNoteText() const {
    return keptNote_->text();
}

std::unique_ptr<QMenu> ProjectDetailView::itemMenu(const QModelIndex& index) {
    if (!index.isValid())
        return nullptr;
    auto menu = std::make_unique<QMenu>(this);
    const QString url = index.siblingAtColumn(0).data(ProjectItemsModel::urlRole).toString();
    const bool whole = project() && url == project()->url;
    ItemContextMenu::addPathEntries(*menu, {url}, this);
    menu->addSeparator();
    KeepMenu::addEntry(*menu, session_, url,
                       whole ? KeepMenu::Subject::project : KeepMenu::Subject::folder, this);
    return menu;
}

QString ProjectDetailView::spaceText() const {
    return space_->text();
}

} // namespace corvane
