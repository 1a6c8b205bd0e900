#include "shell/AgentsView.h"

#include "platform/PlatformWords.h"
#include "platform/Workspace.h"
#include "shell/ActivityWords.h"
#include "shell/AgentStorageView.h"
#include "shell/FilterBar.h"
#include "shell/InventoryWidgets.h"
#include "shell/ListFinder.h"
#include "shell/PageLayout.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QPushButton>
#include <QStackedLayout>
#include <QTabWidget>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>

namespace corvane {
namespace {

enum Column { nameColumn, whenColumn, sourceColumn };
enum Role { revealRole = Qt::UserRole, resumeRole };

std::optional<QDateTime> latestOf(const QList<AgentActivity>& activities) {
    std::optional<QDateTime> latest;
    for (const AgentActivity& activity : activities) {
        for (const AgentSession& session : activity.sessions) {
            if (session.updatedAt && (!latest || *session.updatedAt > *latest))
                latest = session.updatedAt;
        }
        for (const AgentWorkspace& workspace : activity.workspaces) {
            if (workspace.lastUsedAt && (!latest || *workspace.lastUsedAt > *latest))
                latest = workspace.lastUsedAt;
        }
    }
    return latest;
}

QString counted(qsizetype count, const char* one, const char* many) {
    return QStringLiteral("%1 %2").arg(count).arg(QLatin1String(count == 1 ? one : many));
}

QString summaryOf(qsizetype sessions, qsizetype workspaces) {
    QStringList parts;
    if (sessions > 0)
        parts.append(counted(sessions, "session", "sessions"));
    if (workspaces > 0)
        parts.append(counted(workspaces, "editor workspace", "editor workspaces"));
    return parts.join(QStringLiteral(", "));
}

// Where a session comes from: the agent, or the Claude desktop app when it continues one there.
QString sourceOf(const AgentSession& session) {
    if (session.agent == AgentKind::claudeCode && session.desktopID)
        return QStringLiteral("Claude desktop");
    return displayName(session.agent);
}

void setWhen(QTreeWidgetItem* row, const std::optional<QDateTime>& date, const QDateTime& now) {
    if (!date)
        return;
    row->setText(whenColumn, activityWords(*date, now));
    row->setData(whenColumn, ListOrder::sortKeyRole, *date);
    row->setToolTip(whenColumn, QLocale().toString(date->toLocalTime(), QLocale::LongFormat));
}

void addActivity(QTreeWidgetItem* project, const AgentActivity& activity, const QDateTime& now) {
    auto* agent = new QTreeWidgetItem(project);
    agent->setText(nameColumn, displayName(activity.agent));
    agent->setText(sourceColumn, summaryOf(activity.sessions.size(), activity.workspaces.size()));
    setWhen(agent, latestOf({activity}), now);
    for (const AgentSession& session : activity.sessions) {
        auto* row = new QTreeWidgetItem(agent);
        row->setText(nameColumn, session.title.value_or(QStringLiteral("Untitled session")));
        row->setToolTip(nameColumn, session.cwd);
        row->setData(nameColumn, revealRole, session.file);
        row->setData(nameColumn, resumeRole, resumeCommand(session).value_or(QString()));
        setWhen(row, session.updatedAt, now);
        QString source = sourceOf(session);
        if (activity.parentFolderSessionIDs.contains(session.id) && activity.parentFolderName)
            source += QStringLiteral(", ran in the enclosing folder “%1”")
                          .arg(*activity.parentFolderName);
        row->setText(sourceColumn, source);
    }
    for (const AgentWorkspace& workspace : activity.workspaces) {
        auto* row = new QTreeWidgetItem(agent);
        row->setText(nameColumn, workspace.appName + QStringLiteral(" workspace"));
        row->setToolTip(nameColumn, workspace.folder);
        row->setData(nameColumn, revealRole, workspace.storageFolder);
        setWhen(row, workspace.lastUsedAt, now);
        row->setText(sourceColumn, workspace.appName);
    }
}

} // namespace

const QString AgentsView::introText = QStringLiteral(
    "What coding agents and editors keep for the projects of this scan: Claude Code and Codex "
    "sessions, and Cursor, VS Code and Antigravity workspaces. When a project moves, this history "
    "moves with it.");
const QString AgentsView::emptyText =
    QStringLiteral("No coding-agent history for the projects of this scan.");
const QString AgentsView::noScanText =
    QStringLiteral("Scan a folder to see the coding-agent history of its projects.");
const QString AgentsView::loadingText = QStringLiteral("Reading coding-agent history…");

AgentsView::AgentsView(AgentsModel& agents, const ScanSession& session, QWidget* parent,
                       AgentStorageModel* storage)
    : QWidget(parent)
    , agents_(agents)
    , session_(session)
    , tree_(new QTreeWidget(this))
    , state_(new QLabel(this))
    , loadProblems_(new QLabel(this))
    , body_(new QStackedLayout)
    , reloadButton_(new QPushButton(QStringLiteral("Reload"), this))
    , revealButton_(new QPushButton(PlatformWords::here().revealInFileManager, this))
    , copyResumeButton_(new QPushButton(QStringLiteral("Copy Resume Command"), this))
    , revealer_([](const QString& path) { Workspace::reveal({path}); }) {

    tree_->setObjectName(QStringLiteral("agentsTree"));
    tree_->setAccessibleName(QStringLiteral("Coding-agent sessions"));
    tree_->setColumnCount(3);
    tree_->setHeaderLabels({QStringLiteral("Project, agent and session"),
                            QStringLiteral("Last active"), QStringLiteral("From")});
    tree_->setUniformRowHeights(true);
    tree_->setAlternatingRowColors(true);
    tree_->header()->setStretchLastSection(false);
    tree_->header()->setSectionResizeMode(nameColumn, QHeaderView::Stretch);
    tree_->header()->setSectionResizeMode(whenColumn, QHeaderView::ResizeToContents);
    tree_->header()->setSectionResizeMode(sourceColumn, QHeaderView::ResizeToContents);
    state_->setObjectName(QStringLiteral("agentsState"));
    state_->setAlignment(Qt::AlignCenter);
    state_->setForegroundRole(QPalette::PlaceholderText);
    body_->addWidget(tree_);
    body_->addWidget(state_);
    InventoryWidgets::setUpFailuresLabel(*loadProblems_, QStringLiteral("loadProblems"));
    reloadButton_->setObjectName(QStringLiteral("reloadAgents"));

    revealButton_->setObjectName(QStringLiteral("revealAgentRecord"));
    copyResumeButton_->setObjectName(QStringLiteral("copyResumeCommand"));
    copyResumeButton_->setToolTip(
        QStringLiteral("Copies the command that continues this session in a terminal"));

    auto* footer = new QHBoxLayout;
    footer->addWidget(reloadButton_);
    footer->addStretch();
    footer->addWidget(revealButton_);
    footer->addWidget(copyResumeButton_);
    auto* filter = new FilterBar(QStringLiteral("Filter by project, agent or session"), this);
    ListFinder::attach(*tree_, filter, QStringLiteral("agents"));
    auto* sessionsBody = new QVBoxLayout;
    sessionsBody->addWidget(filter);
    sessionsBody->addLayout(body_, 1);
    sessionsBody->addWidget(loadProblems_);
    if (storage) {
        // Sessions and storage side by side: the one page of the agents' data.
        auto* sessions = new QWidget(this);
        auto* sessionsLayout = new QVBoxLayout(sessions);
        sessionsLayout->setContentsMargins(0, 0, 0, 0);
        sessionsLayout->addLayout(sessionsBody, 1);
        sessionsLayout->addLayout(footer);
        storageView_ = new AgentStorageView(*storage, this);
        tabs_ = new QTabWidget(this);
        tabs_->setObjectName(QStringLiteral("agentsTabs"));
        tabs_->setDocumentMode(true);
        tabs_->addTab(sessions, QStringLiteral("Sessions"));
        tabs_->addTab(storageView_, QStringLiteral("Storage"));
        auto* body = new QVBoxLayout;
        body->addWidget(tabs_);
        layOutPage(*this, QStringLiteral("Coding agents"), introText, body, new QHBoxLayout);
        connect(tabs_, &QTabWidget::currentChanged, storage, [this, storage](int index) {
            if (tabs_->widget(index) == storageView_ && !storage->hasLoaded() &&
                !storage->isLoading())
                storage->reload();
        });
    } else {
        layOutPage(*this, QStringLiteral("Coding agents"), introText, sessionsBody, footer);
    }

    refreshTimer_.setSingleShot(true);
    refreshTimer_.setInterval(100);
    connect(&refreshTimer_, &QTimer::timeout, this, &AgentsView::showHistory);
    const auto refreshSoon = [this] {
        if (!refreshTimer_.isActive())
            refreshTimer_.start();
    };
    connect(reloadButton_, &QPushButton::clicked, &agents_, &AgentsModel::reload);
    connect(tree_, &QTreeWidget::currentItemChanged, this, &AgentsView::updateActions);
    connect(revealButton_, &QPushButton::clicked, this, [this] {
        if (const QTreeWidgetItem* row = tree_->currentItem(); row && !revealPath(*row).isEmpty())
            revealer_(revealPath(*row));
    });
    connect(copyResumeButton_, &QPushButton::clicked, this, [this] {
        if (const QTreeWidgetItem* row = tree_->currentItem())
            copyResumeCommand(*row);
    });
    tree_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(tree_, &QWidget::customContextMenuRequested, this, [this](const QPoint& point) {
        const QTreeWidgetItem* row = tree_->itemAt(point);
        if (const std::unique_ptr<QMenu> menu = row ? menuFor(*row) : nullptr)
            menu->exec(tree_->viewport()->mapToGlobal(point));
    });
    connect(&agents_, &AgentsModel::historyChanged, this, refreshSoon);
    connect(&agents_, &InventoryModel::isLoadingChanged, this, refreshSoon);
    connect(&session_, &ScanSession::projectsChanged, this, refreshSoon);
    showHistory();
}

void AgentsView::showStorage(bool storage) {
    if (tabs_)
        tabs_->setCurrentIndex(storage ? 1 : 0);
}

QString AgentsView::revealPath(const QTreeWidgetItem& row) {
    return row.data(nameColumn, revealRole).toString();
}

QString AgentsView::resumeCommandOf(const QTreeWidgetItem& row) {
    return row.data(nameColumn, resumeRole).toString();
}

std::unique_ptr<QMenu> AgentsView::menuFor(const QTreeWidgetItem& row) {
    const QString path = revealPath(row);
    const QString command = resumeCommandOf(row);
    if (path.isEmpty() && command.isEmpty())
        return nullptr;
    auto menu = std::make_unique<QMenu>(this);
    if (!path.isEmpty())
        menu->addAction(PlatformWords::here().revealInFileManager, this,
                        [this, path] { revealer_(path); });
    // The tree may be rebuilt while the menu is open: the actions hold texts, not rows.
    if (!command.isEmpty())
        menu->addAction(QStringLiteral("Copy Resume Command"), this,
                        [command] { QGuiApplication::clipboard()->setText(command); });
    return menu;
}

void AgentsView::copyResumeCommand(const QTreeWidgetItem& row) {
    const QString command = resumeCommandOf(row);
    if (!command.isEmpty())
        QGuiApplication::clipboard()->setText(command);
}

void AgentsView::updateActions() {
    const QTreeWidgetItem* row = tree_->currentItem();
    revealButton_->setEnabled(row && !revealPath(*row).isEmpty());
    copyResumeButton_->setEnabled(row && !resumeCommandOf(*row).isEmpty());
}

QString AgentsView::stateText() const {
    return body_->currentWidget() == state_ ? state_->text() : QString();
}

void AgentsView::showHistory() {
    reloadButton_->setEnabled(!agents_.isLoading());
    struct Entry {
        Project project;
        QList<AgentActivity> activities;
        std::optional<QDateTime> latest;
    };
    QList<Entry> entries;
    for (const Project& project : session_.projects()) {
        QList<AgentActivity> activities = agents_.activities(project.url);
        if (!activities.isEmpty())
            entries.append({project, activities, latestOf(activities)});
    }
    std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        return a.latest.value_or(QDateTime()) > b.latest.value_or(QDateTime());
    });

    tree_->clear();
    const QDateTime now = QDateTime::currentDateTime();
    for (const Entry& entry : std::as_const(entries)) {
        auto* project = new QTreeWidgetItem(tree_);
        project->setText(nameColumn, entry.project.name);
        project->setToolTip(nameColumn, entry.project.url);
        QFont bold = project->font(nameColumn);
        bold.setBold(true);
        project->setFont(nameColumn, bold);
        setWhen(project, entry.latest, now);
        qsizetype sessions = 0;
        qsizetype workspaces = 0;
        for (const AgentActivity& activity : entry.activities) {
            sessions += activity.sessions.size();
            workspaces += activity.workspaces.size();
            addActivity(project, activity, now);
        }
        project->setText(sourceColumn, summaryOf(sessions, workspaces));
    }
    tree_->expandToDepth(1);
    updateActions();

    QString state;
    if (session_.projects().isEmpty() && !session_.isScanning())
        state = noScanText;
    else if (entries.isEmpty())
        state = agents_.isLoading() || !agents_.hasLoaded() ? loadingText : emptyText;
    state_->setText(state);
    body_->setCurrentWidget(state.isEmpty() ? static_cast<QWidget*>(tree_) : state_);
    InventoryWidgets::showMessages(
        *loadProblems_, agents_.loadProblems(),
        QStringLiteral("Not all history could be read, so some sessions may be missing:"));
}

} // namespace corvane
