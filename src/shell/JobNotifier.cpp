#include "shell/JobNotifier.h"

#include "platform/ByteFormat.h"
#include "platform/Locations.h"
#include "platform/Workspace.h"
#include "shell/MenuBarExtra.h"

#include <QElapsedTimer>
#include <QStandardPaths>
#include <QTimer>
#include <memory>

namespace corvane {

JobNotifier::JobNotifier(const ToastCenter& toasts, std::function<bool()> windowIsInFront,
                         Sink sink, Clock clock, QObject* parent)
    : QObject(parent)
    , toasts_(toasts)
    , windowIsInFront_(std::move(windowIsInFront))
    , sink_(std::move(sink))
    , clock_(std::move(clock)) {}

JobNotifier::Clock JobNotifier::steadyClock() {
    auto timer = std::make_shared<QElapsedTimer>();
    timer->start();
    return [timer] { return timer->elapsed(); };
}

JobNotifier::Sink JobNotifier::desktopSink(MenuBarExtra& extra) {
    return [&extra](const QString& title, const QString& message) {
        if (extra.showMessage(title, message) || Locations::isMac())
            return;
        const QString tool =
            Locations::toolPath(QStringLiteral("notify_send"),
                                QStandardPaths::findExecutable(QStringLiteral("notify-send")));
        // A desktop without notifications loses nothing: the toast says it in the window too.
        if (!tool.isEmpty())
            Workspace::startDetached(
                QStringLiteral("notify-send"), tool,
                {QStringLiteral("--app-name=Corvane Clean"), QStringLiteral("--"), title, message});
    };
}

QUuid JobNotifier::currentToast() const {
    return toasts_.current() ? toasts_.current()->id : QUuid();
}

void JobNotifier::start(Job& job) {
    job = {currentToast(), clock_()};
}

void JobNotifier::finish(const Job& job, const QString& fallback) {
    // The flag may drop before the outcome's toast is posted, in the same turn of the loop.
    QTimer::singleShot(0, this, [this, job, fallback] {
        if (windowIsInFront_())
            return;
        const std::optional<Toast>& toast = toasts_.current();
        const bool ownToast = toast && toast->id != job.toastAtStart;
        sink_(title, ownToast ? toast->message : fallback);
    });
}

void JobNotifier::follow(const ScanSession& session) {
    auto scan = std::make_shared<Job>();
    connect(&session, &ScanSession::isScanningChanged, this, [this, &session, scan] {
        if (session.isScanning()) {
            start(*scan);
            return;
        }
        if (clock_() - scan->startedAt <= longScanMilliseconds)
            return;
        // The scan's own summary: nothing is posted as a toast when a scan ends.
        const qsizetype count = session.projects().size();
        finish({currentToast(), scan->startedAt},
               QStringLiteral("The scan has finished: %1 %2, %3 can be given back.")
                   .arg(count)
                   .arg(count == 1 ? QStringLiteral("project") : QStringLiteral("projects"),
                        formatBytes(session.reclaimableBytes())));
    });
    auto trash = std::make_shared<Job>();
    connect(&session, &ScanSession::isTrashingChanged, this, [this, &session, trash] {
        if (session.isTrashing())
            start(*trash);
        else
            finish(*trash, QStringLiteral("The ticked items have been moved to the Trash."));
    });
}

void JobNotifier::follow(const InventoryModel& model, const QString& finished) {
    auto job = std::make_shared<Job>();
    connect(&model, &InventoryModel::isRemovingChanged, this, [this, &model, job, finished] {
        if (model.isRemoving())
            start(*job);
        else
            finish(*job, finished);
    });
}

} // namespace corvane
