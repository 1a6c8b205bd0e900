#include "TimedApplication.h"

#include <QElapsedTimer>
#include <QEvent>
#include <QMetaEnum>
#include <algorithm>
#include <ctime>

namespace corvane::bench {

double threadCpuMs() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

bool TimedApplication::notify(QObject* receiver, QEvent* event) {
    // Only the outermost event counts: the ones it sends on are part of its time.
    if (depth_ > 0)
        return QApplication::notify(receiver, event);
    const int type = event->type();
    QString who = QString::fromLatin1(receiver->metaObject()->className());
    if (!receiver->objectName().isEmpty())
        who += QStringLiteral(" ") + receiver->objectName();
    QElapsedTimer clock;
    clock.start();
    const double cpuBefore = threadCpuMs();
    ++depth_;
    const bool handled = QApplication::notify(receiver, event);
    --depth_;
    const double ms = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    if (slowest_.size() < kept || ms > slowest_.last().ms) {
        const char* name = QMetaEnum::fromType<QEvent::Type>().valueToKey(type);
        slowest_.append({ms, QStringLiteral("%1 ms (CPU %2 ms) %3 to %4")
                                 .arg(ms, 0, 'f', 1)
                                 .arg(threadCpuMs() - cpuBefore, 0, 'f', 1)
                                 .arg(QLatin1String(name ? name : "event"), who)});
        std::sort(slowest_.begin(), slowest_.end(),
                  [](const Handled& a, const Handled& b) { return a.ms > b.ms; });
        slowest_.resize(std::min(slowest_.size(), kept));
    }
    return handled;
}

QStringList TimedApplication::slowest() const {
    QStringList lines;
    for (const Handled& handled : slowest_)
        lines.append(handled.what);
    return lines;
}

} // namespace corvane::bench
