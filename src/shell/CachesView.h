#pragma once

#include "scanning/GlobalCachesModel.h"
#include "shell/CachesTableModel.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QStackedLayout;
class QTreeView;

namespace corvane {

class FailuresPanel;

// The developer caches outside the projects: what each holds and how large it is, with tick
// boxes (nothing ticked by default), "Rescan caches" and "Move to Trash" for the ticked ones (the
// Delete key too), and what the last trash action could not move.
class CachesView : public QWidget {
    Q_OBJECT

public:
    static const QString introText;
    static const QString emptyText;

    explicit CachesView(GlobalCachesModel& caches, QWidget* parent = nullptr);

    CachesTableModel& model() { return *model_; }
    QTreeView* listView() const { return list_; }
    QPushButton* trashButton() const { return trashButton_; }
    QPushButton* rescanButton() const { return rescanButton_; }
    bool showsEmptyState() const;
    QString tickedText() const;

    // Asks (in a sheet that lists them) to move the ticked caches to the Trash, and moves exactly
    // what the sheet showed if the user agrees. Nothing happens while a removal runs.
    void confirmTrash();
    FailuresPanel* failuresPanel() const { return failures_; }

protected:
    // The caches are listed and measured the first time the view is shown, not at start-up:
    // measuring them reads large folders the user may never look at.
    void showEvent(QShowEvent* event) override;

private:
    void showState();

    GlobalCachesModel& caches_;
    CachesTableModel* model_;
    QTreeView* list_;
    QLabel* empty_;
    QLabel* ticked_;
    QStackedLayout* body_;
    QPushButton* rescanButton_;
    QPushButton* trashButton_;
    FailuresPanel* failures_;
    bool scanRequested_ = false;
};

} // namespace corvane
