#include "devtools/SimulatorsModel.h"

#include "platform/ByteFormat.h"
#include "platform/CheckedSum.h"
#include "platform/TrashService.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace corvane {

namespace {

QString text(const char* latin) {
    return QString::fromLatin1(latin);
}

QString counted(qsizetype count, const char* one, const char* many) {
    return QString::number(count) + u' ' + text(count == 1 ? one : many);
}

// "A", "A and B", "A, B and C".
QString joinedNames(const QStringList& names) {
    if (names.size() <= 1)
        return names.value(0);
    return names.first(names.size() - 1).join(text(", ")) + text(" and ") + names.last();
}

// What a runtime is called in texts; unusable images have no version to name them by.
QString nameOf(const SimulatorRuntime& runtime) {
    if (runtime.version.isEmpty())
        return text("unusable runtime ") + runtime.id;
    return runtime.displayName();
}

// Sleeps in short slices so that a model going away does not wait out a whole poll.
void sleepUnlessCancelled(double seconds, const CancellationToken& cancellation) {
    using namespace std::chrono;
    const auto end = steady_clock::now() + duration_cast<steady_clock::duration>(
                                               duration<double>(std::max(seconds, 0.0)));
    for (auto now = steady_clock::now(); now < end; now = steady_clock::now()) {
        cancellation.throwIfCancelled();
        std::this_thread::sleep_for(std::min<steady_clock::duration>(milliseconds(100), end - now));
    }
    cancellation.throwIfCancelled();
}

const QString permanenceText = QStringLiteral(
    "This is permanent: runtimes do not go to the Trash. You can download any of them again in "
    "Xcode > Settings > Components.");

} // namespace

SimulatorsModel::SimulatorsModel(ToastCenter& toasts, SimulatorService service, bool isDryRun,
                                 QObject* parent)
    : InventoryModel(toasts, isDryRun, parent)
    , service_(service) {}

bool SimulatorsModel::containsItem(const QString& id) const {
    return std::any_of(runtimes_.cbegin(), runtimes_.cend(), [&](const SimulatorRuntime& runtime) {
        return runtime.id == id && runtime.isDeletable;
    });
}

void SimulatorsModel::startLoading() {
    clearSelection();
    startJob(JobKind::load, [this, service = service_](const CancellationToken& cancellation,
                                                       const MainThreadPost& post) {
        try {
            QList<SimulatorRuntime> runtimes = service.runtimes();
            cancellation.throwIfCancelled();
            QList<SimulatorDevice> devices = service.devices();
            cancellation.throwIfCancelled();
            QMap<SimPlatform, QString> sdkVersions = service.sdkVersions();
            post([this, runtimes, devices, sdkVersions] {
                runtimes_ = runtimes;
                devices_ = devices;
                sdkVersions_ = sdkVersions;
                loadError_.reset();
                isXcodeMissing_ = false;
                emit inventoryChanged();
                finishLoading();
            });
        } catch (const SimulatorServiceError& error) {
            // Half a listing would offer runtimes without their devices: show nothing instead.
            post([this, message = error.message(),
                  missing = error.kind() == SimulatorServiceError::Case::xcodeMissing] {
                runtimes_.clear();
                devices_.clear();
                sdkVersions_.clear();
                loadError_ = message;
                isXcodeMissing_ = missing;
                emit inventoryChanged();
                finishLoading();
            });
        }
    });
}

bool SimulatorsModel::isOlderThanSDK(const SimulatorRuntime& runtime) const {
    const auto sdk = sdkVersions_.constFind(runtime.platform);
    return runtime.isDeletable && sdk != sdkVersions_.cend() && !runtime.version.isEmpty() &&
           compareVersions(runtime.version, *sdk) < 0;
}

bool SimulatorsModel::isCurrentSDK(const SimulatorRuntime& runtime) const {
    const auto sdk = sdkVersions_.constFind(runtime.platform);
    return sdk != sdkVersions_.cend() && !runtime.version.isEmpty() &&
           compareVersions(runtime.version, *sdk) == 0;
}

