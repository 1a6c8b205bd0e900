#pragma once

#include <QApplication>
#include <QList>
#include <QStringList>

namespace corvane::bench {

// The processor time the calling thread has used, in ms. On a machine shared with other work the
// wall time of a step includes the time it waited for a core; this is the part that was ours.
double threadCpuMs();

// The application object of the UI bench: it remembers the events that held the main thread
// longest, so that a long gap can be traced to what caused it (a model taking a delivery, a
// view laying itself out, a paint).
class TimedApplication : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override;
    // The slowest events handled since the last `forget()`, slowest first, as
    // "12.3 ms (CPU 4.0 ms) MetaCall to corvane::DiskMapModel".
    QStringList slowest() const;
    void forget() { slowest_.clear(); }

private:
    struct Handled {
        double ms = 0;
        QString what;
    };
    static constexpr qsizetype kept = 5;

    QList<Handled> slowest_;
    int depth_ = 0;
};

} // namespace corvane::bench
