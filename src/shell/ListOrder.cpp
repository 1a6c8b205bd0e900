#include "shell/ListOrder.h"

#include "platform/NameOrder.h"

#include <QSettings>

namespace corvane::ListOrder {
namespace {

QString key(const QString& list, const char* name) {
    return QStringLiteral("lists/%1/%2").arg(list, QLatin1String(name));
}

} // namespace

bool lessThan(const QVariant& keyA, const QString& textA, const QVariant& keyB,
              const QString& textB) {
    if (keyA.isValid() != keyB.isValid())
        return !keyA.isValid();
    if (keyA.isValid()) {
        const QPartialOrdering order = QVariant::compare(keyA, keyB);
        if (order != QPartialOrdering::Equivalent && order != QPartialOrdering::Unordered)
            return order == QPartialOrdering::Less;
    }
    return NameOrder::compare(textA, textB) < 0;
}

bool matches(const QString& needle, const QString& name, const QString& path) {
    return needle.isEmpty() || name.contains(needle, Qt::CaseInsensitive) ||
           path.contains(needle, Qt::CaseInsensitive);
}

Choice saved(const QString& list, const Choice& fallback) {
    const QSettings settings;
    if (!settings.contains(key(list, "sortColumn")))
        return fallback;
    Choice choice;
    choice.column = settings.value(key(list, "sortColumn")).toInt();
    choice.order = settings.value(key(list, "sortOrder")).toInt() == Qt::DescendingOrder
                       ? Qt::DescendingOrder
                       : Qt::AscendingOrder;
    return choice;
}

void save(const QString& list, const Choice& choice) {
    QSettings settings;
    settings.setValue(key(list, "sortColumn"), choice.column);
    settings.setValue(key(list, "sortOrder"), static_cast<int>(choice.order));
}

} // namespace corvane::ListOrder
