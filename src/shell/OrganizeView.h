#pragma once

#include "organize/OrganizeModel.h"
#include "shell/ConfirmationSheet.h"

#include <QWidget>

class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QTreeWidget;

namespace corvane {

// The Organize page: where projects are gathered and how, the plan grouped by the folder each
// project goes to with the reason for every one that can't move, the run with its progress and
// outcome, the undo of the last run, and the agent history whose folder is gone.
class OrganizeView : public QWidget {
    Q_OBJECT

public:
    static const QString introText;

    explicit OrganizeView(OrganizeModel& model, QWidget* parent = nullptr);

    QTreeWidget* planTree() const { return plan_; }
    QTreeWidget* orphanList() const { return orphans_; }
    QPushButton* organizeButton() const { return organizeButton_; }
    QPushButton* undoButton() const { return undoButton_; }
    QLabel* outcomeLabel() const { return outcome_; }

    // Adds `folder` to the plan, or shows why it can't be (what "Add Folder…" does once the user
    // has chosen).
    void addFolder(const QString& folder);
    // Asks before organizing the ready projects, then runs.
    void confirmOrganize();
    void confirmUndo();
    // Relinks the history of the selected orphan to `folder`, after asking.
    void confirmRelink(const QString& folder);

private:
    void showChoices();
    void showPlan();
    void showState();
    QString shown(const QString& path) const;
    void showOrphans();
    void showProgress();
    void showOutcome();
    void updateButtons();
    void chooseDestination();
    void chooseFolderToAdd();
    // Asks `text` in a sheet named `objectName` and calls `accepted` on "OK".
    // Asks in a sheet with Cancel the default, listing `groups` when there are any.
    void ask(const QString& objectName, const QString& text, const QString& informative,
             const QString& acceptTitle, std::function<void()> accepted,
             const QList<ConfirmationGroup>& groups = {});

    OrganizeModel& model_;
    QLabel* destination_;
    QComboBox* layout_;
    QTreeWidget* plan_;
    QTreeWidget* orphans_;
    QLabel* state_;
    QProgressBar* progress_;
    QLabel* outcome_;
    QPushButton* organizeButton_;
    QPushButton* undoButton_;
    QPushButton* addButton_;
    QPushButton* reloadButton_;
    QPushButton* stopButton_;
    QPushButton* relinkSuggestedButton_;
    QPushButton* relinkToButton_;
};

} // namespace corvane
