#pragma once

#include "platform/OverviewModel.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QTreeWidget;

namespace corvane {

// A stacked bar of where the reclaimable space is, one coloured segment per area, drawn with
// QPainter: a plain bar reads at a glance and needs no chart library.
class SpaceBar : public QWidget {
    Q_OBJECT

public:
    explicit SpaceBar(QWidget* parent = nullptr);
    void setSegments(const QList<std::pair<QString, qint64>>& segments);
    // The area whose segment lies under `x`, if any.
    QString areaAt(int x) const;
    static QColor colorOf(int index);

signals:
    void areaClicked(const QString& id);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    QList<std::pair<QString, qint64>> segments_;
};

// The Overview page: the disk's capacity and free space, what each area could give back (or why
// it has no number), what sits in the Trash, and the bar of where the space is. A click on an
// area opens it.
class OverviewView : public QWidget {
    Q_OBJECT

public:
    explicit OverviewView(OverviewModel& model, QWidget* parent = nullptr);

    QTreeWidget* list() const { return list_; }
    SpaceBar* bar() const { return bar_; }
    QLabel* diskLabel() const { return disk_; }
    QPushButton* diskMapButton() const { return diskMapButton_; }

signals:
    void areaRequested(const QString& id);
    // The map of the whole home folder.
    void diskMapRequested();

protected:
    // Every area is asked the first time the page is shown.
    void showEvent(QShowEvent* event) override;

private:
    void showOverview();

    OverviewModel& model_;
    QLabel* disk_;
    SpaceBar* bar_;
    QTreeWidget* list_;
    QPushButton* diskMapButton_;
    bool loaded_ = false;
};

} // namespace corvane
