#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

// One Claude Code history folder brought to the name of its new path.
struct ClaudeFolderMove {
    QString from;
    QString to;
    QString fromPath;
    QString toPath;
    // Set when `to` already existed and the two were merged: exactly the items moved across, so
    // that undo moves back these and nothing else. Absent when the whole folder was renamed.
    std::optional<QStringList> movedItems;

    bool operator==(const ClaudeFolderMove&) const = default;
};

// What one relink changed, store by store, and every problem met on the way.
struct RelinkReport {
    QList<ClaudeFolderMove> claudeFolderMoves;
    int claudeHistoryFolders = 0;
    int claudeDesktopSessions = 0;
    int claudeProjectSettings = 0;
    int codexThreads = 0;
    int codexProjectRoots = 0;
    int codexTrustEntries = 0;
    QStringList warnings;

    bool operator==(const RelinkReport&) const = default;
};

namespace RelinkReportJson {

// The report as JSON text with its keys in their fixed order (a QJsonObject would sort them).
QByteArray serialized(const RelinkReport& report, bool indented = false);
QByteArray serialized(const ClaudeFolderMove& move, bool indented = false);

// For embedding in other JSON documents, where key order is not kept.
QJsonObject toObject(const RelinkReport& report);

// Missing counts read as 0 and missing lists as empty; nothing when `text` is not a JSON
// object.
std::optional<RelinkReport> parse(const QByteArray& text);
RelinkReport fromObject(const QJsonObject& object);

} // namespace RelinkReportJson
} // namespace corvane
