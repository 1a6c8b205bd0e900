#include "shell/BundleMove.h"

#include "platform/Paths.h"
#include "shell/MoveToApplications.h"

namespace corvane::MoveToApplications {

namespace {

// Puts the finished copy at `temporary` in place of whatever is at `destination`.
MoveOutcome putInPlace(BundleFiles& files, const QString& temporary, const QString& destination) {
    const bool replacing = files.exists(destination);
    const std::optional<QString> failure =
        replacing ? files.swap(temporary, destination) : files.rename(temporary, destination);
    if (failure) {
        files.removeUnfinishedCopy(temporary);
        return {false, false, {*failure}};
    }
    MoveOutcome outcome{true, false, {}};
    if (!replacing)
        return outcome;
    // After the swap the temporary name holds the older copy.
    if (const std::optional<QString> kept = files.moveToTrash(temporary))
        outcome.problems.append(
            QStringLiteral("The older copy stayed at %1: %2").arg(temporary, *kept));
    return outcome;
}

} // namespace

QString temporaryName(const BundleFiles& files, const QString& destination) {
    const QString folder = Paths::parentPath(destination);
    QString stem = Paths::lastComponent(destination);
    if (stem.endsWith(u".app", Qt::CaseInsensitive))
        stem.chop(QStringLiteral(".app").size());
    QString candidate = Paths::joined(folder, stem + QStringLiteral(" (older copy).app"));
    for (int number = 2; files.exists(candidate); ++number)
        candidate =
            Paths::joined(folder, stem + QStringLiteral(" (older copy %1).app").arg(number));
    return candidate;
}

MoveOutcome moveBundle(BundleFiles& files, const QString& opened, const QString& destination) {
    const QString temporary = temporaryName(files, destination);
    if (const std::optional<QString> failure = files.copyWithoutQuarantine(opened, temporary)) {
        files.removeUnfinishedCopy(temporary);
        return {false, false, {*failure}};
    }
    MoveOutcome outcome = putInPlace(files, temporary, destination);
    if (!outcome.installed || isOnVolume(opened) || isTranslocated(opened))
        return outcome;
    if (const std::optional<QString> kept = files.moveToTrash(opened))
        outcome.problems.append(
            QStringLiteral("The copy you opened stayed at %1: %2").arg(opened, *kept));
    return outcome;
}

} // namespace corvane::MoveToApplications
