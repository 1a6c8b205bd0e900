#pragma once

#include "cli/Console.h"
#include "scanning/ScanSession.h"

#include <QString>
#include <QStringList>
#include <optional>

// The logic of `corvane scan`, `clean` and `caches`, apart from parsing, so tests drive it with a
// fake event stream. Each drives one ScanSession inside the application's event loop, so every
// rule (safety check, ticks, order, containment) is the session's own. Each returns the exit
// status.
namespace corvane::cli {

struct ScanRequest {
    // Empty: the current folder.
    QString folder;
    ProjectSortMode sort = ProjectSortMode::size;
    bool onlyUnsynced = false;
    bool json = false;
};

struct TrashRequest {
    bool dryRun = false;
    bool yes = false;
    bool json = false;
};

struct CleanRequest {
    QString folder;
    // The ticked items of the project at this path only.
    std::optional<QString> project;
    // Exactly these paths instead of the ticked items.
    QStringList items;
    TrashRequest trash;
};

struct CachesCleanRequest {
    QStringList ids;
    TrashRequest trash;
};

int runScan(const ScanRequest& request, const ScanStarter& starter, Console& console);
int runClean(const CleanRequest& request, const ScanStarter& starter, Console& console);
int runCaches(bool json, Console& console);
int runCachesClean(const CachesCleanRequest& request, Console& console);

// The text report of a finished scan: the project tree with each project's items, then totals.
void printScanTable(const ScanSession& session, QTextStream& out);

} // namespace corvane::cli
