#pragma once

#include "agents/AgentModel.h"
#include "cli/Console.h"
#include "scanning/ScanModel.h"

#include <QJsonObject>

// The JSON forms of scan records that the command's --json outputs share. Absent values are
// null, enumerations are their raw values, dates ISO 8601 in UTC.
namespace corvane::cli {

QJsonValue orNull(const std::optional<QString>& text);
QJsonValue isoDateOrNull(const std::optional<QDateTime>& date);

// The document, indented, on standard output.
void printJson(Console& console, const QJsonObject& document);

// `agent`, `id`, `desktopID`, `title`, `cwd`, `updatedAt`.
QJsonObject agentSessionJson(const AgentSession& session);

// `status` (case name), `changedCount` or `commits` when the case carries one, `branch`,
// `remoteURL`, `repoDisplayName`, `lastCommitDate`, `changes` (`path`/`kind` pairs).
QJsonObject gitDetailsJson(const GitDetails& details);

// `name`, `url`, `kind`, `confidence`, `restoreHint` (what brings the folder back).
QJsonObject itemJson(const CleanableItem& item);

} // namespace corvane::cli
