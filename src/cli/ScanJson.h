#pragma once

#include "scanning/GlobalCachesModel.h"
#include "scanning/ScanSession.h"

#include <QJsonArray>
#include <QJsonObject>

// The JSON documents of `corvane scan`, `clean` and `caches`. Paths are absolute, identifiers are
// UUIDs without braces, dates ISO 8601 in UTC, and an absent value is null.
namespace corvane::cli::ScanJson {

QJsonObject item(const CleanableItem& item, const ScanSession& session);
QJsonObject project(const Project& project, const ScanSession& session);

// `root`, the projects in the session's order with their items, and the totals of the whole scan.
QJsonObject scan(const ScanSession& session);

// `trashed`, `failures` and `reclaimedBytes`.
QJsonObject trashResult(const TrashOutcome& outcome, qint64 reclaimedBytes);
// `dryRun`, `wouldTrash`, `wouldReclaimBytes` and the `failures` the trash service would report.
QJsonObject dryRun(const TrashOutcome& preview, qint64 wouldReclaimBytes);

// `caches` (in table order, each with the `restoreHint` "rebuilt on demand") and `totalBytes`.
QJsonObject caches(const GlobalCachesModel& model);

} // namespace corvane::cli::ScanJson
