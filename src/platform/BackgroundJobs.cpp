#include "platform/BackgroundJobs.h"

#include <QCoreApplication>
#include <QThread>
#include <QThreadPool>

#ifdef Q_OS_LINUX
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace corvane {
namespace {

QThreadPool* backgroundPool() {
    static QThreadPool* pool = [] {
        auto* created = new QThreadPool;
        // Background jobs mostly wait (on child processes, disks); never queue one behind another.
        created->setMaxThreadCount(256);
        qAddPostRoutine([] { backgroundPool()->waitForDone(); });
        return created;
    }();
    return pool;
}

} // namespace

void runInBackground(std::function<void()> job) {
    backgroundPool()->start([job = std::move(job)] {
        yieldToTheWindow();
        job();
    });
}

void yieldToTheWindow() {
    thread_local bool lowered = false;
    if (lowered)
        return;
    lowered = true;
#ifdef Q_OS_LINUX
    // Linux ignores thread priorities under the normal scheduler, but keeps a nice value per
    // thread.
    ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), 5);
#else
    QThread::currentThread()->setPriority(QThread::LowPriority);
#endif
}

void waitForBackgroundJobs() {
    backgroundPool()->waitForDone();
}

} // namespace corvane
