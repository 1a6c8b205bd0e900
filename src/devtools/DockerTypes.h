#pragma once

// What Docker keeps: images, containers, volumes and build cache, as its command-line tool
// reports them.

#include <QDateTime>
#include <QMap>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

struct DockerStatus {
    enum class Case { running, notInstalled, notRunning };

    Case kind = Case::notInstalled;
    // `running`: the server's version, as Docker prints it.
    QString version;

    // "running", "notInstalled", "notRunning".
    QString caseName() const;
    bool operator==(const DockerStatus&) const = default;
};

struct DockerImage {
    QString id;
    // "<none>" when untagged.
    QString repository;
    QString tag;
    std::optional<QDateTime> createdAt;
    qint64 sizeBytes = 0;
    // What removing it frees: the bytes no other image shares.
    qint64 uniqueBytes = 0;
    int containerCount = 0;
    // Every repository:tag that names this image; removed together.
    QStringList references;

    // "repository:tag", or "<none>" for an image without a name.
    QString displayName() const;
    // The id as Docker's listings show it: 12 characters, without "sha256:".
    QString shortID() const;
    // No repository or no tag: Docker reports "<none>", and some versions leave them empty.
    bool isUntagged() const;
    bool operator==(const DockerImage&) const = default;
};

struct DockerContainer {
    QString id;
    QString name;
    QString image;
    QString state;
    QString status;
    qint64 sizeBytes = 0;
    std::optional<QDateTime> createdAt;
    std::optional<QString> composeProject;

    // "running" or "restarting".
    bool isRunning() const;
    bool operator==(const DockerContainer&) const = default;
};

struct DockerVolume {
    QString name;
    qint64 sizeBytes = 0;
    int containerCount = 0;
    bool isAnonymous = false;
    std::optional<QString> composeProject;

    bool operator==(const DockerVolume&) const = default;
};

struct DockerBuildCache {
    int entryCount = 0;
    qint64 totalBytes = 0;
    qint64 reclaimableBytes = 0;
    std::optional<QDateTime> lastUsedAt;

    bool operator==(const DockerBuildCache&) const = default;
};

struct DockerSnapshot {
    QList<DockerImage> images;
    QList<DockerContainer> containers;
    QList<DockerVolume> volumes;
    DockerBuildCache buildCache;
    // Docker's own total for all images, shared layers counted once.
    std::optional<qint64> imageTotalBytes;

    bool operator==(const DockerSnapshot&) const = default;
};

struct DockerBatchResult {
    QStringList succeeded;
    // Identifier -> the error text.
    QMap<QString, QString> failed;

    bool operator==(const DockerBatchResult&) const = default;
};

} // namespace corvane
