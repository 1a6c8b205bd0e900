#pragma once

#include <QStyledItemDelegate>

namespace corvane {

// Draws a size cell as a bar in proportion to the largest row (read from `fractionRole`) with
// the formatted size beside it, so the big projects stand out while scrolling.
class SizeBarDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    SizeBarDelegate(int fractionRole, QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    int fractionRole_;
};

} // namespace corvane
