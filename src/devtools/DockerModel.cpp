#include "devtools/DockerModel.h"

#include "platform/BackgroundJobs.h"
#include "platform/ByteFormat.h"
#include "platform/CheckedSum.h"
#include "platform/Locations.h"

#include <chrono>
#include <thread>

namespace corvane {
namespace {

// Docker Desktop's engine usually answers within half a minute of the app's launch.
constexpr auto dockerStartPatience = std::chrono::seconds(90);
constexpr auto dockerStartPollInterval = std::chrono::milliseconds(250);
constexpr int dockerStatusPollEvery = 8; // intervals, i.e. every two seconds

const QString buildCacheID = QStringLiteral("buildCache");

QString counted(qsizetype count, const QString& one, const QString& many) {
    return QString::number(count) + u' ' + (count == 1 ? one : many);
}

// "1 container, 2 images, 1 volume", leaving out the kinds with none.
QString summaryOf(qsizetype containers, qsizetype images, qsizetype volumes) {
    QStringList parts;
    if (containers > 0)
        parts.append(
            counted(containers, QStringLiteral("container"), QStringLiteral("containers")));
    if (images > 0)
        parts.append(counted(images, QStringLiteral("image"), QStringLiteral("images")));
    if (volumes > 0)
        parts.append(counted(volumes, QStringLiteral("volume"), QStringLiteral("volumes")));
    return parts.join(QStringLiteral(", "));
}

template <typename Item, typename Key>
const Item* find(const QList<Item>& items, const QString& wanted, Key key) {
    for (const Item& item : items) {
        if (key(item) == wanted)
            return &item;
    }
    return nullptr;
}

QString notRemoved(const QString& error) {
    return QStringLiteral("not removed: ") + error;
}

std::optional<QString> failureOf(const std::function<void()>& command) {
    try {
        command();
        return std::nullopt;
    } catch (const DockerServiceError& error) {
        return error.message();
    }
}

} // namespace

DockerModel::DockerModel(ToastCenter& toasts, DockerService service, bool isDryRun, QObject* parent)
    : InventoryModel(toasts, isDryRun, parent)
    , service_(std::move(service))
    , commandMailbox_(std::make_shared<MainThreadMailbox>(this)) {}

DockerModel::~DockerModel() {
    commandMailbox_->close();
    commandCancellation_.cancel();
}

void DockerModel::startLoading() {
    startJob(JobKind::load,
             [this, service = service_](const CancellationToken&, const MainThreadPost& post) {
                 const DockerStatus status = service.status();
                 std::optional<DockerSnapshot> snapshot;
                 std::optional<QString> error;
                 if (status.kind == DockerStatus::Case::running) {
                     try {
                         snapshot = service.snapshot();
                     } catch (const DockerServiceError& failure) {
                         error = failure.message();
                     }
                 }
                 post([this, status, snapshot, error] {
                     applyLoad(status, snapshot, error);
                     finishLoading();
                 });
             });
}

void DockerModel::applyLoad(const DockerStatus& status,
                            const std::optional<DockerSnapshot>& snapshot,
                            const std::optional<QString>& error) {
    // Without Docker, or with a report that could not be read, nothing is listed: what an older
    // listing showed may be gone, and nothing unlisted can be ticked.
    status_ = status;
    snapshot_ = snapshot;
    loadError_ = error;
    emit snapshotChanged();
}

bool DockerModel::containsItem(const QString& id) const {
    if (!snapshot_)
        return false;
    const DockerSnapshot& listed = *snapshot_;
    // Only what may be removed can be ticked: Docker would refuse the rest anyway.
    if (id.startsWith(QStringLiteral("container:"))) {
        const DockerContainer* container = find(
            listed.containers, id, [](const DockerContainer& c) { return containerKey(c.id); });
        return container && !DockerService::removalBlockedReason(*container);
    }
    if (id.startsWith(QStringLiteral("image:"))) {
        const DockerImage* image =
            find(listed.images, id, [](const DockerImage& i) { return imageKey(i.id); });
        return image && !DockerService::removalBlockedReason(*image);
    }
    if (id.startsWith(QStringLiteral("volume:"))) {
        const DockerVolume* volume =
            find(listed.volumes, id, [](const DockerVolume& v) { return volumeKey(v.name); });
        return volume && !DockerService::removalBlockedReason(*volume);
    }
    return false;
}

DockerModel::Ticked DockerModel::ticked() const {
    Ticked result;
    if (!snapshot_)
        return result;
    const QSet<QString>& selected = selectedIDs();
    for (const DockerContainer& container : snapshot_->containers) {
        if (selected.contains(containerKey(container.id)))
            result.containers.append(container);
    }
    for (const DockerImage& image : snapshot_->images) {
        if (selected.contains(imageKey(image.id)))
            result.images.append(image);
    }
    for (const DockerVolume& volume : snapshot_->volumes) {
        if (selected.contains(volumeKey(volume.name)))
            result.volumes.append(volume);
    }
    return result;
}

QString DockerModel::selectUnusedTitle() const {
    qsizetype unused = 0;
    if (snapshot_) {
        for (const DockerImage& image : snapshot_->images)
            unused += image.containerCount == 0 ? 1 : 0;
    }
    return QStringLiteral("Select %1 Unused %2")
        .arg(unused)
        .arg(unused == 1 ? QStringLiteral("Image") : QStringLiteral("Images"));
}

void DockerModel::selectUnusedImages() {
    if (!snapshot_)
        return;
    for (const DockerImage& image : snapshot_->images) {
        if (image.containerCount == 0)
            setSelected(imageKey(image.id), true);
    }
}

qint64 DockerModel::selectedBytes() const {
    const Ticked items = ticked();
    qint64 total = 0;
    for (const DockerContainer& container : items.containers)
        total = checkedSum(total, container.sizeBytes);
    for (const DockerImage& image : items.images)
        total = checkedSum(total, image.uniqueBytes);
    for (const DockerVolume& volume : items.volumes)
        total = checkedSum(total, volume.sizeBytes);
    return total;
}

QString DockerModel::selectionSummary() const {
    const Ticked items = ticked();
    return summaryOf(items.containers.size(), items.images.size(), items.volumes.size());
}

void DockerModel::removeSelected() {
    const Ticked items = ticked();
    if ((items.containers.isEmpty() && items.images.isEmpty() && items.volumes.isEmpty()) ||
        !beginRemoval())
        return;
    if (isDryRun()) {
        lastResult_.reset();
        lastFreedBytes_ = 0;
        finishAction(QStringLiteral("Dry run: would remove ") + selectionSummary() +
                         QStringLiteral(" and free ") + formatBytes(selectedBytes()),
                     {});
        return;
    }
    startJob(JobKind::removal, [this, service = service_, items](const CancellationToken&,
                                                                 const MainThreadPost& post) {
        QStringList containerIDs;
        for (const DockerContainer& container : items.containers)
            containerIDs.append(container.id);
        QStringList volumeNames;
        for (const DockerVolume& volume : items.volumes)
            volumeNames.append(volume.name);
        // Containers first: the images and volumes they used can then go in the same action.
        const DockerBatchResult containers = service.removeContainers(containerIDs);
        const DockerBatchResult images = service.removeImages(items.images);
        const DockerBatchResult volumes = service.removeVolumes(volumeNames);
        post([this, items, containers, images, volumes] {
            applyRemoval(items, containers, images, volumes);
        });
    });
}

void DockerModel::applyRemoval(const Ticked& items, const DockerBatchResult& containers,
                               const DockerBatchResult& images, const DockerBatchResult& volumes) {
    qint64 freed = 0;
    qsizetype removed[3] = {0, 0, 0};
    QList<ItemFailure> failures;
    // Each removed item leaves the selection; a failed one stays ticked for another try.
    auto account = [&](const DockerBatchResult& result, const QString& id, const QString& key,
                       const QString& name, qint64 bytes, qsizetype& count) {
        if (result.succeeded.contains(id)) {
            freed = checkedSum(freed, bytes);
            ++count;
            setSelected(key, false);
        } else if (const auto failure = result.failed.constFind(id);
                   failure != result.failed.cend()) {
            failures.append({key, name, notRemoved(*failure)});
        }
    };
    for (const DockerContainer& container : items.containers)
        account(containers, container.id, containerKey(container.id), container.name,
                container.sizeBytes, removed[0]);
    for (const DockerImage& image : items.images)
        account(images, image.id, imageKey(image.id),
                image.isUntagged() ? image.displayName() + u' ' + image.shortID()
                                   : image.displayName(),
                image.uniqueBytes, removed[1]);
    for (const DockerVolume& volume : items.volumes)
        account(volumes, volume.name, volumeKey(volume.name), volume.name, volume.sizeBytes,
                removed[2]);

    DockerBatchResult all;
    for (const DockerBatchResult* part : {&containers, &images, &volumes}) {
        all.succeeded += part->succeeded;
        all.failed.insert(part->failed);
    }
    lastResult_ = all;
    lastFreedBytes_ = freed;
    const QString summary = summaryOf(removed[0], removed[1], removed[2]);
    const QString message =
        summary.isEmpty() ? QStringLiteral("No Docker items were removed.")
                          : QStringLiteral("Removed ") + summary + QStringLiteral(", freed ") +
                                formatBytes(freed) + u'.' + PlatformWords::here().dockerSpaceNote;
    reload();
    finishAction(message, failures);
}

void DockerModel::pruneBuildCache() {
    if (isPruning_ || !beginRemoval())
        return;
    isPruning_ = true;
    emit busyChanged();
    if (isDryRun()) {
        // A prune without "--all" leaves the records in use, so what it would free is the
        // reclaimable part, not the whole cache.
        const qint64 reclaimable = snapshot_ ? snapshot_->buildCache.reclaimableBytes : 0;
        isPruning_ = false;
        emit busyChanged();
        lastResult_.reset();
        lastFreedBytes_ = 0;
        finishAction(QStringLiteral("Dry run: would clear ") + formatBytes(reclaimable), {});
        return;
    }
    startJob(JobKind::removal, [this, service = service_](const CancellationToken&,
                                                          const MainThreadPost& post) {
        qint64 freed = 0;
        const std::optional<QString> error = failureOf([&] { freed = service.pruneBuildCache(); });
        post([this, freed, error] {
            isPruning_ = false;
            emit busyChanged();
            DockerBatchResult result;
            QList<ItemFailure> failures;
            QString message;
            if (error) {
                result.failed.insert(buildCacheID, *error);
                failures.append({buildCacheID, QStringLiteral("Build cache"),
                                 QStringLiteral("not cleared: ") + *error});
                message = QStringLiteral("The build cache was not cleared.");
            } else {
                result.succeeded.append(buildCacheID);
                message = QStringLiteral("Cleared the build cache, freed ") + formatBytes(freed);
            }
            lastResult_ = result;
            lastFreedBytes_ = error ? 0 : freed;
            reload();
            finishAction(message, failures);
        });
    });
}

void DockerModel::finishAction(const QString& message, const QList<ItemFailure>& failures) {
    lastMessage_ = message;
    toasts().post(message, failures.isEmpty() ? ToastStyle::success : ToastStyle::info);
    finishRemoval(failures);
    emit actionFinished();
}

void DockerModel::runCommand(std::function<std::optional<QString>(const DockerService&)> command,
                             std::function<void(const std::optional<QString>& error)> done) {
    runInBackground([service = service_, mailbox = commandMailbox_, command = std::move(command),
                     done = std::move(done)] {
        const std::optional<QString> error = command(service);
        mailbox->post([done, error] { done(error); });
    });
}

void DockerModel::startContainer(const QString& id) {
    if (busyContainerIDs_.contains(id))
        return;
    if (isDryRun()) {
        toasts().post(QStringLiteral("Dry run: would start the container."), ToastStyle::info);
        return;
    }
    busyContainerIDs_.insert(id);
    emit busyChanged();
    runCommand(
        [id](const DockerService& service) {
            return failureOf([&] { service.startContainer(id); });
        },
        [this, id](const std::optional<QString>& error) {
            busyContainerIDs_.remove(id);
            emit busyChanged();
            if (error)
                toasts().post(QStringLiteral("The container did not start: ") + *error,
                              ToastStyle::info);
            reload();
        });
}

void DockerModel::stopContainer(const QString& id) {
    if (busyContainerIDs_.contains(id))
        return;
    if (isDryRun()) {
        toasts().post(QStringLiteral("Dry run: would stop the container."), ToastStyle::info);
        return;
    }
    busyContainerIDs_.insert(id);
    emit busyChanged();
    runCommand(
        [id](const DockerService& service) {
            return failureOf([&] { service.stopContainer(id); });
        },
        [this, id](const std::optional<QString>& error) {
            busyContainerIDs_.remove(id);
            emit busyChanged();
            if (error)
                toasts().post(QStringLiteral("The container did not stop: ") + *error,
                              ToastStyle::info);
            reload();
        });
}

void DockerModel::startDocker() {
    if (!Locations::isMac()) {
        toasts().post(sentenceStart(PlatformWords::here().dockerEngine) +
                          QStringLiteral(" can't be started from here; start the Docker service "
                                         "(for example: sudo systemctl start docker) and reload."),
                      ToastStyle::info);
        return;
    }
    if (isStartingDocker_)
        return;
    isStartingDocker_ = true;
    emit busyChanged();
    runCommand(
        [cancellation =
             commandCancellation_](const DockerService& service) -> std::optional<QString> {
            // `open -b` returns once the app is launched; the engine inside it comes up later,
            // so wait for it to answer (or give up) before listing again.
            try {
                const ProcessResult opened =
                    service.runner->run(Locations::toolPath(Locations::Tool::open),
                                        {QStringLiteral("-b"), QStringLiteral("com.docker.docker")},
                                        std::nullopt, {}, 60.0, cancellation);
                if (opened.exitCode != 0)
                    return QString::fromUtf8(opened.standardError).trimmed();
            } catch (const ProcessRunnerError& error) {
                return error.description();
            }
            const auto deadline = std::chrono::steady_clock::now() + dockerStartPatience;
            for (int tick = 0; std::chrono::steady_clock::now() < deadline; ++tick) {
                if (cancellation.isCancelled())
                    break;
                if (tick % dockerStatusPollEvery == 0 &&
                    service.status().kind == DockerStatus::Case::running)
                    break;
                std::this_thread::sleep_for(dockerStartPollInterval);
            }
            return std::nullopt;
        },
        [this](const std::optional<QString>& error) {
            isStartingDocker_ = false;
            emit busyChanged();
            if (error)
                toasts().post(PlatformWords::here().dockerEngine +
                                  QStringLiteral(" could not be opened: ") + *error,
                              ToastStyle::info);
            reload();
        });
}

} // namespace corvane
