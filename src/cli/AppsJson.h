#pragma once

#include "apps/AppTypes.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QList>

// The JSON forms of `corvane apps` and `corvane brew`: field names as the types have them,
// enumerations as their case names, dates ISO 8601 in UTC, absent values null.
namespace corvane::cli::AppsJson {

// `kind`, `label`, `path`, `sizeBytes`, `isExactMatch`, `preselected`.
QJsonObject dataItem(const AppDataItem& item, bool preselected);
QJsonObject app(const InstalledApp& app, const QList<AppDataItem>& preselected);
// `bundleIdentifier`, `items`, and `unreadableBundle` for data that is unknown.
QJsonObject orphan(const OrphanedAppData& orphan);
// `appMethod` (when `withMethod`), `trashedData`, `freedBytes`, `failures`, `terminalCommand`.
QJsonObject outcome(const AppRemovalOutcome& outcome, bool withMethod);
// `formulae` and `casks`: `name`, `installedVersion`, `currentVersion`, `isPinned`.
QJsonObject outdated(const QList<BrewOutdatedItem>& items);

} // namespace corvane::cli::AppsJson
