#include "platform/NameOrder.h"

#include <QCollator>
#include <QLocale>

namespace corvane::NameOrder {
namespace {

// One per thread: engines sort on their workers and pages on the main thread.
const QCollator& collator() {
    thread_local const QCollator made = [] {
        // Without a language (the C locale of a bare shell or a service) Qt compares code
        // points, numbers digit by digit; English rules are the neutral choice then.
        QLocale locale;
        if (locale.language() == QLocale::C)
            locale = QLocale(QLocale::English);
        QCollator collator(locale);
        collator.setNumericMode(true);
        collator.setCaseSensitivity(Qt::CaseInsensitive);
        return collator;
    }();
    return made;
}

} // namespace

int compare(const QString& a, const QString& b) {
    return collator().compare(a, b);
}

bool less(const QString& a, const QString& b) {
    const int order = compare(a, b);
    return order != 0 ? order < 0 : a < b;
}

} // namespace corvane::NameOrder
