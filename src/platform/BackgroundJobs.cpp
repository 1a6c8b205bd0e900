#include "platform/BackgroundJobs.h"

#include <QCoreApplication>
#include <QThreadPool>

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
    backgroundPool()->start(std::move(job));
}

void waitForBackgroundJobs() {
    backgroundPool()->waitForDone();
}

} // namespace corvane
