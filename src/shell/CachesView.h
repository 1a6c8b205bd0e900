#pragma once

#include "scanning/ScanSession.h"
#include "shell/CachesModel.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QStackedLayout;
class QTreeView;

namespace corvane {

// The developer caches outside the projects: what each holds and how large it is, with tick
// boxes (nothing ticked by default), "Rescan caches" and "Move to Trash" for the ticked ones.
class CachesView : public QWidget {
    Q_OBJECT

public:
    static const QString introText;
    static const QString emptyText;

    explicit CachesView(ScanSession& session, QWidget* parent = nullptr);

    CachesModel& model() { return *model_; }
    QTreeView* listView() const { return list_; }
    QPushButton* trashButton() const { return trashButton_; }
    QPushButton* rescanButton() const { return rescanButton_; }
    bool showsEmptyState() const;
    QString tickedText() const;

signals:
    void trashRequested(const corvane::TrashScope& scope);

protected:
    // The caches are listed and measured the first time the view is shown, not at start-up:
    // measuring them reads large folders the user may never look at.
    void showEvent(QShowEvent* event) override;

private:
    void showState();

    ScanSession& session_;
    CachesModel* model_;
    QTreeView* list_;
    QLabel* empty_;
    QLabel* ticked_;
    QStackedLayout* body_;
    QPushButton* rescanButton_;
    QPushButton* trashButton_;
    bool scanRequested_ = false;
};

} // namespace corvane
