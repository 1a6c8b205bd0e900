#include "shell/DiskMapCanvas.h"

#include "platform/ByteFormat.h"
#include "shell/TreemapLayout.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

namespace corvane {
namespace {

// Room below a folder's name for what it holds; smaller folders are drawn whole.
constexpr double nestingMinimum = 28;
constexpr double padding = 3;
// A folder smaller than this on screen joins its parent's rest: nobody can point at it, and a
// home folder would otherwise mean tens of thousands of cells to draw.
constexpr double smallestCellArea = 120;

} // namespace

const QString DiskMapCanvas::restName = QStringLiteral("Files and small folders");

DiskMapCanvas::DiskMapCanvas(const DiskMapModel& model, QWidget* parent)
    : QWidget(parent)
    , model_(model) {
    setObjectName(QStringLiteral("diskMapCanvas"));
    setMouseTracking(true);
    setMinimumSize(240, 160);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAccessibleName(QStringLiteral("Disk map"));
}

QColor DiskMapCanvas::colourOf(MapCategory category) {
    switch (category) {
    case MapCategory::dependencies:
        return QColor(0xF2, 0xA1, 0x4E);
    case MapCategory::buildOutput:
        return QColor(0xA9, 0x8A, 0xE0);
    case MapCategory::projectCache:
        return QColor(0xEE, 0xCB, 0x55);
    case MapCategory::virtualEnv:
        return QColor(0x73, 0xC4, 0x86);
    case MapCategory::developerCache:
        return QColor(0x5E, 0x9F, 0xE3);
    case MapCategory::agentHistory:
        return QColor(0xE3, 0x7F, 0xB0);
    case MapCategory::aiModels:
        return QColor(0xE0, 0x6C, 0x66);
    case MapCategory::other:
        break;
    }
    return QColor(0xB4, 0xBC, 0xC6);
}

void DiskMapCanvas::setFocus(FolderID folder) {
    focus_ = folder;
    relayout();
}

void DiskMapCanvas::relayout() {
    cells_.clear();
    if (!model_.node(focus_))
        focus_ = DiskMapModel::rootFolder;
    if (model_.node(focus_))
        layOut(focus_, QRectF(rect()).adjusted(1, 1, -1, -1), 1);
    const qreal ratio = devicePixelRatioF();
    picture_ = QPixmap(size() * ratio);
    picture_.setDevicePixelRatio(ratio);
    picture_.fill(palette().color(QPalette::Base));
    QPainter painter(&picture_);
    painter.setFont(font());
    for (const Cell& cell : cells_)
        paintCell(painter, cell);
    update();
}

void DiskMapCanvas::layOut(FolderID folder, const QRectF& rect, int depth) {
    const DiskMapModel::Node* node = model_.node(folder);
    const QList<FolderID> children = model_.childrenBySize(folder, maxShownChildren);
    QList<qint64> sizes;
    qint64 shown = 0;
    const double pixelsPerByte =
        node->bytes > 0 ? rect.width() * rect.height() / static_cast<double>(node->bytes) : 0;
    for (const FolderID child : children) {
        const qint64 bytes = model_.node(child)->bytes;
        if (static_cast<double>(bytes) * pixelsPerByte < smallestCellArea)
            break;
        sizes.append(bytes);
        shown += bytes;
    }
    // The rest takes its place by size among the folders, as the layout wants them largest first.
    const qint64 rest = node->bytes - shown;
    qsizetype restAt = 0;
    while (restAt < sizes.size() && sizes[restAt] >= rest)
        ++restAt;
    if (rest > 0)
        sizes.insert(restAt, rest);
    const QList<QRectF> rects = Treemap::squarify(sizes, rect);
    const int header = fontMetrics().height() + 4;
    for (qsizetype i = 0; i < rects.size(); ++i) {
        const QRectF& r = rects[i];
        // Too small to see or point at: it is part of the whole, not a cell of its own.
        if (r.width() < 1 || r.height() < 1)
            continue;
        Cell cell;
        cell.rect = r;
        cell.owner = folder;
        cell.depth = depth;
        cell.bytes = sizes[i];
        if (rest > 0 && i == restAt) {
            cell.category = node->category;
            cell.name = restName;
            cells_.append(cell);
            continue;
        }
        const FolderID child = children[rest > 0 && i > restAt ? i - 1 : i];
        const DiskMapModel::Node* childNode = model_.node(child);
        cell.folder = child;
        cell.category = childNode->category;
        cell.name = childNode->name;
        cell.hasChildren = !childNode->children.empty();
        cells_.append(cell);
        const QRectF inner = r.adjusted(padding, header, -padding, -padding);
        if (depth < maxDepth && cell.hasChildren && inner.width() >= nestingMinimum &&
            inner.height() >= nestingMinimum)
            layOut(child, inner, depth + 1);
    }
}

const DiskMapCanvas::Cell* DiskMapCanvas::cellAt(const QPointF& point) const {
    for (auto cell = cells_.crbegin(); cell != cells_.crend(); ++cell) {
        if (cell->rect.contains(point))
            return &*cell;
    }
    return nullptr;
}

QString DiskMapCanvas::describe(const Cell& cell) const {
    const QString size = formatBytes(cell.bytes);
    if (!cell.folder)
        return QStringLiteral("%1 in %2: %3").arg(restName, model_.pathOf(cell.owner), size);
    const DiskMapModel::Node* node = model_.node(*cell.folder);
    const bool measuring = node && !node->isMeasured;
    return QStringLiteral("%1: %2%3")
        .arg(model_.pathOf(*cell.folder), size,
             measuring ? QStringLiteral(" so far (measuring…)") : QString());
}

void DiskMapCanvas::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().base());
    if (cells_.isEmpty()) {
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(rect(), Qt::AlignCenter,
                         model_.isLoading() ? QStringLiteral("Measuring…")
                                            : QStringLiteral("Nothing to show"));
        return;
    }
    painter.drawPixmap(0, 0, picture_);
    if (pointer_) {
        if (const Cell* hovered = cellAt(*pointer_)) {
            painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
            painter.setBrush(Qt::NoBrush);
            painter.drawRect(hovered->rect.adjusted(1, 1, -1, -1));
        }
    }
}

