#pragma once

#include "agents/AgentStorageModel.h"

#include <QHash>
#include <QSet>
#include <QWidget>

class QLabel;
class QMessageBox;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

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

    QTreeWidget* tree() const { return tree_; }
    // The row of the tree that stands for the store row `id`, if shown.
    QTreeWidgetItem* itemFor(const QString& id) const { return itemByID_.value(id); }
    // Asks before moving the ticked rows to the Trash; the box is returned for tests.
    ConfirmationSheet* confirmTrash();

private:
    void showStore();
    void showTicks();
    void showFailures();

    AgentStorageModel& model_;
    QTreeWidget* tree_;
    QLabel* summary_;
    QLabel* failures_;
    QPushButton* olderButton_;
    QPushButton* trashButton_;
    QHash<QString, QTreeWidgetItem*> itemByID_;
    // The ticks the tree shows, so that a change touches only the rows it changes.
    QSet<QString> shownTicks_;
    bool filling_ = false;
};

} // namespace corvane
