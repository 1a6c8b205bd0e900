#include "platform/PutBackService.h"

#include "platform/ByteFormat.h"
#include "platform/CheckedSum.h"
#include "platform/Paths.h"

#include <QDir>
#include <QFile>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {
namespace {

// The most failure lines a toast shows; the rest are counted.
constexpr qsizetype shownFailures = 3;

bool isPresent(const QString& path) {
    struct stat info {};
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0;
}

// Renames `from` to `to` unless something exists at `to`, as one step where the file system
// allows it, so that nothing that appeared there in the meantime is ever replaced. Returns 0 or
// the error number.
int moveWithoutReplacing(const QString& from, const QString& to) {
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
#ifdef Q_OS_MACOS
    if (::renamex_np(source.constData(), target.constData(), RENAME_EXCL) == 0)
        return 0;
#else
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) ==
        0)
        return 0;
#endif
    const int error = errno;
    // A file system without the exclusive rename: look, then move.
    if (error != EINVAL && error != ENOTSUP && error != ENOSYS)
        return error;
    if (isPresent(to))
        return EEXIST;
    return ::rename(source.constData(), target.constData()) == 0 ? 0 : errno;
}

QString systemMessage(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

// Why `item` can't go back now, before anything moves; nothing when it can.
std::optional<QString> obstacle(const CleanupItem& item) {
    if (item.location.path.isEmpty())
        return PutBackService::notRecordedMessage;
    QString unreadableRecord;
    switch (item.location.entry(item.originalPath, &unreadableRecord)) {
    case TrashLocation::Entry::gone:
        return PutBackService::notInTrashMessage;
    case TrashLocation::Entry::another:
        if (!unreadableRecord.isEmpty())
            return unreadableRecord;
        return PutBackService::anotherItemMessage;
    case TrashLocation::Entry::unknown:
        return PutBackService::notRecordedMessage;
    case TrashLocation::Entry::same:
        break;
    }
    if (isPresent(item.originalPath))
        return PutBackService::placeTakenMessage;
    return std::nullopt;
}

std::optional<QString> moveBack(const CleanupItem& item) {
    const QString folder = Paths::parentPath(item.originalPath);
    if (!QDir().mkpath(folder))
        return QStringLiteral("Its folder %1 could not be made again").arg(folder);
    if (const int error = moveWithoutReplacing(item.location.path, item.originalPath)) {
        if (error == EEXIST || error == ENOTEMPTY)
            return PutBackService::placeTakenMessage;
        return systemMessage(error);
    }
    // The item is back; a record left behind would only list a ghost in the Trash.
    if (!item.location.infoPath.isEmpty())
        QFile::remove(item.location.infoPath);
    return std::nullopt;
}

std::optional<Cleanup> findCleanup(const QList<Cleanup>& cleanups,
                                   const std::optional<QString>& id) {
    if (cleanups.isEmpty())
        return std::nullopt;
    if (!id)
        return cleanups.last();
    for (const Cleanup& cleanup : cleanups) {
        if (cleanup.id == *id)
            return cleanup;
    }
    return std::nullopt;
}

QString itemsWord(qsizetype count) {
    return count == 1 ? QStringLiteral("1 item") : QStringLiteral("%1 items").arg(count);
}

} // namespace

PutBackOutcome PutBackService::putBack(const Cleanup& cleanup, bool dryRun) {
    PutBackOutcome outcome;
    outcome.cleanup = cleanup;
    outcome.wasDryRun = dryRun;
    for (const CleanupItem& item : cleanup.items) {
        if (item.isPutBack) {
            ++outcome.alreadyPutBack;
            continue;
        }
        std::optional<QString> failure = obstacle(item);
        if (!failure && !dryRun)
            failure = moveBack(item);
        if (failure) {
            outcome.failures.append({item.originalPath, *failure});
            continue;
        }
        outcome.restored.append(item.originalPath);
        outcome.restoredBytes = checkedSum(outcome.restoredBytes, item.bytes);
    }
    return outcome;
}

PutBackOutcome PutBackService::putBack(const CleanupHistory& history,
                                       const std::optional<QString>& id, bool dryRun) {
    const CleanupHistory::Contents contents = history.load();
    PutBackOutcome outcome;
    outcome.wasDryRun = dryRun;
    // The cleanups this version reads can go back even when others in the file cannot be read.
    if (contents.problem && contents.cleanups.isEmpty()) {
        outcome.refusal = PutBackOutcome::Refusal::unreadableHistory;
        outcome.message = *contents.problem;
        return outcome;
    }
    const std::optional<Cleanup> cleanup = findCleanup(contents.cleanups, id);
    if (!cleanup) {
        outcome.refusal =
            id ? PutBackOutcome::Refusal::unknownCleanup : PutBackOutcome::Refusal::noCleanup;
        outcome.message = id ? QStringLiteral("No cleanup has the id %1.").arg(*id)
                             : QStringLiteral("No cleanup has been recorded yet.");
        return outcome;
    }
    outcome = putBack(*cleanup, dryRun);
    if (!dryRun) {
        if (const QString problem = history.markPutBack(cleanup->id, outcome.restored);
            !problem.isEmpty())
            outcome.message =
                QStringLiteral("The cleanup history could not note what came back: ") + problem;
    }
    return outcome;
}

QString putBackToastText(const PutBackOutcome& outcome) {
    if (outcome.refusal)
        return outcome.message;
    const qsizetype restored = outcome.restored.size();
    const qsizetype tried = restored + outcome.failures.size();
    QString text;
    if (outcome.wasDryRun)
        text = QStringLiteral("Dry run: would put back %1 (%2)")
                   .arg(itemsWord(restored), formatBytes(outcome.restoredBytes));
    else if (tried == 0)
        text = QStringLiteral("Everything of this cleanup was put back already");
    else if (outcome.failures.isEmpty())
        text = QStringLiteral("Put back ") + itemsWord(restored);
    else
        text = QStringLiteral("Put back %1 of %2").arg(restored).arg(itemsWord(tried));
    for (qsizetype index = 0; index < outcome.failures.size(); ++index) {
        if (index == shownFailures) {
            text += QStringLiteral("\nand %1 more").arg(outcome.failures.size() - shownFailures);
            break;
        }
        const PutBackFailure& failure = outcome.failures[index];
        text += u'\n' + Paths::lastComponent(failure.path) + QStringLiteral(": ") + failure.message;
    }
    if (!outcome.message.isEmpty())
        text += u'\n' + outcome.message;
    return text;
}

} // namespace corvane
