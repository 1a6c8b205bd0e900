#pragma once

#include "platform/Cancellation.h"
#include "scanning/ScanModel.h"

#include <QJsonObject>
#include <QString>
#include <optional>

// `corvane inspect PATH`: what the scan would see in one folder, and why.
namespace corvane::cli {

struct InspectReport {
    QString path;
    // The working tree that holds `path`; nothing when it is in none.
    std::optional<QString> workingTree;
    GitDetails details;
    // The classified folders directly inside `path`.
    QList<CleanableItem> items;
};

// Inspects the folder at `path` (absolute, existing). Candidates are the direct subfolders that
// the catalog matches beside their siblings or that git ignores, plus the ignored directories
// outside the catalog that lie directly inside `path`.
InspectReport inspectFolder(const QString& path, const CancellationToken& cancellation = {});

// `path`, `gitRepoURL`, `git` and `items`, as `corvane inspect --json` prints them.
QJsonObject inspectJson(const InspectReport& report);
// The same in words, one fact per line.
QString inspectText(const InspectReport& report);

} // namespace corvane::cli