QString SimulatorsModel::selectOlderTitle() const {
    const auto count =
        std::count_if(runtimes_.cbegin(), runtimes_.cend(),
                      [this](const SimulatorRuntime& r) { return isOlderThanSDK(r); });
    return text("Select ") + QString::number(count) + text(" Older Than SDK");
}

void SimulatorsModel::selectOlderThanSDK() {
    for (const SimulatorRuntime& runtime : runtimes_) {
        if (isOlderThanSDK(runtime))
            setSelected(runtime.id, true);
    }
}

QStringList SimulatorsModel::pathsOfItem(const QString& id) const {
    QStringList paths;
    for (const SimulatorRuntime& runtime : runtimes_) {
        if (runtime.id != id)
            continue;
        for (const SimulatorDevice& device : devicesOn(runtime)) {
            if (!device.dataPath.isEmpty())
                paths.append(device.dataPath);
        }
    }
    return paths;
}

QList<SimulatorDevice> SimulatorsModel::devicesOn(const SimulatorRuntime& runtime) const {
    QList<SimulatorDevice> devices;
    if (runtime.runtimeIdentifier.isEmpty())
        return devices;
    for (const SimulatorDevice& device : devices_) {
        if (device.runtimeIdentifier == runtime.runtimeIdentifier)
            devices.append(device);
    }
    return devices;
}

QList<SimulatorRuntime> SimulatorsModel::selectedRuntimes() const {
    QList<SimulatorRuntime> selected;
    for (const SimulatorRuntime& runtime : runtimes_) {
        if (runtime.isDeletable && selectedIDs().contains(runtime.id))
            selected.append(runtime);
    }
    return selected;
}

QList<RuntimeRemover::DeviceGroup>
SimulatorsModel::deviceGroups(const QList<SimulatorRuntime>& doomed) const {
    // Two images can carry one runtime identifier, and the device list cannot tell which of them
    // a device boots from: its devices go only when no image of that identifier stays, and only
    // once every doomed image of it was deleted.
    QMap<QString, RuntimeRemover::DeviceGroup> groups;
    for (const SimulatorRuntime& runtime : doomed) {
        if (!runtime.runtimeIdentifier.isEmpty())
            groups[runtime.runtimeIdentifier].runtimeIDs.append(runtime.id);
    }
    for (const SimulatorRuntime& runtime : runtimes_) {
        const bool stays =
            std::none_of(doomed.cbegin(), doomed.cend(),
                         [&](const SimulatorRuntime& r) { return r.id == runtime.id; });
        if (stays)
            groups.remove(runtime.runtimeIdentifier);
    }
    for (const SimulatorDevice& device : devices_) {
        const auto group = groups.find(device.runtimeIdentifier);
        if (group == groups.end())
            continue;
        group->udids.append(device.id);
        if (device.isBooted)
            group->bootedUdids.append(device.id);
    }
    return groups.values();
}

QList<SimulatorDevice> SimulatorsModel::devicesLosing(const QList<SimulatorRuntime>& doomed) const {
    QSet<QString> udids;
    for (const RuntimeRemover::DeviceGroup& group : deviceGroups(doomed))
        udids.unite(QSet<QString>(group.udids.cbegin(), group.udids.cend()));
    QList<SimulatorDevice> devices;
    for (const SimulatorDevice& device : devices_) {
        if (udids.contains(device.id))
            devices.append(device);
    }
    return devices;
}

std::optional<SimulatorDevice> SimulatorsModel::device(const QString& udid) const {
    const auto found = std::find_if(devices_.cbegin(), devices_.cend(),
                                    [&](const SimulatorDevice& d) { return d.id == udid; });
    return found == devices_.cend() ? std::nullopt : std::optional(*found);
}

QString SimulatorsModel::deleteConfirmationTitle() const {
    return text("Delete ") + counted(selectedRuntimes().size(), "runtime", "runtimes");
}

QString SimulatorsModel::deleteConfirmationText() const {
    const QList<SimulatorRuntime> doomed = selectedRuntimes();
    QStringList names;
    qint64 bytes = 0;
    for (const SimulatorRuntime& runtime : doomed) {
        names.append(nameOf(runtime));
        bytes = checkedSum(bytes, runtime.sizeBytes);
    }
    QString message =
        joinedNames(names) + text(" (") + formatBytes(bytes) + text(") will be deleted.");
    if (const qsizetype devices = devicesLosing(doomed).size(); devices > 0)
        message += text(" The ") + counted(devices, "device", "devices") +
                   text(" that run on them will be deleted too.");
    return message + u' ' + permanenceText;
}

