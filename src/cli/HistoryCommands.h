#pragma once

#include "cli/Console.h"
#include "platform/CleanupHistory.h"

#include <QJsonObject>
#include <QString>
#include <optional>

// `corvane history`, `corvane history empty-trash` and `corvane put-back`, and the note every
// trash command prints about the cleanup it recorded.
namespace corvane::cli {

struct PutBackRequest {
    // The newest cleanup when absent.
    std::optional<QString> id;
    bool dryRun = false;
    bool yes = false;
    bool json = false;
};

struct EmptyTrashRequest {
    bool dryRun = false;
    bool yes = false;
    bool json = false;
};

// The latest cleanups, newest first: id, time, area, items, bytes and how many are still in the
// Trash. Exit 1 when the history can't be read.
int runHistory(bool json, Console& console);
// Puts a cleanup back after asking (unless --yes or --dry-run). Exit 0 when every item tried came
// back, 1 when some stayed or the history can't be read, 2 for an unknown id or no confirmation.
int runPutBack(const PutBackRequest& request, Console& console);
// Deletes for good what the cleanups put in the Trash and the Trash still holds, after listing it
// and asking (unless --yes or --dry-run); the rest of the Trash stays. Exit 0 when every item
// listed went, 1 when some stayed or the history can't be read, 2 without a confirmation.
int runEmptyTrash(const EmptyTrashRequest& request, Console& console);

// After a trash action's text: the command that puts it back, when it was recorded.
void printPutBackHint(Console& console, const RecordedCleanup& cleanup);
// `cleanupID` (null when nothing was recorded) and `historyNotice` when there is one.
void addCleanupNote(QJsonObject& document, const RecordedCleanup& cleanup);

} // namespace corvane::cli
