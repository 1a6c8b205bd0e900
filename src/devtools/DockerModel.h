#pragma once

#include "devtools/DockerService.h"
#include "platform/InventoryModel.h"
#include "platform/MainThreadMailbox.h"
#include "platform/PlatformWords.h"

#include <QSet>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>

namespace corvane {

// The Docker screen's model: the status, the snapshot and the ticks (kept as "container:<id>",
// "image:<id>" and "volume:<name>" in the shared selection), removal of what is ticked
// (containers first, so that the images and volumes they used can go in the same action), the
// build cache's prune, starting and stopping containers, and starting Docker Desktop.
// Removals are permanent; under the dry-run switch nothing that changes Docker runs.
class DockerModel : public InventoryModel {
    Q_OBJECT

public:
    static inline const QString explanationText = QStringLiteral(
        "Images, containers, volumes and build cache. Removing skips the Trash: images and build "
        "cache can be pulled or built again, but a volume's data is gone for good.");
    static inline const QString notInstalledText =
        QStringLiteral("Docker is not installed. Install ") + PlatformWords::here().dockerChoices +
        QStringLiteral(" to manage containers here.");
    static inline const QString notRunningText =
        sentenceStart(PlatformWords::here().dockerEngine) +
        QStringLiteral(" is not running, so its images and containers cannot be listed.");
    static inline const QString failuresHeading =
        QStringLiteral("Some Docker items could not be changed");

    DockerModel(ToastCenter& toasts, DockerService service = DockerService(), bool isDryRun = false,
                QObject* parent = nullptr);
    ~DockerModel() override;

    const std::optional<DockerStatus>& status() const { return status_; }
    const std::optional<DockerSnapshot>& snapshot() const { return snapshot_; }
    const std::optional<QString>& loadError() const { return loadError_; }

    static QString containerKey(const QString& id) { return QStringLiteral("container:") + id; }
    static QString imageKey(const QString& id) { return QStringLiteral("image:") + id; }
    static QString volumeKey(const QString& name) { return QStringLiteral("volume:") + name; }

    // "Select N Unused Image(s)": ticks every image no container uses.
    QString selectUnusedTitle() const;
    void selectUnusedImages();
    // What the ticked items free when removed.
    qint64 selectedBytes() const;
    // "2 images, 1 volume": the ticked items, counted.
    QString selectionSummary() const;

    // Removes what is ticked, permanently.
    void removeSelected();
    void pruneBuildCache();
    bool isPruning() const { return isPruning_; }
    const QSet<QString>& busyContainerIDs() const { return busyContainerIDs_; }
    void startContainer(const QString& id);
    void stopContainer(const QString& id);

    // Opens Docker Desktop (macOS); elsewhere posts that it can't be started from here.
    void startDocker();
    bool isStartingDocker() const { return isStartingDocker_; }

    // The result of the last removal or prune, as the command line reports it.
    const std::optional<DockerBatchResult>& lastResult() const { return lastResult_; }
    qint64 lastFreedBytes() const { return lastFreedBytes_; }
    const QString& lastMessage() const { return lastMessage_; }

signals:
    void snapshotChanged();
    void busyChanged();
    // A removal or prune has ended.
    void actionFinished();

protected:
    void startLoading() override;
    bool containsItem(const QString& id) const override;

private:
    struct Ticked {
        QList<DockerContainer> containers;
        QList<DockerImage> images;
        QList<DockerVolume> volumes;
    };

    void finishAction(const QString& message, const QList<ItemFailure>& failures);
    void applyLoad(const DockerStatus& status, const std::optional<DockerSnapshot>& snapshot,
                   const std::optional<QString>& error);
    void applyRemoval(const Ticked& ticked, const DockerBatchResult& containers,
                      const DockerBatchResult& images, const DockerBatchResult& volumes);
    Ticked ticked() const;
    // Runs `command` off the main thread beside the load and removal jobs (starting and stopping
    // containers must not replace a running removal); `done` runs here afterwards.
    void runCommand(std::function<std::optional<QString>(const DockerService&)> command,
                    std::function<void(const std::optional<QString>& error)> done);

    DockerService service_;
    std::optional<DockerStatus> status_;
    std::optional<DockerSnapshot> snapshot_;
    std::optional<QString> loadError_;
    QSet<QString> busyContainerIDs_;
    bool isPruning_ = false;
    bool isStartingDocker_ = false;
    std::optional<DockerBatchResult> lastResult_;
    qint64 lastFreedBytes_ = 0;
    QString lastMessage_;
    std::shared_ptr<MainThreadMailbox> commandMailbox_;
    CancellationToken commandCancellation_;
};

} // namespace corvane
