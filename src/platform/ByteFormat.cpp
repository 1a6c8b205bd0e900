#include "platform/ByteFormat.h"

#include <array>
#include <cmath>

namespace corvane {
namespace {

struct Unit {
    const char* name;
    int decimals;
};

constexpr std::array<Unit, 6> units{
    {{"KB", 0}, {"MB", 1}, {"GB", 2}, {"TB", 2}, {"PB", 2}, {"EB", 2}}};

QString withoutTrailingZeros(double value, int decimals) {
    QString text = QString::number(value, 'f', decimals);
    if (text.contains(u'.')) {
        while (text.endsWith(u'0'))
            text.chop(1);
        if (text.endsWith(u'.'))
            text.chop(1);
    }
    return text;
}

} // namespace

QString formatBytes(qint64 bytes) {
    if (bytes == 0)
        return QStringLiteral("Zero KB");
    const bool negative = bytes < 0;
    const double magnitude = std::fabs(static_cast<double>(bytes));
    const QString sign = negative ? QStringLiteral("-") : QString();
    if (magnitude < 1000)
        return sign + QString::number(magnitude, 'f', 0) +
               (magnitude == 1 ? QStringLiteral(" byte") : QStringLiteral(" bytes"));

    double value = magnitude / 1000.0;
    size_t unit = 0;
    for (;;) {
        const double scale = std::pow(10.0, units[unit].decimals);
        const double rounded = std::round(value * scale) / scale;
        if (rounded < 1000.0 || unit + 1 == units.size())
            return sign + withoutTrailingZeros(rounded, units[unit].decimals) + u' ' +
                   QLatin1String(units[unit].name);
        value /= 1000.0;
        ++unit;
    }
}

} // namespace corvane