std::optional<QString> SimulatorsModel::keepRefusal(const SimulatorDevice& device) {
    return device.dataPath.isEmpty() ? std::nullopt : TrashService::keepRefusal(device.dataPath);
}

QList<SimulatorRuntime> SimulatorsModel::sparingKeptDevices(QList<SimulatorRuntime> doomed,
                                                            QList<ItemFailure>& refused) const {
    // Deleting a runtime deletes the devices that boot from it, so a device whose data is kept
    // holds back every image of its runtime.
    QMap<QString, QString> heldBack;
    for (const SimulatorDevice& device : devicesLosing(doomed)) {
        if (const std::optional<QString> kept = keepRefusal(device))
            heldBack.insert(device.runtimeIdentifier, *kept == TrashService::keptMessage
                                                          ? text("Refused: its device ") +
                                                                device.name +
                                                                text(" is marked Keep")
                                                          : *kept);
    }
    doomed.removeIf([&](const SimulatorRuntime& runtime) {
        const auto reason = heldBack.constFind(runtime.runtimeIdentifier);
        if (reason == heldBack.cend())
            return false;
        refused.append({runtime.id, nameOf(runtime), *reason});
        return true;
    });
    return doomed;
}

void SimulatorsModel::deleteSelected() {
    if (selectedRuntimes().isEmpty() || !beginRemoval())
        return;
    QList<ItemFailure> refused;
    const QList<SimulatorRuntime> doomed = sparingKeptDevices(selectedRuntimes(), refused);
    if (doomed.isEmpty()) {
        lastResult_.reset();
        finishAction(text("No runtime was deleted."), refused);
        return;
    }
    QStringList ids;
    qint64 bytes = 0;
    for (const SimulatorRuntime& runtime : doomed) {
        ids.append(runtime.id);
        bytes = checkedSum(bytes, runtime.sizeBytes);
    }
    const QList<SimulatorDevice> devices = devicesLosing(doomed);
    for (const SimulatorDevice& device : devices)
        bytes = checkedSum(bytes, device.dataSizeBytes);

    if (isDryRun()) {
        QString summary = counted(ids.size(), "runtime", "runtimes");
        if (!devices.isEmpty())
            summary += text(" (with ") + counted(devices.size(), "device", "devices") + u')';
        lastResult_.reset();
        finishAction(text("Dry run: would delete ") + summary + text(" and free ") +
                         formatBytes(bytes),
                     refused);
        return;
    }

    for (const QString& id : ids)
        deletingRuntimeIDs_.insert(id);
    emit busyChanged();

    startJob(JobKind::removal, [this, service = service_, ids, groups = deviceGroups(doomed),
                                refused, interval = pollInterval_, limit = timeout_,
                                sleep = sleep_](const CancellationToken& cancellation,
                                                const MainThreadPost& post) {
        RuntimeRemover remover;
        remover.shutDown = [&service](const QStringList& list) { service.shutDown(list); };
        remover.deleteDevices = [&service](const QStringList& list) {
            service.deleteDevices(list);
        };
        remover.deleteRuntime = [&service](const QString& id) { service.deleteRuntime(id); };
        remover.installedIDs = [&service] { return service.installedRuntimeIDs(); };
        remover.sleep = [&sleep, &cancellation](double seconds) {
            cancellation.throwIfCancelled();
            if (sleep)
                sleep(seconds);
            else
                sleepUnlessCancelled(seconds, cancellation);
        };
        remover.pollInterval = interval;
        remover.timeout = limit;
        const RuntimeRemover::Result result = remover.remove(ids, groups);
        post([this, result, refused] { applyRemoval(result, refused); });
    });
}

