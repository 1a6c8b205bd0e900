#include "shell/MoveToApplications.h"

#include "platform/Locations.h"
#include "platform/Paths.h"

#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>

namespace corvane::MoveToApplications {

std::optional<QString> destination(const QString& bundlePath, const QString& home,
                                   const LaunchOptions& options, bool suppressed) {
    const QString bundle = Paths::standardized(bundlePath);
    if (suppressed || !bundle.endsWith(u".app", Qt::CaseInsensitive))
        return std::nullopt;
    const QString folder = Paths::standardized(
        options.moveDestination.isEmpty() ? defaultFolder : options.moveDestination);
    // Volumes mount case-insensitively on the Mac, so the prefixes are compared that way too.
    const auto isUnder = [](const QString& path, const QString& parent) {
        return Paths::isUnder(path.toLower(), Paths::standardized(parent).toLower());
    };
    if (isUnder(bundle, folder))
        return std::nullopt;
    const bool fromVolume = isUnder(bundle, QStringLiteral("/Volumes"));
    const bool fromDownloads = isUnder(bundle, Paths::joined(home, QStringLiteral("Downloads")));
    if (!fromVolume && !fromDownloads && !options.installedFromVolume)
        return std::nullopt;
    return Paths::joined(folder, Paths::lastComponent(bundle));
}

bool offer(const LaunchOptions& options) {
    const QString bundle = runningBundlePath();
    const std::optional<QString> target = destination(
        bundle, Locations::homeDir(), options, QSettings().value(suppressedKey, false).toBool());
    if (!target)
        return false;

    QMessageBox box;
    box.setObjectName(QStringLiteral("moveToApplications"));
    box.setIcon(QMessageBox::Question);
    box.setText(QStringLiteral("Move Corvane Clean to the Applications folder?"));
    box.setInformativeText(
        QStringLiteral("It runs from %1 now. In %2 it keeps working after the disk image is "
                       "ejected or the download is cleared away.")
            .arg(Paths::withTilde(Paths::parentPath(bundle), Locations::homeDir()),
                 Paths::withTilde(Paths::parentPath(*target), Locations::homeDir())));
    QPushButton* move =
        box.addButton(QStringLiteral("Move to Applications"), QMessageBox::AcceptRole);
    box.addButton(QStringLiteral("Do Not Move"), QMessageBox::RejectRole);
    box.setDefaultButton(move);
    auto* never = new QCheckBox(QStringLiteral("Don't ask again"), &box);
    box.setCheckBox(never);
    box.exec();
    if (never->isChecked())
        QSettings().setValue(suppressedKey, true);
    if (box.clickedButton() != move)
        return false;

    QString error;
    if (moveAndRelaunch(bundle, *target, &error))
        return true;
    QMessageBox::warning(nullptr, QStringLiteral("Corvane Clean"),
                         QStringLiteral("Corvane Clean could not be moved: %1").arg(error));
    return false;
}

} // namespace corvane::MoveToApplications
