#pragma once

#include "scanning/DiskMapModel.h"

#include <QColor>
#include <QList>
#include <QPixmap>
#include <QRectF>
#include <QWidget>
#include <optional>

namespace corvane {

// The treemap itself: the folder in focus fills the canvas, each subfolder a rectangle whose
// area is its share, nested a few levels deep while there is room, coloured by what the app
// knows of it. A folder's own files and its collapsed small folders share one hatched rectangle.
class DiskMapCanvas : public QWidget {
    Q_OBJECT

public:
    using FolderID = DiskMapModel::FolderID;

    struct Cell {
        QRectF rect;
        // The folder drawn, or nothing for the rest of `owner` (its files and small folders).
        std::optional<FolderID> folder;
        FolderID owner = 0;
        int depth = 1;
        MapCategory category = MapCategory::other;
        qint64 bytes = 0;
        QString name;
        bool hasChildren = false;
    };

    static constexpr int maxDepth = 3;
    // The most subfolders drawn in one folder; the rest join its hatched rectangle.
    static constexpr qsizetype maxShownChildren = 80;
    static const QString restName;

    explicit DiskMapCanvas(const DiskMapModel& model, QWidget* parent = nullptr);

    static QColor colourOf(MapCategory category);
    // What a cell `width` pixels wide says: its name and size while both fit, then the name cut
    // short beside the whole size, then the name alone. A size is never cut into.
    static QString labelFor(const QString& name, qint64 bytes, const QFontMetrics& metrics,
                            int width);

    FolderID focus() const { return focus_; }
    void setFocus(FolderID folder);
    // Lays the map out again from the model; the view calls it at most ten times a second.
    void relayout();
    // Parents before the folders inside them.
    const QList<Cell>& cells() const { return cells_; }
    // The innermost cell under `point`, if any.
    const Cell* cellAt(const QPointF& point) const;
    // Words for a cell: its path (or what it stands for) and its size.
    QString describe(const Cell& cell) const;

signals:
    // The innermost folder with subfolders under a click, to zoom into.
    void zoomRequested(corvane::DiskMapModel::FolderID folder);
    void hoverChanged(const QString& description);
    void menuRequested(corvane::DiskMapModel::FolderID folder, const QPoint& globalPosition);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool event(QEvent* event) override;

private:
    void layOut(FolderID folder, const QRectF& rect, int depth);
    void paintCell(QPainter& painter, const Cell& cell) const;

    void updateHover(const QPointF& point);

    const DiskMapModel& model_;
    FolderID focus_ = DiskMapModel::rootFolder;
    QList<Cell> cells_;
    // The cells drawn once per layout, so that moving the pointer only draws its outline.
    QPixmap picture_;
    // Where the pointer is, kept across layouts so the highlight follows the map as it grows.
    std::optional<QPointF> pointer_;
};

} // namespace corvane
