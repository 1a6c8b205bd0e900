#include "platform/EmptyTrashService.h"

#include "platform/ByteFormat.h"
#include "platform/CheckedSum.h"
#include "platform/Paths.h"
#include "platform/PermanentRemoval.h"

#include <QFile>
#include <QMap>

namespace corvane {
namespace {

// The most failure lines a toast shows; the rest are counted.
constexpr qsizetype shownFailures = 3;

bool isTrashFolderName(const QString& name) {
    return name == QStringLiteral("Trash") || name == QStringLiteral(".Trash") ||
           name == QStringLiteral(".Trashes") || name.startsWith(QStringLiteral(".Trash-"));
}

// Whether `path` lies in a Trash folder the platform keeps: "~/.Trash/<name>" and
// "<volume>/.Trashes/<uid>/<name>" on macOS, ".../Trash/files/<name>", ".Trash-<uid>/files/<name>"
// and ".Trash/<uid>/files/<name>" of the freedesktop Trash. A damaged history must never point
// the deletion anywhere else.
bool isInsideATrash(const QString& path) {
    QString folder = Paths::parentPath(path);
    for (int level = 0; level < 3 && folder.size() > 1; ++level) {
        if (isTrashFolderName(Paths::lastComponent(folder)))
            return true;
        folder = Paths::parentPath(folder);
    }
    return false;
}

// Why `item` must stay, checked just before it goes; nothing when it is the entry its cleanup
// made.
std::optional<QString> obstacle(const CleanupItem& item) {
    if (item.location.path.isEmpty())
        return EmptyTrashService::unknownEntryMessage;
    if (!isInsideATrash(item.location.path))
        return EmptyTrashService::outsideTrashMessage;
    QString unreadableRecord;
    switch (item.location.entry(item.originalPath, &unreadableRecord)) {
    case TrashLocation::Entry::same:
        return std::nullopt;
    case TrashLocation::Entry::gone:
        return EmptyTrashService::goneMessage;
    case TrashLocation::Entry::another:
        if (!unreadableRecord.isEmpty())
            return unreadableRecord;
        return EmptyTrashService::anotherItemMessage;
    case TrashLocation::Entry::unknown:
        return EmptyTrashService::unknownEntryMessage;
    }
    return EmptyTrashService::unknownEntryMessage;
}

std::optional<QString> deleteEntry(const CleanupItem& item) {
    if (std::optional<QString> problem = removeForGood(item.location.path))
        return problem;
    // The record would only list a ghost in the Trash.
    if (!item.location.infoPath.isEmpty())
        QFile::remove(item.location.infoPath);
    return std::nullopt;
}

QString itemsWord(qsizetype count) {
    return count == 1 ? QStringLiteral("1 item") : QStringLiteral("%1 items").arg(count);
}

// Notes what was emptied, cleanup by cleanup; the history's complaint, if any.
QString markEmptied(const CleanupHistory& history, const QList<OwnTrashItem>& emptied) {
    QMap<QString, QList<QString>> pathsByCleanup;
    for (const OwnTrashItem& entry : emptied)
        pathsByCleanup[entry.cleanupID].append(entry.item.originalPath);
    for (auto cleanup = pathsByCleanup.cbegin(); cleanup != pathsByCleanup.cend(); ++cleanup) {
        if (const QString problem = history.markEmptied(cleanup.key(), cleanup.value());
            !problem.isEmpty())
            return QStringLiteral("The cleanup history could not note what was deleted: ") +
                   problem;
    }
    return {};
}

} // namespace

qint64 OwnTrashListing::bytes() const {
    qint64 total = 0;
    for (const OwnTrashItem& entry : items)
        total = checkedSum(total, entry.item.bytes);
    return total;
}

OwnTrashListing EmptyTrashService::list(const CleanupHistory& history) {
    CleanupHistory::Contents contents = history.load();
    OwnTrashListing listing;
    listing.problem = std::move(contents.problem);
    for (const Cleanup& cleanup : std::as_const(contents.cleanups)) {
        for (const CleanupItem& item : cleanup.items) {
            if (!item.isPutBack && !item.isEmptied && !obstacle(item))
                listing.items.append({cleanup.id, cleanup.date, cleanup.area, item});
        }
    }
    return listing;
}

EmptyTrashOutcome EmptyTrashService::empty(const QList<OwnTrashItem>& items,
                                           const CleanupHistory& history, bool dryRun) {
    EmptyTrashOutcome outcome;
    outcome.wasDryRun = dryRun;
    for (const OwnTrashItem& entry : items) {
        std::optional<QString> failure = obstacle(entry.item);
        if (!failure && !dryRun)
            failure = deleteEntry(entry.item);
        if (failure) {
            outcome.failures.append({entry, *failure});
            continue;
        }
        outcome.emptied.append(entry);
        outcome.freedBytes = checkedSum(outcome.freedBytes, entry.item.bytes);
    }
    if (!dryRun)
        outcome.message = markEmptied(history, outcome.emptied);
    return outcome;
}

QString emptyTrashToastText(const EmptyTrashOutcome& outcome) {
    const qsizetype emptied = outcome.emptied.size();
    const QString bytes = formatBytes(outcome.freedBytes);
    QString text;
    if (outcome.wasDryRun)
        text = QStringLiteral("Dry run: would delete %1 (%2) from the Trash")
                   .arg(itemsWord(emptied), bytes);
    else if (emptied == 0 && outcome.failures.isEmpty())
        text = QStringLiteral("Nothing this app put in the Trash is still there");
    else if (emptied == 0)
        text = QStringLiteral("Nothing was deleted from the Trash");
    else
        text = QStringLiteral("Reclaimed %1 by deleting %2 from the Trash")
                   .arg(bytes, itemsWord(emptied));
    for (qsizetype index = 0; index < outcome.failures.size(); ++index) {
        if (index == shownFailures) {
            text += QStringLiteral("\nand %1 more").arg(outcome.failures.size() - shownFailures);
            break;
        }
        const EmptyTrashFailure& failure = outcome.failures[index];
        text += u'\n' + Paths::lastComponent(failure.item.item.originalPath) +
                QStringLiteral(": ") + failure.message;
    }
    if (!outcome.message.isEmpty())
        text += u'\n' + outcome.message;
    return text;
}

} // namespace corvane
