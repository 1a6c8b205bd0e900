#include "platform/TrashService.h"

#include "platform/PathIdentity.h"
#include "platform/Paths.h"

#include <QFile>
#include <QFileInfo>

namespace corvane {
namespace {

bool isInside(const QString& canonicalItem, const QString& canonicalRoot) {
    // No allowed area means nothing is allowed (an empty root must not become the current folder).
    if (canonicalRoot.isEmpty())
        return false;
    // A plain case-sensitive comparison that keeps a sibling "proj-old" out of root "proj".
    return Paths::isUnder(canonicalItem, canonicalRoot);
}

std::optional<QString> refusalWithin(const QString& url, const QString& canonicalRoot) {
    if (!isInside(TrashService::canonicalPath(url), canonicalRoot))
        return TrashService::refusedOutsideMessage;
    // Follows links, so a dangling link counts as gone.
    if (!QFileInfo::exists(url))
        return TrashService::goneMessage;
    return std::nullopt;
}

} // namespace

void TrashOutcome::append(const TrashOutcome& other) {
    trashed.append(other.trashed);
    failures.append(other.failures);
    locations.insert(other.locations);
}

QString TrashService::canonicalPath(const QString& path) {
    return PathIdentity::resolved(path);
}

std::optional<QString> TrashService::refusal(const QString& url, const QString& root) {
    return refusalWithin(url, root.isEmpty() ? QString() : canonicalPath(root));
}

TrashOutcome TrashService::trash(const QList<QString>& urls, const QString& root,
                                 const PlatformTrash& platform) {
    TrashOutcome outcome;
    if (urls.isEmpty())
        return outcome;
    const QString canonicalRoot = root.isEmpty() ? QString() : canonicalPath(root);
    for (const QString& url : urls) {
        // Tested right before each move: an earlier move of this call may have taken the item.
        if (const std::optional<QString> refusal = refusalWithin(url, canonicalRoot)) {
            outcome.failures.append({url, *refusal});
            continue;
        }
        const TrashMove move = platform.moveToTrash(url);
        if (move.failure) {
            outcome.failures.append({url, *move.failure});
            continue;
        }
        outcome.trashed.append(url);
        outcome.locations.insert(url, move.location);
    }
    return outcome;
}

} // namespace corvane
