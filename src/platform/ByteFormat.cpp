#include "platform/ByteFormat.h"

#include <QLocale>
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

// In the user's locale: a German reader sees "1,5 MB".
QString withoutTrailingZeros(double value, int decimals) {
    const QLocale locale;
    QString text = locale.toString(value, 'f', decimals);
    const QString point = locale.decimalPoint();
    if (decimals > 0 && text.contains(point)) {
        while (text.endsWith(locale.zeroDigit()))
            text.chop(1);
        if (text.endsWith(point))
            text.chop(point.size());
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
