#include "platform/CFOwned_mac.h"
#include "platform/CFText_mac.h"
#include "platform/PlatformTrash.h"
#include "platform/ProcessRunner.h"
#include "shell/MoveToApplications.h"

#include <CoreFoundation/CoreFoundation.h>
#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QTimer>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <exception>
#include <optional>
#include <stdio.h>
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

// The child's own words, or its exit status when it printed none.
std::optional<QString> failureOf(const QString& tool, const QStringList& arguments) {
    try {
        const ProcessResult result = runAside(tool, arguments);
        if (result.exitCode == 0)
            return std::nullopt;
        const QString said = QString::fromUtf8(result.standardError).trimmed();
        return said.isEmpty() ? QStringLiteral("%1 exited with %2").arg(tool).arg(result.exitCode)
                              : said;
    } catch (const ProcessRunnerError& error) {
        return QString::fromUtf8(error.what());
    }
}

std::optional<QString> renameFailure(const QString& from, const QString& to, unsigned flags) {
    if (::renamex_np(QFile::encodeName(from).constData(), QFile::encodeName(to).constData(),
                     flags) == 0)
        return std::nullopt;
    return QString::fromLocal8Bit(std::strerror(errno));
}

class DiskBundleFiles final : public BundleFiles {
public:
    bool exists(const QString& path) const override {
        return QFileInfo::exists(path) || QFileInfo(path).isSymLink();
    }
    // ditto keeps the signature, extended attributes and links of the bundle intact; --noqtn
    // leaves out the quarantine mark, which would otherwise translocate the installed copy too.
    std::optional<QString> copyWithoutQuarantine(const QString& from, const QString& to) override {
        return failureOf(QStringLiteral("/usr/bin/ditto"),
                         {QStringLiteral("--noqtn"), QStringLiteral("--"), from, to});
    }
    std::optional<QString> rename(const QString& from, const QString& to) override {
        return renameFailure(from, to, RENAME_EXCL);
    }
    std::optional<QString> swap(const QString& first, const QString& second) override {
        return renameFailure(first, second, RENAME_SWAP);
    }
    std::optional<QString> moveToTrash(const QString& path) override {
        return PlatformTrash::system().moveToTrash(path).failure;
    }
    // Only ever a folder this move created a moment ago under a name that was free: no user
    // data, and half a bundle has no use in the Trash.
    void removeUnfinishedCopy(const QString& path) override { QDir(path).removeRecursively(); }
};

// Security exports this since macOS 10.12 without declaring it in a public header, so it is
// looked up when the app runs; the signature is Apple's (SecTranslocate.h).
using OriginalPathFunction = CFURLRef (*)(CFURLRef translocatedPath, CFErrorRef* error);

OriginalPathFunction originalPathFunction() {
    static const OriginalPathFunction function = [] {
        void* security =
            ::dlopen("/System/Library/Frameworks/Security.framework/Security", RTLD_LAZY);
        if (!security)
            return OriginalPathFunction{nullptr};
        return reinterpret_cast<OriginalPathFunction>(
            ::dlsym(security, "SecTranslocateCreateOriginalPathForURL"));
    }();
    return function;
}

} // namespace

QString runningBundlePath() {
    // <bundle>.app/Contents/MacOS/<executable>
    QDir dir(QCoreApplication::applicationDirPath());
    if (!dir.cdUp() || !dir.cdUp())
        return {};
    return dir.absolutePath();
}

std::optional<QString> originalOfTranslocated(const QString& translocatedPath) {
    const OriginalPathFunction function = originalPathFunction();
    if (!function)
        return std::nullopt;
    const QByteArray encoded = QFile::encodeName(translocatedPath);
    const CFOwned url{CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(encoded.constData()), encoded.size(),
        true)};
    if (!url.get())
        return std::nullopt;
    CFErrorRef error = nullptr;
    const CFOwned original{function(static_cast<CFURLRef>(url.get()), &error)};
    const CFOwned failure{error};
    if (!original.get())
        return std::nullopt;
    const CFOwned path{
        CFURLCopyFileSystemPath(static_cast<CFURLRef>(original.get()), kCFURLPOSIXPathStyle)};
    const QString found = fromCFString(static_cast<CFStringRef>(path.get()));
    // A translocated path handed back names no original.
    if (found.isEmpty() || isTranslocated(found))
        return std::nullopt;
    return found;
}

MoveOutcome moveAndRelaunch(const QString& bundlePath, const QString& destination) {
    DiskBundleFiles files;
    MoveOutcome outcome = moveBundle(files, bundlePath, destination);
    if (!outcome.installed)
        return outcome;
    // -n: a new instance, since this one is still running until it quits. The destination is
    // an absolute path, so it can never be taken for an option.
    if (const std::optional<QString> failure =
            failureOf(QStringLiteral("/usr/bin/open"), {QStringLiteral("-n"), destination}))
        outcome.problems.append(
            QStringLiteral("The moved copy did not start (%1). Open it from %2.")
                .arg(*failure, destination));
    else
        outcome.relaunched = true;
    return outcome;
}

} // namespace corvane::MoveToApplications
