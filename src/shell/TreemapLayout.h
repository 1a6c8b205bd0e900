#pragma once

#include <QList>
#include <QRectF>
#include <QtGlobal>

namespace corvane::Treemap {

// Lays out `sizes` in `bounds` as a squarified treemap: each size gets a rectangle whose area is
// its share of the bounds, the rectangles tile the bounds without overlap, and rows are chosen to
// keep them close to squares. Sizes are expected largest first; one that is not positive gets an
// empty rectangle. The rectangles come back in the order of the sizes.
QList<QRectF> squarify(const QList<qint64>& sizes, const QRectF& bounds);

} // namespace corvane::Treemap