void DiskMapCanvas::paintCell(QPainter& painter, const Cell& cell) const {
    const QColor base = colourOf(cell.category).lighter(100 + 14 * (cell.depth - 1));
    const QRectF r = cell.rect.adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(palette().color(QPalette::Base), 1));
    painter.setBrush(cell.folder ? base : base.lighter(125));
    painter.drawRect(r);
    if (!cell.folder) {
        // The rest is hatched: it is not one folder and cannot be opened.
        painter.setBrush(QBrush(base.darker(125), Qt::BDiagPattern));
        painter.setPen(Qt::NoPen);
        painter.drawRect(r);
    }
    const QFontMetrics metrics = fontMetrics();
    if (r.width() < 60 || r.height() < metrics.height() + 2)
        return;
    const QRectF text = r.adjusted(4, 2, -4, 0);
    painter.setPen(QColor(0x1D, 0x1D, 0x1F));
    painter.drawText(text, Qt::AlignLeft | Qt::AlignTop,
                     labelFor(cell.name, cell.bytes, metrics, static_cast<int>(text.width())));
}

QString DiskMapCanvas::labelFor(const QString& name, qint64 bytes, const QFontMetrics& metrics,
                                int width) {
    const QString size = QStringLiteral("  ") + formatBytes(bytes);
    if (metrics.horizontalAdvance(name + size) <= width)
        return name + size;
    // A few letters of the name are worth more than its size: the hover tells the size.
    const int nameRoom = width - metrics.horizontalAdvance(size);
    if (nameRoom >= metrics.horizontalAdvance(name.left(4) + u'…'))
        return metrics.elidedText(name, Qt::ElideRight, nameRoom) + size;
    return metrics.elidedText(name, Qt::ElideRight, width);
}

void DiskMapCanvas::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    relayout();
}

void DiskMapCanvas::updateHover(const QPointF& point) {
    pointer_ = point;
    const Cell* cell = cellAt(point);
    emit hoverChanged(cell ? describe(*cell) : QString());
    update();
}

void DiskMapCanvas::mouseMoveEvent(QMouseEvent* event) {
    updateHover(event->position());
}

void DiskMapCanvas::leaveEvent(QEvent* event) {
    QWidget::leaveEvent(event);
    pointer_.reset();
    emit hoverChanged(QString());
    update();
}

void DiskMapCanvas::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    const Cell* cell = cellAt(event->position());
    if (!cell)
        return;
    // A folder with subfolders opens; a folder without them, or the rest, opens what holds it.
    const FolderID target = cell->folder && cell->hasChildren ? *cell->folder : cell->owner;
    if (target != focus_)
        emit zoomRequested(target);
}

void DiskMapCanvas::contextMenuEvent(QContextMenuEvent* event) {
    const Cell* cell = cellAt(event->pos());
    if (!cell)
        return;
    emit menuRequested(cell->folder ? *cell->folder : cell->owner, event->globalPos());
}

bool DiskMapCanvas::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        if (const Cell* cell = cellAt(help->pos()))
            QToolTip::showText(help->globalPos(), describe(*cell), this);
        else
            QToolTip::hideText();
        return true;
    }
    return QWidget::event(event);
}

} // namespace corvane
