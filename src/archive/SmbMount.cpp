#include "archive/SmbMount.h"

#include "platform/Locations.h"
#include "platform/Paths.h"
#include "platform/PlatformWords.h"

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QThread>
#include <QUrl>
#include <algorithm>
#include <unistd.h>

namespace corvane::SmbMount {
namespace {

constexpr qint64 pollMilliseconds = 500;

struct ShareAddress {
    QString host;
    QString user;
    // The first path component, the share itself.
    QString share;
    QString lastComponent;
};

std::optional<ShareAddress> parsed(const QString& smbURL) {
    const QUrl url(smbURL.trimmed(), QUrl::StrictMode);
    if (!url.isValid() || url.scheme().compare(QStringLiteral("smb"), Qt::CaseInsensitive) != 0 ||
        url.host().isEmpty())
        return std::nullopt;
    const QStringList components = url.path(QUrl::FullyDecoded).split(u'/', Qt::SkipEmptyParts);
    if (components.isEmpty())
        return std::nullopt;
    return ShareAddress{url.host(), url.userName(QUrl::FullyDecoded), components.first(),
                        components.last()};
}

QString runtimeDir() {
    const QString fromEnvironment = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    return QStringLiteral("/run/user/") + QString::number(::getuid());
}

// gvfs names the folder after the share's mount location: keys in alphabetical order, server and
// share in lower case.
QString gvfsFolder(const ShareAddress& address) {
    QString folderName = QStringLiteral("smb-share:server=") + address.host.toLower() +
                         QStringLiteral(",share=") + address.share.toLower();
    if (!address.user.isEmpty())
        folderName += QStringLiteral(",user=") + address.user;
    return Paths::joined(runtimeDir() + QStringLiteral("/gvfs"), folderName);
}

bool isMounted(const QString& mountPoint) {
    return QFileInfo(mountPoint).isDir();
}

// Hands the URL to the system: `open` on macOS lets Finder mount it with the Keychain's login,
// `gio mount` uses the desktop's keyring. Neither may ask for a password: standard input is
// closed. False when the tool could not run or said it failed.
bool askSystemToMount(const QString& smbURL, const ProcessRunner& runner, double timeout,
                      const CancellationToken& cancellation) {
    const bool mac = Locations::isMac();
    const QString tool =
        mac ? Locations::toolPath(Locations::Tool::open)
            : Locations::toolPath(QStringLiteral("gio"), QStringLiteral("/usr/bin/gio"));
    // No "--": gio reads it as one more location. The URL was checked to be an smb one, so it
    // starts with "smb:" and can be no option.
    const QStringList arguments =
        mac ? QStringList{smbURL} : QStringList{QStringLiteral("mount"), smbURL};
    try {
        return runner.run(tool, arguments, std::nullopt, {}, timeout, cancellation).exitCode == 0;
    } catch (const ProcessRunnerError&) {
        return false;
    }
}

// `open` returns before the share is mounted, so the folder may appear some time later.
bool waitForMountPoint(const QString& mountPoint, const QDeadlineTimer& deadline,
                       const CancellationToken& cancellation) {
    for (;;) {
        if (isMounted(mountPoint))
            return true;
        if (cancellation.isCancelled() || deadline.hasExpired())
            return false;
        QThread::msleep(static_cast<unsigned long>(
            std::clamp<qint64>(deadline.remainingTime(), 0, pollMilliseconds)));
    }
}

} // namespace

std::optional<QString> expectedMountPoint(const QString& smbURL, bool macRules) {
    const std::optional<ShareAddress> address = parsed(smbURL);
    if (!address)
        return std::nullopt;
    if (macRules)
        return Paths::joined(Locations::volumesDir(), address->lastComponent);
    return gvfsFolder(*address);
}

std::optional<QString> expectedMountPoint(const QString& smbURL) {
    return expectedMountPoint(smbURL, Locations::isMac());
}

// A cancelled wait ends as a failed mount; the caller that cancelled knows why.
Result mount(const QString& smbURL, const ProcessRunner& runner, double waitSeconds,
             const CancellationToken& cancellation) {
    const std::optional<QString> mountPoint = expectedMountPoint(smbURL);
    if (!mountPoint)
        return {std::nullopt, QStringLiteral("Invalid SMB URL: ") + smbURL};
    if (isMounted(*mountPoint))
        return {mountPoint, std::nullopt};

    const QDeadlineTimer deadline(static_cast<qint64>(waitSeconds * 1000));
    const bool asked =
        askSystemToMount(smbURL.trimmed(), runner, std::max(waitSeconds, 1.0), cancellation);
    // A tool that failed leaves one last look, for a share that was mounted meanwhile.
    if (waitForMountPoint(*mountPoint, asked ? deadline : QDeadlineTimer(0), cancellation))
        return {mountPoint, std::nullopt};
    return {std::nullopt, QStringLiteral("Could not mount ") + smbURL + QStringLiteral(". ") +
                              PlatformWords::here().saveShareLogin};
}

} // namespace corvane::SmbMount
