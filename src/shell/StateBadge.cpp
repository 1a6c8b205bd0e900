#include "shell/StateBadge.h"

#include <QHash>
#include <QPainter>
#include <QPixmap>

namespace corvane {

QColor stateColor(const GitStatus& status) {
    switch (status.kind()) {
    case GitStatus::Case::fullySynced:
        return QColor(0x34, 0xc7, 0x59);
    case GitStatus::Case::dirty:
    case GitStatus::Case::aheadOfRemote:
        return QColor(0xff, 0x95, 0x00);
    case GitStatus::Case::noRemote:
    case GitStatus::Case::noUpstream:
    case GitStatus::Case::upstreamGone:
        return QColor(0xff, 0xcc, 0x00);
    case GitStatus::Case::notARepo:
        break;
    }
    return QColor(0x8e, 0x8e, 0x93);
}

QIcon stateIcon(const GitStatus& status) {
    static QHash<QRgb, QIcon> icons;
    const QColor color = stateColor(status);
    if (const auto found = icons.constFind(color.rgb()); found != icons.cend())
        return *found;
    QIcon icon;
    // Drawn at twice the size too, so the badge stays crisp on Retina screens.
    for (const int side : {16, 32}) {
        QPixmap pixmap(side, side);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        const qreal inset = side * 0.28;
        painter.drawEllipse(QRectF(inset, inset, side - 2 * inset, side - 2 * inset));
        icon.addPixmap(pixmap);
    }
    icons.insert(color.rgb(), icon);
    return icon;
}

} // namespace corvane