void SimulatorsModel::applyRemoval(const RuntimeRemover::Result& result,
                                   const QList<ItemFailure>& refused) {
    auto runtime = [this](const QString& id) {
        const auto found = std::find_if(runtimes_.cbegin(), runtimes_.cend(),
                                        [&](const SimulatorRuntime& r) { return r.id == id; });
        return found == runtimes_.cend() ? std::nullopt : std::optional(*found);
    };
    auto name = [&](const QString& id) {
        const auto found = runtime(id);
        return found ? nameOf(*found) : id;
    };

    QStringList sentences;
    if (!result.removed.isEmpty() || !result.deletedDevices.isEmpty()) {
        qint64 freed = 0;
        QStringList what;
        for (const QString& id : result.removed) {
            if (const auto found = runtime(id))
                freed = checkedSum(freed, found->sizeBytes);
        }
        for (const QString& udid : result.deletedDevices) {
            if (const auto found = device(udid))
                freed = checkedSum(freed, found->dataSizeBytes);
        }
        if (!result.removed.isEmpty())
            what.append(counted(result.removed.size(), "runtime", "runtimes"));
        if (!result.deletedDevices.isEmpty())
            what.append(counted(result.deletedDevices.size(), "device", "devices"));
        sentences.append(text("Deleted ") + joinedNames(what) + text(", freed ") +
                         formatBytes(freed) + u'.');
    }
    if (!result.stillRemoving.isEmpty()) {
        QStringList names;
        for (const QString& id : result.stillRemoving)
            names.append(name(id));
        sentences.append(text("macOS is still removing ") + joinedNames(names) +
                         text(" in the background; ") + text(names.size() == 1 ? "it" : "they") +
                         text(" will disappear shortly."));
    }
    if (sentences.isEmpty())
        sentences.append(text("No runtime was deleted."));

    QList<ItemFailure> failures = refused;
    for (auto it = result.failed.cbegin(); it != result.failed.cend(); ++it)
        failures.append({it.key(), name(it.key()), it.value()});
    for (auto it = result.failedDevices.cbegin(); it != result.failedDevices.cend(); ++it) {
        const auto found = device(it.key());
        failures.append({it.key(), found ? found->name : it.key(), it.value()});
    }

    deletingRuntimeIDs_.clear();
    emit busyChanged();
    lastResult_ = result;
    finishAction(sentences.join(u' '), failures);
}

void SimulatorsModel::erase(const QString& udid) {
    const auto found = std::find_if(devices_.cbegin(), devices_.cend(),
                                    [&](const SimulatorDevice& d) { return d.id == udid; });
    if (found == devices_.cend() || !beginRemoval())
        return;
    const SimulatorDevice device = *found;
    if (const std::optional<QString> kept = keepRefusal(device)) {
        finishAction(text("Could not erase ") + device.name + u'.',
                     {{device.id, device.name, *kept}});
        return;
    }
    if (isDryRun()) {
        finishAction(text("Dry run: would erase ") + device.name, {});
        return;
    }
    erasingDeviceIDs_.insert(udid);
    emit busyChanged();
    startJob(JobKind::removal, [this, service = service_, device](const CancellationToken&,
                                                                  const MainThreadPost& post) {
        std::optional<QString> failure;
        try {
            // A device that is not running refuses the shutdown; the erase says what matters.
            service.shutDown({device.id});
        } catch (const SimulatorServiceError&) {
        }
        try {
            service.erase(device.id);
        } catch (const SimulatorServiceError& error) {
            failure = error.message();
        }
        post([this, device, failure] {
            erasingDeviceIDs_.remove(device.id);
            emit busyChanged();
            if (failure)
                finishAction(text("Could not erase ") + device.name + u'.',
                             {{device.id, device.name, *failure}});
            else
                finishAction(text("Erased ") + device.name + text(", freed ") +
                                 formatBytes(device.dataSizeBytes),
                             {});
        });
    });
}

void SimulatorsModel::finishAction(const QString& message, const QList<ItemFailure>& failures) {
    lastMessage_ = message;
    toasts().post(message, failures.isEmpty() ? ToastStyle::success : ToastStyle::info);
    finishRemoval(failures);
    if (!isDryRun())
        reload();
    emit actionFinished();
}

void SimulatorsModel::setPolling(double interval, double timeout,
                                 std::function<void(double)> sleep) {
    pollInterval_ = interval;
    timeout_ = timeout;
    sleep_ = std::move(sleep);
}

} // namespace corvane
