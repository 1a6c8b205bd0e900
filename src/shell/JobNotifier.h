#pragma once

#include "platform/InventoryModel.h"
#include "platform/ToastCenter.h"
#include "scanning/ScanSession.h"

#include <QObject>
#include <QUuid>
#include <functional>

namespace corvane {

class MenuBarExtra;

// Tells the desktop when a long job ends while the window is not in front: a scan that took more
// than ten seconds, and every removal, archive and organize run (the models' removal flag covers
// all three). The message is the outcome the model posted as its toast during the job, else a
// line of its own. Time and the desktop are handed in, so tests use a clock and a sink of theirs.
class JobNotifier : public QObject {
    Q_OBJECT

public:
    using Sink = std::function<void(const QString& title, const QString& message)>;
    // Milliseconds from any fixed point.
    using Clock = std::function<qint64()>;

    static constexpr qint64 longScanMilliseconds = 10'000;
    static inline const QString title = QStringLiteral("Corvane Clean");

    JobNotifier(const ToastCenter& toasts, std::function<bool()> windowIsInFront, Sink sink,
                Clock clock = steadyClock(), QObject* parent = nullptr);

    // Follows the session's scans and trash actions.
    void follow(const ScanSession& session);
    // Follows the model's removals; `finished` words the end when the model posts no toast.
    void follow(const InventoryModel& model, const QString& finished);

    static Clock steadyClock();
    // The desktop's notifications: through the menu-bar extra's icon where there is one, else
    // (on Linux without a tray) through notify-send when it is installed.
    static Sink desktopSink(MenuBarExtra& extra);

private:
    struct Job {
        QUuid toastAtStart;
        qint64 startedAt = 0;
    };
    void start(Job& job);
    // Notifies once the model's own wording of the outcome had its turn to be posted.
    void finish(const Job& job, const QString& fallback);
    QUuid currentToast() const;

    const ToastCenter& toasts_;
    std::function<bool()> windowIsInFront_;
    Sink sink_;
    Clock clock_;
};

} // namespace corvane
