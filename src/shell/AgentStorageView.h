#pragma once

#include "agents/AgentStorageModel.h"
#include "shell/AgentStorageTreeModel.h"

#include <QModelIndex>
#include <QWidget>

class QLabel;
class QPushButton;
class QTreeView;

namespace corvane {

class ConfirmationSheet;

// What the coding agents keep on disk, per agent and per project: each session, workspace and
// store with its size, its kind and why, ticked when nobody can use it any more. The ticked rows
// go to the Trash after a confirmation that lists them.
class AgentStorageView : public QWidget {
    Q_OBJECT

public:
    static inline const QString olderThanTitle = QStringLiteral("Tick Older Than 90 Days");
    static constexpr int olderThanDays = 90;

    explicit AgentStorageView(AgentStorageModel& model, QWidget* parent = nullptr);

    QTreeView* tree() const { return tree_; }
    // The line of the tree that stands for the store row `id`, if listed.
    QModelIndex indexOf(const QString& id, int column = AgentStorageTreeModel::nameColumn) const;
    // Asks before moving the ticked rows to the Trash; the box is returned for tests.
    ConfirmationSheet* confirmTrash();

private:
    void showTicks();
    void showFailures();

    AgentStorageModel& model_;
    AgentStorageTreeModel* rows_;
    QTreeView* tree_;
    QLabel* summary_;
    QLabel* failures_;
    QPushButton* olderButton_;
    QPushButton* trashButton_;
};

} // namespace corvane
