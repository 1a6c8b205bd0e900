#include "shell/TreemapLayout.h"

#include <algorithm>
#include <limits>

namespace corvane::Treemap {
namespace {

// The worst aspect ratio of a row of `areas` (total `sum`, smallest `least`, largest `most`)
// laid along a side of length `side`.
double worstRatio(double sum, double least, double most, double side) {
    if (sum <= 0 || least <= 0)
        return std::numeric_limits<double>::max();
    const double sideSquared = side * side;
    const double sumSquared = sum * sum;
    return std::max(sideSquared * most / sumSquared, sumSquared / (sideSquared * least));
}

// Places one row of `areas` (indices `first` to `last` exclusive) along the shorter side of
// `free`, and returns what is left of it.
QRectF placeRow(const QList<double>& areas, qsizetype first, qsizetype last, double sum,
                const QRectF& free, bool lastRow, QList<QRectF>& out) {
    const bool alongHeight = free.width() >= free.height();
    // The row's thickness across the shorter side; the last row takes whatever is left, so
    // rounding never leaves a sliver uncovered.
    const double side = alongHeight ? free.height() : free.width();
    double thickness = side > 0 ? sum / side : 0;
    if (lastRow)
        thickness = alongHeight ? free.width() : free.height();
    double offset = 0;
    for (qsizetype i = first; i < last; ++i) {
        double length = thickness > 0 ? areas[i] / thickness : 0;
        if (i == last - 1)
            length = side - offset;
        out[i] = alongHeight ? QRectF(free.left(), free.top() + offset, thickness, length)
                             : QRectF(free.left() + offset, free.top(), length, thickness);
        offset += length;
    }
    return alongHeight ? free.adjusted(thickness, 0, 0, 0) : free.adjusted(0, thickness, 0, 0);
}

} // namespace

QList<QRectF> squarify(const QList<qint64>& sizes, const QRectF& bounds) {
    QList<QRectF> out(sizes.size(), QRectF());
    double total = 0;
    qsizetype count = 0;
    for (const qint64 size : sizes) {
        if (size <= 0)
            break;
        total += static_cast<double>(size);
        ++count;
    }
    if (count == 0 || bounds.isEmpty())
        return out;
    const double scale = bounds.width() * bounds.height() / total;
    QList<double> areas;
    areas.reserve(count);
    for (qsizetype i = 0; i < count; ++i)
        areas.append(static_cast<double>(sizes[i]) * scale);

    QRectF free = bounds;
    qsizetype rowStart = 0;
    double rowSum = 0;
    double least = 0;
    double most = 0;
    for (qsizetype i = 0; i < count; ++i) {
        const double side = std::min(free.width(), free.height());
        const double area = areas[i];
        const bool grows =
            rowStart == i || worstRatio(rowSum + area, std::min(least, area), std::max(most, area),
                                        side) <= worstRatio(rowSum, least, most, side);
        if (!grows) {
            free = placeRow(areas, rowStart, i, rowSum, free, false, out);
            rowStart = i;
            rowSum = 0;
        }
        least = rowStart == i ? area : std::min(least, area);
        most = rowStart == i ? area : std::max(most, area);
        rowSum += area;
    }
    placeRow(areas, rowStart, count, rowSum, free, true, out);
    return out;
}

} // namespace corvane::Treemap
