#include "platform/Paths.h"
#include "platform/PlatformTrash.h"
#include "platform/ProcessRunner.h"
#include "shell/MoveToApplications.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>
#include <atomic>
#include <exception>
#include <optional>
#include <thread>

namespace corvane::MoveToApplications {

namespace {

// The runner blocks, so it works on its own thread while the main thread keeps serving events.
ProcessResult runAside(const QString& executable, const QStringList& arguments) {
    std::optional<ProcessResult> result;
    std::exception_ptr failure;
    std::atomic<bool> finished = false;
    std::thread worker([&] {
        try {
            result = ProcessRunner::system().run(executable, arguments, std::nullopt, {}, 600.0);
        } catch (...) {
            failure = std::current_exception();
        }
        finished = true;
    });
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (finished)
            loop.quit();
    });
    poll.start(50);
    loop.exec();
    worker.join();
    if (failure)
        std::rethrow_exception(failure);
    return *result;
}

} // namespace

QString runningBundlePath() {
    // <bundle>.app/Contents/MacOS/<executable>
    QDir dir(QCoreApplication::applicationDirPath());
    if (!dir.cdUp() || !dir.cdUp())
        return {};
    return dir.absolutePath();
}

bool moveAndRelaunch(const QString& bundlePath, const QString& destination, QString* error) {
    try {
        // An older copy is replaced, but kept in the Trash like everything this app removes.
        if (QFileInfo::exists(destination)) {
            if (const auto refusal = PlatformTrash::system().moveToTrash(destination).failure) {
                *error = *refusal;
                return false;
            }
        }
        // ditto keeps the signature, extended attributes and links of the bundle intact.
        const ProcessResult copy =
            runAside(QStringLiteral("/usr/bin/ditto"), {bundlePath, destination});
        if (copy.exitCode != 0) {
            *error = QString::fromUtf8(copy.standardError).trimmed();
            return false;
        }
        // -n: a new instance, since this one is still running until it quits.
        const ProcessResult open =
            runAside(QStringLiteral("/usr/bin/open"), {QStringLiteral("-n"), destination});
        if (open.exitCode != 0) {
            *error = QString::fromUtf8(open.standardError).trimmed();
            return false;
        }
    } catch (const ProcessRunnerError& failure) {
        *error = QString::fromUtf8(failure.what());
        return false;
    }
    // A copy left on a disk image cannot be removed; one in Downloads goes to the Trash.
    if (!bundlePath.startsWith(u"/Volumes/"))
        PlatformTrash::system().moveToTrash(bundlePath);
    return true;
}

} // namespace corvane::MoveToApplications
