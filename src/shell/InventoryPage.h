#pragma once

#include "platform/InventoryModel.h"
#include "shell/ConfirmationSheet.h"

#include <QWidget>
#include <functional>

class QLabel;
class QPushButton;
class QStackedLayout;
class QTreeWidget;
class QTreeWidgetItem;
class QVBoxLayout;

namespace corvane {

class FilterBar;

// The frame every inventory page (Docker, simulators, AI models, Android) shares: a list of items
// under headings whose tick boxes tick the model's items, a line that stands in for the list while
// there is nothing to show, the failures of the last removal, a Reload button, and the question
// asked before a removal. The model is read the first time the page is shown, not at start-up.
class InventoryPage : public QWidget {
    Q_OBJECT

public:
    QTreeWidget* tree() const { return tree_; }
    FilterBar* filterBar() const { return filter_; }
    // The line shown in place of the list; empty while the list shows.
    QString stateText() const;

protected:
    // The names a page gives its parts; the list's rows carry the model's item identifier in
    // `idRole` of their first column.
    struct Parts {
        QString pageName;
        QString listName;
        QString listAccessibleName;
        QString stateName;
        QString failuresName;
        QStringList headers;
        int nameWidth = 300;
    };
    static constexpr int idRole = Qt::UserRole;

    InventoryPage(InventoryModel& model, const Parts& parts, QWidget* parent);

    // Lays the page out under `title` and `intro`: the list over the failures, and a footer with
    // Reload and `leading` on the left and `trailing` on the right.
    void layOut(const QString& title, const QString& intro, const QList<QPushButton*>& leading,
                const QList<QPushButton*>& trailing);
    // Clears the list and fills it through `fill`, whose ticks are not taken for the user's, then
    // shows the state.
    void refill(const std::function<void()>& fill);
    // Shows `state` in place of the list (the list when it is empty), the failures under
    // `failuresHeading`, and Reload unless a load runs.
    void showStateLine(const QString& state, const QString& failuresHeading);
    // Asks `question` in a sheet named `objectName` that lists the ticked rows under their
    // headings; `accepted` runs when `acceptTitle` is chosen. A permanent change warns. Cancel is
    // the default either way.
    enum class Change { reversible, permanent };
    void ask(Change change, const QString& objectName, const QString& title,
             const QString& question, const QString& informative, const QString& acceptTitle,
             std::function<void()> accepted);
    // The same over `groups` rather than the ticked rows.
    void ask(Change change, const ConfirmationText& text, const QList<ConfirmationGroup>& groups,
             std::function<void()> accepted);
    // The ticked rows of the list under their headings, with the bytes their size column holds.
    QList<ConfirmationGroup> tickedGroups() const;

    // Brings the buttons and the state line up to date with the model.
    virtual void showState() = 0;
    void showEvent(QShowEvent* event) override;

    QTreeWidget* tree_;
    QLabel* state_;
    // What stands in for the list: the state line, and whatever a page adds under it.
    QVBoxLayout* stateArea_;

private:
    void takeTick(QTreeWidgetItem* item, int column);

    InventoryModel& inventory_;
    QLabel* failures_;
    // What the last load could not read, so that a short list is never taken for all there is.
    QLabel* loadProblems_;
    QStackedLayout* body_;
    QPushButton* reload_;
    FilterBar* filter_;
    int nameWidth_;
    bool filling_ = false;
};

} // namespace corvane
