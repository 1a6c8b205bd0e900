#include "shell/AppIcon.h"

#include <QBuffer>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QtEndian>
#include <array>

namespace corvane {
namespace {

struct IcnsSlot {
    const char type[5];
    int side;
};

// The slots the system's own icon tools fill, each with its pixel size.
constexpr std::array<IcnsSlot, 10> icnsSlots{{{"icp4", 16},
                                              {"icp5", 32},
                                              {"ic11", 32},
                                              {"ic12", 64},
                                              {"ic07", 128},
                                              {"ic13", 256},
                                              {"ic08", 256},
                                              {"ic14", 512},
                                              {"ic09", 512},
                                              {"ic10", 1024}}};

void appendBigEndian(QByteArray& data, quint32 value) {
    std::array<uchar, 4> bytes{};
    qToBigEndian(value, bytes.data());
    data.append(reinterpret_cast<const char*>(bytes.data()), 4);
}

QByteArray pngOf(const QImage& image) {
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    return image.save(&buffer, "PNG") ? png : QByteArray();
}

// A sparkle: four pointed arms around `centre`.
QPainterPath sparkle(QPointF centre, qreal radius) {
    QPainterPath path;
    const qreal waist = radius * 0.22;
    path.moveTo(centre.x(), centre.y() - radius);
    path.quadTo(centre.x() + waist, centre.y() - waist, centre.x() + radius, centre.y());
    path.quadTo(centre.x() + waist, centre.y() + waist, centre.x(), centre.y() + radius);
    path.quadTo(centre.x() - waist, centre.y() + waist, centre.x() - radius, centre.y());
    path.quadTo(centre.x() - waist, centre.y() - waist, centre.x(), centre.y() - radius);
    return path;
}

} // namespace

QImage paintAppIcon(int side) {
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(side / 1024.0, side / 1024.0);

    // The body sits on the platform's icon grid: 824 of 1024 units, with a soft shadow below.
    const QRectF body(100, 100, 824, 824);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 40));
    painter.drawRoundedRect(body.translated(0, 12), 185, 185);
    QLinearGradient fill(body.topLeft(), body.bottomLeft());
    fill.setColorAt(0, QColor(0x2f, 0xc6, 0xa4));
    fill.setColorAt(1, QColor(0x17, 0x6a, 0xd6));
    painter.setBrush(fill);
    painter.drawRoundedRect(body, 185, 185);

    // A "C" opening to the upper right, with a sparkle where the space was given back.
    QPen stroke(Qt::white, 104, Qt::SolidLine, Qt::RoundCap);
    painter.setPen(stroke);
    painter.setBrush(Qt::NoBrush);
    painter.drawArc(QRectF(262, 262, 500, 500), 78 * 16, 237 * 16);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawPath(sparkle(QPointF(742, 300), 102));
    painter.drawPath(sparkle(QPointF(842, 448), 46));
    painter.end();
    return image;
}

QIcon appIcon() {
    static const QIcon icon = [] {
        QIcon made;
        for (const int side : {16, 32, 64, 128, 256, 512})
            made.addPixmap(QPixmap::fromImage(paintAppIcon(side)));
        return made;
    }();
    return icon;
}

QByteArray icnsData() {
    QByteArray entries;
    for (const IcnsSlot& slot : icnsSlots) {
        const QByteArray png = pngOf(paintAppIcon(slot.side));
        if (png.isEmpty())
            return {};
        entries.append(slot.type, 4);
        appendBigEndian(entries, static_cast<quint32>(png.size() + 8));
        entries.append(png);
    }
    QByteArray file("icns");
    appendBigEndian(file, static_cast<quint32>(entries.size() + 8));
    file.append(entries);
    return file;
}

} // namespace corvane
