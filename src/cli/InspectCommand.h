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
    // What the scan would offer of this folder, were it a project of its own: the catalog's
    // folders directly inside it, the folders below it that git ignores and no catalog name
    // covers, and the whole folder when it is a repository with nothing only here.
    QList<CleanableItem> items;
};

// Inspects the folder at `path` (absolute, existing) the way the scan inspects a project.
InspectReport inspectFolder(const QString& path, const CancellationToken& cancellation = {});

// `path`, `gitRepoURL`, `git` and `items`, as `corvane inspect --json` prints them.
QJsonObject inspectJson(const InspectReport& report);
// The same in words, one fact per line.
QString inspectText(const InspectReport& report);

} // namespace corvane::cli
