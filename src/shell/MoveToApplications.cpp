#include "shell/MoveToApplications.h"

#include "platform/Locations.h"
#include "platform/Paths.h"

#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>

namespace corvane::MoveToApplications {

namespace {

// Volumes mount case-insensitively on the Mac, so the prefixes are compared that way too.
bool isUnderIgnoringCase(const QString& path, const QString& parent) {
    return Paths::isUnder(Paths::standardized(path).toLower(),
                          Paths::standardized(parent).toLower());
}

// Where the app runs from now, in the words of the question. A translocated bundle is moved
// only when the system did not name the original.
QString whereItRuns(const QString& bundle) {
    if (isTranslocated(bundle))
        return QStringLiteral(
            "macOS runs it from a read-only copy and did not say where you opened it, so the "
            "downloaded copy stays where it is; you can delete it once the app is in "
            "Applications.");
    return QStringLiteral("It runs from %1 now.")
        .arg(Paths::withTilde(Paths::parentPath(bundle), Locations::homeDir()));
}

bool askToMove(const QString& bundle, const QString& target) {
    QMessageBox box;
    box.setObjectName(QStringLiteral("moveToApplications"));
    box.setIcon(QMessageBox::Question);
    box.setText(QStringLiteral("Move Corvane Clean to the Applications folder?"));
    box.setInformativeText(
        QStringLiteral("%1 In %2 it keeps working after the disk image is ejected or the "
                       "download is cleared away.")
            .arg(whereItRuns(bundle),
                 Paths::withTilde(Paths::parentPath(target), Locations::homeDir())));
    QPushButton* move =
        box.addButton(QStringLiteral("Move to Applications"), QMessageBox::AcceptRole);
    box.addButton(QStringLiteral("Do Not Move"), QMessageBox::RejectRole);
    box.setDefaultButton(move);
    auto* never = new QCheckBox(QStringLiteral("Don't ask again"), &box);
    box.setCheckBox(never);
    box.exec();
    if (never->isChecked())
        QSettings().setValue(suppressedKey, true);
    return box.clickedButton() == move;
}

void reportProblems(const MoveOutcome& outcome) {
    if (outcome.problems.isEmpty())
        return;
    const QString lead = outcome.installed
                             ? QStringLiteral("Corvane Clean was moved to Applications, but:")
                             : QStringLiteral("Corvane Clean could not be moved:");
    QMessageBox::warning(nullptr, QStringLiteral("Corvane Clean"),
                         lead + u' ' + outcome.problems.join(u' '));
}

} // namespace

std::optional<QString> destination(const QString& bundlePath, const QString& home,
                                   const LaunchOptions& options, bool suppressed,
                                   bool translocated) {
    const QString bundle = Paths::standardized(bundlePath);
    if (suppressed || !bundle.endsWith(u".app", Qt::CaseInsensitive))
        return std::nullopt;
    const QString folder = Paths::standardized(
        options.moveDestination.isEmpty() ? defaultFolder : options.moveDestination);
    if (isUnderIgnoringCase(bundle, folder))
        return std::nullopt;
    const bool fromDownloads =
        isUnderIgnoringCase(bundle, Paths::joined(home, QStringLiteral("Downloads")));
    if (!isOnVolume(bundle) && !fromDownloads && !translocated && !options.installedFromVolume)
        return std::nullopt;
    return Paths::joined(folder, Paths::lastComponent(bundle));
}

bool isTranslocated(const QString& bundlePath) {
    const QStringList parts = Paths::standardized(bundlePath).split(u'/', Qt::SkipEmptyParts);
    // The system's folder, then at least an identifier and the bundle below it.
    for (qsizetype index = 0; index + 2 < parts.size(); ++index) {
        if (parts.at(index).compare(u"AppTranslocation", Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

bool isOnVolume(const QString& path) {
    return isUnderIgnoringCase(path, QStringLiteral("/Volumes"));
}

bool offer(const LaunchOptions& options) {
    const QString running = runningBundlePath();
    const bool translocated = isTranslocated(running);
    // The translocated copy is read-only and vanishes on quit: the original is the one to move.
    const QString bundle =
        translocated ? originalOfTranslocated(running).value_or(running) : running;
    const std::optional<QString> target =
        destination(bundle, Locations::homeDir(), options,
                    QSettings().value(suppressedKey, false).toBool(), translocated);
    if (!target || !askToMove(bundle, *target))
        return false;
    const MoveOutcome outcome = moveAndRelaunch(bundle, *target);
    reportProblems(outcome);
    return outcome.relaunched;
}

} // namespace corvane::MoveToApplications
