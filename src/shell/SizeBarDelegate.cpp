#include "shell/SizeBarDelegate.h"

#include <QApplication>
#include <QPainter>

namespace corvane {
namespace {

constexpr int textWidth = 66;
constexpr int barHeight = 6;
constexpr int gap = 8;

} // namespace

SizeBarDelegate::SizeBarDelegate(int fractionRole, QObject* parent)
    : QStyledItemDelegate(parent)
    , fractionRole_(fractionRole) {}

void SizeBarDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const {
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    const QString text = cell.text;
    cell.text.clear();
    const QStyle* style = cell.widget ? cell.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &cell, painter, cell.widget);

    const bool selected = cell.state & QStyle::State_Selected;
    const QRect area = cell.rect.adjusted(gap / 2, 0, -gap / 2, 0);
    const QRect textRect(area.right() - textWidth, area.top(), textWidth, area.height());
    const QRect track(area.left(), area.center().y() - barHeight / 2,
                      std::max(0, area.width() - textWidth - gap), barHeight);
    const double fraction = std::clamp(index.data(fractionRole_).toDouble(), 0.0, 1.0);

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    QColor trackColor = cell.palette.color(QPalette::Text);
    trackColor.setAlphaF(0.08F);
    painter->setBrush(trackColor);
    painter->drawRoundedRect(track, barHeight / 2.0, barHeight / 2.0);
    if (fraction > 0 && track.width() > 0) {
        QRectF filled = track;
        // A tiny share still shows as a dot rather than vanishing.
        filled.setWidth(std::max<qreal>(barHeight, track.width() * fraction));
        painter->setBrush(
            cell.palette.color(selected ? QPalette::HighlightedText : QPalette::Highlight));
        painter->drawRoundedRect(filled, barHeight / 2.0, barHeight / 2.0);
    }
    painter->setPen(cell.palette.color(selected ? QPalette::HighlightedText : QPalette::Text));
    painter->setFont(cell.font);
    painter->drawText(textRect, Qt::AlignRight | Qt::AlignVCenter, text);
    painter->restore();
}

QSize SizeBarDelegate::sizeHint(const QStyleOptionViewItem& option,
                                const QModelIndex& index) const {
    QSize hint = QStyledItemDelegate::sizeHint(option, index);
    hint.setWidth(std::max(hint.width(), textWidth + gap + 80));
    return hint;
}

} // namespace corvane
