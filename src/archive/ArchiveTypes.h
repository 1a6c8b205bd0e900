#pragma once

// The vocabulary of archiving: where an archived copy lives, the record of each archived project,
// the servers the user saved, and the events of one archive or restore.

#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QUuid>
#include <optional>

namespace corvane {

// Where an archived copy lives.
struct ArchiveLocation {
    enum class Case { folder, ssh };

    Case kind = Case::folder;
    // `folder`: the absolute path of the archived project folder.
    QString path;
    // `ssh`: the project lives in `basePath`/<name> on `host`, reached as `user`.
    QString user;
    QString host;
    QString basePath;

    static ArchiveLocation folder(const QString& path) { return {Case::folder, path, {}, {}, {}}; }
    static ArchiveLocation ssh(const QString& user, const QString& host, const QString& basePath) {
        return {Case::ssh, {}, user, host, basePath};
    }
    bool operator==(const ArchiveLocation&) const = default;
};

// One restore of an archived project: when, and the folder the copy went to.
struct ArchiveRestore {
    QDateTime date;
    QString path;

    bool operator==(const ArchiveRestore&) const = default;
};

struct ArchiveRecord {
    QUuid id;
    // The original folder's last path component.
    QString name;
    QString originalPath;
    ArchiveLocation location;
    QDateTime archivedAt;
    // Coding-agent sessions that referred to the project when it was archived.
    qint64 agentSessionCount = 0;
    // The last restore (kept beside `restores` for readers that know only these).
    std::optional<QDateTime> restoredAt;
    std::optional<QString> restoredPath;
    // Every restore, oldest first.
    QList<ArchiveRestore> restores;
    // The history relinked by the last restore to another place, when one ran.
    std::optional<QJsonObject> relink;

    // "user@host:basePath/name" or the folder path: where the copy is, in words.
    QString locationDescription() const;
    bool operator==(const ArchiveRecord&) const = default;
};

// A server the user saved as an archive destination. Never a password.
struct SavedDestination {
    enum class Kind { smb, ssh };

    QUuid id;
    Kind kind = Kind::ssh;
    // The label shown in menus.
    QString name;
    // `smb`: "smb://server/share".
    QString smbURL;
    // `ssh`.
    QString user;
    QString host;
    QString remotePath;

    bool operator==(const SavedDestination&) const = default;
};

// One step of an archive or restore, in this order: any number of `progress`, then `verifying`,
// then one `finished` or `failed` (or `failed` alone).
struct ArchiveEvent {
    enum class Kind { progress, verifying, finished, failed };

    Kind kind = Kind::progress;
    qint64 copiedBytes = 0;
    qint64 totalBytes = 0;
    // `progress`: the file being copied, relative to the project folder.
    QString currentPath;
    // `finished`: where the copy is (the folder path, or "user@host:path"); `failed`: the whole
    // reason, in words for the user.
    QString text;

    static ArchiveEvent progress(qint64 copied, qint64 total, const QString& path) {
        return {Kind::progress, copied, total, path, {}};
    }
    static ArchiveEvent verifying() { return {Kind::verifying, 0, 0, {}, {}}; }
    static ArchiveEvent finished(const QString& destination) {
        return {Kind::finished, 0, 0, {}, destination};
    }
    static ArchiveEvent failed(const QString& message) { return {Kind::failed, 0, 0, {}, message}; }
    bool operator==(const ArchiveEvent&) const = default;
};

// What the progress sheet shows of a running archive or restore.
struct ArchiveProgress {
    QUuid projectID;
    QString projectName;
    qint64 copiedBytes = 0;
    qint64 totalBytes = 0;
    QString currentPath;
    bool isVerifying = false;

    bool operator==(const ArchiveProgress&) const = default;
};

} // namespace corvane
