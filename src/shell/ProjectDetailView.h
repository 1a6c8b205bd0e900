#pragma once

#include "agents/AgentsModel.h"
#include "scanning/ScanSession.h"
#include "shell/ProjectItemsModel.h"

#include <QTimer>
#include <QWidget>
#include <memory>

class QLabel;
class QMenu;
class QPushButton;
class QStackedLayout;
class QTreeView;
class QTreeWidget;

namespace corvane {

// One project: its git state (branch, remote, what is not committed), how much coding-agent
// history it has, and its items with tick boxes, a warning when the whole project is offered,
// and "Move to Trash" for what is ticked. A kept project says so; an item's context menu marks it
// Keep or takes the mark off.
class ProjectDetailView : public QWidget {
    Q_OBJECT

public:
    // What git cannot bring back when a whole project goes.
    static const QString wholeProjectWarning;

    ProjectDetailView(ScanSession& session, const AgentsModel& agents, QWidget* parent = nullptr);

    void setProject(const std::optional<Project>& project);
    const std::optional<Project>& project() const { return items_->project(); }

    ProjectItemsModel& itemsModel() { return *items_; }
    QTreeView* itemsView() const { return itemsView_; }
    QPushButton* trashButton() const { return trashButton_; }
    bool showsWholeProjectWarning() const;
    QString agentHistoryText() const;
    QString tickedText() const;
    // The note of a kept project, or why the Keep marks cannot be read.
    static const QString keptText;
    bool showsKeptNote() const;
    QString keptNoteText() const;
    // The context menu of the item at `index` of the items view (the view pops it up).
    std::unique_ptr<QMenu> itemMenu(const QModelIndex& index);
    // What the project's reclaimable items occupy and free, e.g. "Reclaimable: 330 MB, frees
    // 12 MB: the rest is shared with pnpm's store".
    QString spaceText() const;

signals:
    // The user asks to move this project's ticked items to the Trash.
    void trashRequested(const corvane::TrashScope& scope);

private:
    QWidget* makeContent();
    QWidget* makeGitSection(QWidget* parent);
    void showGit();
    void showItemsState();
    void showAgentHistory();

    ScanSession& session_;
    const AgentsModel& agents_;
    ProjectItemsModel* items_;
    QStackedLayout* pages_ = nullptr;
    QWidget* content_ = nullptr;
    QLabel* title_ = nullptr;
    QLabel* path_ = nullptr;
    QLabel* keptNote_ = nullptr;
    QLabel* space_ = nullptr;
    QLabel* stateIcon_ = nullptr;
    QLabel* state_ = nullptr;
    QLabel* branch_ = nullptr;
    QLabel* remote_ = nullptr;
    QLabel* agentHistory_ = nullptr;
    QLabel* changesHeading_ = nullptr;
    QTreeWidget* changes_ = nullptr;
    QTreeView* itemsView_ = nullptr;
    QWidget* warningBox_ = nullptr;
    QLabel* warning_ = nullptr;
    QLabel* ticked_ = nullptr;
    QPushButton* trashButton_ = nullptr;
    QTimer refreshTimer_;
    // The git details on show (nothing known is a value too), to skip redrawing the same.
    std::optional<std::optional<GitDetails>> shownGit_;
};

} // namespace corvane
