#include "cli/DevtoolsCommands.h"

#include "cli/Command.h"
#include "cli/JsonOutput.h"
#include "cli/SessionDriver.h"
#include "devtools/DockerLookup.h"
#include "platform/ByteFormat.h"
#include "platform/Locations.h"
#include "platform/TrashService.h"

#include <QJsonArray>

namespace corvane::cli {
namespace {

template <typename Model> void load(Model& model) {
    model.reload();
    waitUntil(model, &Model::isLoadingChanged, [&model] { return !model.isLoading(); });
}

// Runs the model's action started by `start` and waits until it has ended. A dry run may end
// at once, without any work to wait for.
template <typename Model>
void carryOutAction(Model& model, const std::function<void()>& start,
                    const std::function<bool()>& isBusy) {
    bool finished = false;
    const QObject receiver;
    QObject::connect(&model, &Model::actionFinished, &receiver, [&finished] { finished = true; });
    start();
    waitUntil(model, &Model::actionFinished, [&] { return finished || !isBusy(); });
}

// Asks before a permanent change unless told not to; nothing is asked off a terminal.
bool confirmed(const QString& question, const ChangeFlags& flags, Console& console, int& status) {
    if (flags.dryRun || flags.yes)
        return true;
    if (!console.canAsk) {
        console.err << "Nothing was changed: confirm with --yes, or run on a terminal to be asked "
                       "first.\n";
        status = exitRefusedOrBadArguments;
        return false;
    }
    if (!console.ask(question)) {
        console.out << "Nothing was changed.\n" << Qt::flush;
        status = exitOk;
        return false;
    }
    return true;
}

QJsonObject dockerJson(const DockerModel& model) {
    QJsonObject status{{QStringLiteral("status"), model.status()->caseName()}};
    if (model.status()->kind == DockerStatus::Case::running)
        status.insert(QStringLiteral("version"), model.status()->version);
    if (!model.snapshot()) {
        status.insert(QStringLiteral("loadError"), orNull(model.loadError()));
        return status;
    }
    const DockerSnapshot& snapshot = *model.snapshot();
    QJsonArray images;
    for (const DockerImage& image : snapshot.images)
        images.append(QJsonObject{
            {QStringLiteral("id"), image.id},
            {QStringLiteral("shortId"), image.shortID()},
            {QStringLiteral("displayName"), image.displayName()},
            {QStringLiteral("repository"), image.repository},
            {QStringLiteral("tag"), image.tag},
            {QStringLiteral("references"), QJsonArray::fromStringList(image.references)},
            {QStringLiteral("sizeBytes"), image.sizeBytes},
            {QStringLiteral("uniqueBytes"), image.uniqueBytes},
            {QStringLiteral("containerCount"), image.containerCount},
            {QStringLiteral("createdAt"), isoDateOrNull(image.createdAt)},
            {QStringLiteral("removalBlockedReason"),
             orNull(DockerService::removalBlockedReason(image))}});
    QJsonArray containers;
    for (const DockerContainer& container : snapshot.containers)
        containers.append(
            QJsonObject{{QStringLiteral("id"), container.id},
                        {QStringLiteral("name"), container.name},
                        {QStringLiteral("image"), container.image},
                        {QStringLiteral("state"), container.state},
                        {QStringLiteral("status"), container.status},
                        {QStringLiteral("composeProject"), orNull(container.composeProject)},
                        {QStringLiteral("sizeBytes"), container.sizeBytes},
                        {QStringLiteral("createdAt"), isoDateOrNull(container.createdAt)},
                        {QStringLiteral("removalBlockedReason"),
                         orNull(DockerService::removalBlockedReason(container))}});
    QJsonArray volumes;
    for (const DockerVolume& volume : snapshot.volumes)
        volumes.append(
            QJsonObject{{QStringLiteral("name"), volume.name},
                        {QStringLiteral("sizeBytes"), volume.sizeBytes},
                        {QStringLiteral("containerCount"), volume.containerCount},
                        {QStringLiteral("isAnonymous"), volume.isAnonymous},
                        {QStringLiteral("composeProject"), orNull(volume.composeProject)},
                        {QStringLiteral("removalBlockedReason"),
                         orNull(DockerService::removalBlockedReason(volume))}});
    const DockerBuildCache& cache = snapshot.buildCache;
    status.insert(QStringLiteral("images"), images);
    status.insert(QStringLiteral("containers"), containers);
    status.insert(QStringLiteral("volumes"), volumes);
    status.insert(QStringLiteral("buildCache"),
                  QJsonObject{{QStringLiteral("entryCount"), cache.entryCount},
                              {QStringLiteral("totalBytes"), cache.totalBytes},
                              {QStringLiteral("reclaimableBytes"), cache.reclaimableBytes},
                              {QStringLiteral("lastUsedAt"), isoDateOrNull(cache.lastUsedAt)}});
    status.insert(QStringLiteral("imageTotalBytes"),
                  snapshot.imageTotalBytes ? QJsonValue(*snapshot.imageTotalBytes) : QJsonValue());
    return status;
}

void printDocker(const DockerModel& model, QTextStream& out) {
    const DockerStatus& status = *model.status();
    if (status.kind == DockerStatus::Case::notInstalled) {
        out << DockerModel::notInstalledText << '\n';
        return;
    }
    if (status.kind == DockerStatus::Case::notRunning) {
        out << DockerModel::notRunningText << '\n';
        return;
    }
    out << "Docker " << status.version << '\n';
    if (model.loadError()) {
        out << *model.loadError() << '\n';
        return;
    }
    const DockerSnapshot& snapshot = *model.snapshot();
    const auto blocked = [&out](const std::optional<QString>& reason) {
        if (reason)
            out << "    " << *reason << '\n';
    };
    out << "\nImages\n";
    for (const DockerImage& image : snapshot.images) {
        out << "  " << image.shortID() << "  " << image.displayName().leftJustified(40) << ' '
            << formatBytes(image.sizeBytes).rightJustified(10) << "  frees "
            << formatBytes(image.uniqueBytes) << "  " << image.containerCount << " containers  "
            << (image.createdAt ? image.createdAt->toUTC().toString(Qt::ISODate)
                                : QStringLiteral("creation date unknown"))
            << '\n';
        blocked(DockerService::removalBlockedReason(image));
    }
    out << "\nContainers\n";
    for (const DockerContainer& container : snapshot.containers) {
        out << "  " << container.id.left(12) << "  " << container.name.leftJustified(30) << ' '
            << container.image << "  " << container.state << "  "
            << formatBytes(container.sizeBytes);
        if (container.composeProject)
            out << "  (compose " << *container.composeProject << ')';
        out << '\n';
        blocked(DockerService::removalBlockedReason(container));
    }
    out << "\nVolumes\n";
    for (const DockerVolume& volume : snapshot.volumes) {
        out << "  " << volume.name.leftJustified(40) << ' '
            << formatBytes(volume.sizeBytes).rightJustified(10) << "  " << volume.containerCount
            << " links" << (volume.isAnonymous ? "  anonymous" : "");
        if (volume.composeProject)
            out << "  (compose " << *volume.composeProject << ')';
        out << '\n';
        blocked(DockerService::removalBlockedReason(volume));
    }
    out << "\nBuild cache: " << snapshot.buildCache.entryCount << " entries, "
        << formatBytes(snapshot.buildCache.totalBytes) << ", "
        << formatBytes(snapshot.buildCache.reclaimableBytes) << " reclaimable\n";
}

// The exit status of a Docker command that needs Docker running: 1 after saying why not.
bool isRunning(const DockerModel& model, Console& console, int& status) {
    if (model.status() && model.status()->kind == DockerStatus::Case::running && model.snapshot())
        return true;
    console.err << (model.loadError() ? *model.loadError()
                    : model.status() && model.status()->kind == DockerStatus::Case::notInstalled
                        ? DockerModel::notInstalledText
                        : DockerModel::notRunningText)
                << '\n';
    status = exitSomeFailed;
    return false;
}

QJsonObject batchJson(const DockerModel& model) {
    QJsonObject failed;
    QJsonArray succeeded;
    if (model.lastResult()) {
        for (auto entry = model.lastResult()->failed.begin();
             entry != model.lastResult()->failed.end(); ++entry)
            failed.insert(entry.key(), entry.value());
        succeeded = QJsonArray::fromStringList(model.lastResult()->succeeded);
    }
    return {{QStringLiteral("succeeded"), succeeded},
            {QStringLiteral("failed"), failed},
            {QStringLiteral("freedBytes"), model.lastFreedBytes()},
            {QStringLiteral("message"), model.lastMessage()}};
}

int reportBatch(const DockerModel& model, bool json, Console& console) {
    if (json) {
        printJson(console, batchJson(model));
    } else {
        console.out << model.lastMessage() << '\n';
        for (const ItemFailure& failure : model.failures())
            console.out << "  " << failure.name << ": " << failure.message << '\n';
        console.out << Qt::flush;
    }
    const bool failed = model.lastResult() && !model.lastResult()->failed.isEmpty();
    return failed || !model.failures().isEmpty() ? exitSomeFailed : exitOk;
}

QJsonObject simulatorsJson(const SimulatorsModel& model) {
    QJsonArray runtimes;
    for (const SimulatorRuntime& runtime : model.runtimes())
        runtimes.append(
            QJsonObject{{QStringLiteral("id"), runtime.id},
                        {QStringLiteral("platform"), displayName(runtime.platform)},
                        {QStringLiteral("version"), runtime.version},
                        {QStringLiteral("build"), runtime.build},
                        {QStringLiteral("runtimeIdentifier"), runtime.runtimeIdentifier},
                        {QStringLiteral("sizeBytes"), runtime.sizeBytes},
                        {QStringLiteral("lastUsedAt"), isoDateOrNull(runtime.lastUsedAt)},
                        {QStringLiteral("isDeletable"), runtime.isDeletable},
                        {QStringLiteral("olderThanSDK"), model.isOlderThanSDK(runtime)},
                        {QStringLiteral("isCurrentSDK"), model.isCurrentSDK(runtime)}});
    QJsonArray devices;
    for (const SimulatorDevice& device : model.devices())
        devices.append(
            QJsonObject{{QStringLiteral("id"), device.id},
                        {QStringLiteral("name"), device.name},
                        {QStringLiteral("runtimeIdentifier"), device.runtimeIdentifier},
                        {QStringLiteral("isAvailable"), device.isAvailable},
                        {QStringLiteral("isBooted"), device.isBooted},
                        {QStringLiteral("dataSizeBytes"), device.dataSizeBytes},
                        {QStringLiteral("lastBootedAt"), isoDateOrNull(device.lastBootedAt)}});
    QJsonObject sdks;
    for (auto entry = model.sdkVersions().begin(); entry != model.sdkVersions().end(); ++entry)
        sdks.insert(displayName(entry.key()), entry.value());
    return {{QStringLiteral("runtimes"), runtimes},
            {QStringLiteral("devices"), devices},
            {QStringLiteral("sdkVersions"), sdks},
            {QStringLiteral("loadError"), orNull(model.loadError())}};
}

void printSimulators(const SimulatorsModel& model, QTextStream& out) {
    if (model.loadError()) {
        out << *model.loadError() << '\n';
        return;
    }
    out << "Runtimes\n";
    for (const SimulatorRuntime& runtime : model.runtimes()) {
        out << "  " << runtime.displayName().leftJustified(16) << ' '
            << runtime.build.leftJustified(8) << ' '
            << formatBytes(runtime.sizeBytes).rightJustified(10) << "  " << runtime.id;
        if (model.isCurrentSDK(runtime))
            out << "  current Xcode SDK";
        else if (model.isOlderThanSDK(runtime))
            out << "  older than the SDK";
        if (!runtime.isDeletable)
            out << "  (bundled with Xcode)";
        out << '\n';
    }
    out << "\nDevices\n";
    for (const SimulatorDevice& device : model.devices())
        out << "  " << device.name.leftJustified(30) << ' '
            << formatBytes(device.dataSizeBytes).rightJustified(10) << "  " << device.id
            << (device.isBooted ? "  booted" : "") << (device.isAvailable ? "" : "  unavailable")
            << '\n';
}

} // namespace

int runDocker(bool json, Console& console, DockerService service) {
    ToastCenter toasts;
    DockerModel model(toasts, std::move(service));
    load(model);
    if (json)
        printJson(console, dockerJson(model));
    else
        printDocker(model, console.out);
    console.out << Qt::flush;
    int status = exitOk;
    isRunning(model, console, status);
    return status;
}

int runDockerRemove(const DockerRemoveRequest& request, Console& console, DockerService service) {
    ToastCenter toasts;
    DockerModel model(toasts, std::move(service));
    load(model);
    int status = exitOk;
    if (!isRunning(model, console, status))
        return status;
    // Items are named as the listing shows them; each must name exactly one.
    QStringList keys;
    const DockerSnapshot& snapshot = *model.snapshot();
    const auto resolve = [&](const QStringList& names, auto lookup,
                             QString (*key)(const QString&)) {
        for (const QString& name : names) {
            const DockerMatch match = lookup(snapshot, name);
            if (!match.id) {
                console.err << match.problem << '\n';
                return false;
            }
            keys.append(key(*match.id));
        }
        return true;
    };
    if (!resolve(request.containers, DockerLookup::container, DockerModel::containerKey) ||
        !resolve(request.images, DockerLookup::image, DockerModel::imageKey) ||
        !resolve(request.volumes, DockerLookup::volume, DockerModel::volumeKey))
        return exitRefusedOrBadArguments;
    if (keys.isEmpty()) {
        console.err << "Name what to remove with --container, --image or --volume.\n";
        return exitRefusedOrBadArguments;
    }
    // Everything named must be removable, or nothing is removed.
    for (const QString& key : keys) {
        model.setSelected(key, true);
        if (!model.selectedIDs().contains(key)) {
            console.err << "Cannot remove " << key.section(u':', 1)
                        << ": Docker would refuse it (`corvane docker` says why).\n";
            return exitRefusedOrBadArguments;
        }
    }
    if (!confirmed(QStringLiteral("Remove %1 for good? This skips the Trash. [y/N] ")
                       .arg(model.selectionSummary()),
                   {request.dryRun, request.yes, request.json}, console, status))
        return status;
    model.setDryRun(request.dryRun);
    carryOutAction(
        model, [&model] { model.removeSelected(); }, [&model] { return model.isRemoving(); });
    return reportBatch(model, request.json, console);
}

int runDockerPrune(const ChangeFlags& flags, Console& console, DockerService service) {
    ToastCenter toasts;
    DockerModel model(toasts, std::move(service));
    load(model);
    int status = exitOk;
    if (!isRunning(model, console, status))
        return status;
    if (!confirmed(QStringLiteral("Clear the build cache, %1, for good? It is rebuilt as builds "
                                  "need it. [y/N] ")
                       .arg(formatBytes(model.snapshot()->buildCache.reclaimableBytes)),
                   flags, console, status))
        return status;
    model.setDryRun(flags.dryRun);
    carryOutAction(
        model, [&model] { model.pruneBuildCache(); },
        [&model] { return model.isPruning() || model.isRemoving(); });
    return reportBatch(model, flags.json, console);
}

int runSimulators(bool json, Console& console, SimulatorService service) {
    ToastCenter toasts;
    SimulatorsModel model(toasts, std::move(service));
    load(model);
    if (json)
        printJson(console, simulatorsJson(model));
    else
        printSimulators(model, console.out);
    console.out << Qt::flush;
    return model.loadError() ? exitSomeFailed : exitOk;
}

int runDeleteRuntimes(const QStringList& ids, const ChangeFlags& flags, Console& console,
                      SimulatorService service) {
    ToastCenter toasts;
    SimulatorsModel model(toasts, std::move(service));
    load(model);
    if (model.loadError()) {
        console.err << *model.loadError() << '\n';
        return exitSomeFailed;
    }
    for (const QString& id : ids) {
        if (model.isKept(id)) {
            console.err << id << ": Refused: a device marked Keep runs on it\n";
            return exitRefusedOrBadArguments;
        }
        model.setSelected(id, true);
        if (!model.selectedIDs().contains(id)) {
            console.err << "No deletable runtime has the id " << id
                        << "; `corvane simulators` lists them.\n";
            return exitRefusedOrBadArguments;
        }
    }
    int status = exitOk;
    if (!confirmed(model.deleteConfirmationTitle() + QStringLiteral("? ") +
                       model.deleteConfirmationText() + QStringLiteral(" [y/N] "),
                   flags, console, status))
        return status;
    model.setDryRun(flags.dryRun);
    carryOutAction(
        model, [&model] { model.deleteSelected(); }, [&model] { return model.isRemoving(); });
    const std::optional<RuntimeRemover::Result>& result = model.lastResult();
    if (flags.json) {
        const RuntimeRemover::Result none;
        const RuntimeRemover::Result& shown = result ? *result : none;
        const auto object = [](const QMap<QString, QString>& map) {
            QJsonObject json;
            for (auto entry = map.begin(); entry != map.end(); ++entry)
                json.insert(entry.key(), entry.value());
            return json;
        };
        printJson(
            console,
            {{QStringLiteral("removed"), QJsonArray::fromStringList(shown.removed)},
             {QStringLiteral("stillRemoving"), QJsonArray::fromStringList(shown.stillRemoving)},
             {QStringLiteral("failed"), object(shown.failed)},
             {QStringLiteral("deletedDevices"), QJsonArray::fromStringList(shown.deletedDevices)},
             {QStringLiteral("failedDevices"), object(shown.failedDevices)},
             {QStringLiteral("message"), model.lastMessage()}});
    } else {
        console.out << model.lastMessage() << '\n';
        for (const ItemFailure& failure : model.failures())
            console.out << "  " << failure.name << ": " << failure.message << '\n';
        console.out << Qt::flush;
    }
    return model.failures().isEmpty() ? exitOk : exitSomeFailed;
}

int runEraseDevice(const QString& udid, const ChangeFlags& flags, Console& console,
                   SimulatorService service) {
    ToastCenter toasts;
    SimulatorsModel model(toasts, std::move(service));
    load(model);
    const auto device = std::find_if(model.devices().begin(), model.devices().end(),
                                     [&udid](const SimulatorDevice& d) { return d.id == udid; });
    if (device == model.devices().end()) {
        console.err << (model.loadError()
                            ? *model.loadError()
                            : QStringLiteral("No simulator device has the udid ") + udid)
                    << '\n';
        return model.loadError() ? exitSomeFailed : exitRefusedOrBadArguments;
    }
    int status = exitOk;
    if (!confirmed(QStringLiteral("Erase %1? Its apps and data are gone for good. [y/N] ")
                       .arg(device->name),
                   flags, console, status))
        return status;
    model.setDryRun(flags.dryRun);
    carryOutAction(
        model, [&model, &udid] { model.erase(udid); },
        [&model] { return model.isRemoving() || !model.erasingDeviceIDs().isEmpty(); });
    const QString message = toasts.current() ? toasts.current()->message : QString();
    if (flags.json) {
        QJsonArray failures;
        for (const ItemFailure& failure : model.failures())
            failures.append(QJsonObject{{QStringLiteral("id"), failure.itemID},
                                        {QStringLiteral("message"), failure.message}});
        printJson(console,
                  {{QStringLiteral("message"), message}, {QStringLiteral("failures"), failures}});
    } else {
        console.out << message << '\n';
        for (const ItemFailure& failure : model.failures())
            console.out << "  " << failure.name << ": " << failure.message << '\n';
        console.out << Qt::flush;
    }
    return model.failures().isEmpty() ? exitOk : exitSomeFailed;
}

int runAndroid(bool json, Console& console) {
    ToastCenter toasts;
    AndroidModel model(toasts);
    load(model);
    const AndroidInventory& inventory = model.inventory();
    // A file that could not be read leaves the listing short of what it would say.
    const int status = inventory.problems.isEmpty() ? exitOk : exitSomeFailed;
    if (json) {
        QJsonArray components;
        for (const AndroidComponent& component : inventory.components)
            components.append(QJsonObject{
                {QStringLiteral("kind"), rawValue(component.kind)},
                {QStringLiteral("displayName"), component.displayName},
                {QStringLiteral("version"), orNull(component.version)},
                {QStringLiteral("path"), component.url},
                {QStringLiteral("sizeBytes"), component.sizeBytes},
                {QStringLiteral("avdNames"), QJsonArray::fromStringList(component.avdNames)},
                {QStringLiteral("removalBlockedReason"),
                 orNull(model.removalBlockedReason(component.url))}});
        QJsonArray avds;
        for (const AndroidAVD& avd : inventory.avds)
            avds.append(QJsonObject{{QStringLiteral("name"), avd.name},
                                    {QStringLiteral("path"), avd.url},
                                    {QStringLiteral("device"), orNull(avd.deviceName)},
                                    {QStringLiteral("target"), orNull(avd.target)},
                                    {QStringLiteral("systemImage"), orNull(avd.systemImageURL)},
                                    {QStringLiteral("sizeBytes"), avd.sizeBytes},
                                    {QStringLiteral("lastUsedAt"), isoDateOrNull(avd.lastUsedAt)},
                                    {QStringLiteral("isRunning"), avd.isRunning},
                                    {QStringLiteral("isRemovable"), avd.isRemovable},
                                    {QStringLiteral("removalBlockedReason"),
                                     orNull(model.removalBlockedReason(avd.url))}});
        printJson(console,
                  {{QStringLiteral("components"), components},
                   {QStringLiteral("avds"), avds},
                   {QStringLiteral("problems"), QJsonArray::fromStringList(inventory.problems)}});
        return status;
    }
    if (inventory.components.isEmpty() && inventory.avds.isEmpty())
        console.out << "No Android SDK packages or emulators found.\n";
    for (const AndroidComponent& component : inventory.components) {
        console.out << "  " << component.displayName.leftJustified(48) << ' '
                    << formatBytes(component.sizeBytes).rightJustified(10) << "  " << component.url
                    << '\n';
        if (const std::optional<QString> reason = model.removalBlockedReason(component.url))
            console.out << "    " << *reason << '\n';
    }
    for (const AndroidAVD& avd : inventory.avds) {
        console.out << "  AVD " << avd.name.leftJustified(44) << ' '
                    << formatBytes(avd.sizeBytes).rightJustified(10) << "  " << avd.url
                    << (avd.isRunning ? "  running" : "") << '\n';
        if (const std::optional<QString> reason = model.removalBlockedReason(avd.url))
            console.out << "    " << *reason << '\n';
    }
    console.out << Qt::flush;
    for (const QString& problem : inventory.problems)
        console.err << problem << '\n';
    return status;
}

int runAndroidRemove(const QStringList& items, const ChangeFlags& flags, Console& console) {
    ToastCenter toasts;
    AndroidModel model(toasts);
    load(model);
    for (const QString& item : items) {
        const std::optional<QString> id = model.itemID(item);
        if (!id) {
            console.err << "No Android package or emulator is " << item
                        << "; `corvane android` lists them.\n";
            return exitRefusedOrBadArguments;
        }
        if (const std::optional<QString> reason = model.removalBlockedReason(*id)) {
            console.err << item << ": " << *reason << '\n';
            return exitRefusedOrBadArguments;
        }
        model.setSelected(*id, true);
    }
    int status = exitOk;
    if (!confirmed(QStringLiteral("Move %1 item(s), %2, to the Trash? %3 [y/N] ")
                       .arg(model.selectedIDs().size())
                       .arg(formatBytes(model.selectedBytes()), AndroidModel::confirmationNote),
                   flags, console, status))
        return status;
    model.setDryRun(flags.dryRun);
    carryOutAction(
        model, [&model] { model.removeSelected(); }, [&model] { return model.isRemoving(); });
    const std::optional<AndroidModel::Result>& result = model.lastResult();
    if (flags.json) {
        QJsonArray failures;
        if (result) {
            for (const ItemFailure& failure : result->failures)
                failures.append(QJsonObject{{QStringLiteral("id"), failure.itemID},
                                            {QStringLiteral("message"), failure.message}});
        }
        printJson(console, {{QStringLiteral("removed"),
                             QJsonArray::fromStringList(result ? result->removed : QStringList())},
                            {QStringLiteral("failures"), failures},
                            {QStringLiteral("freedBytes"), result ? result->freedBytes : 0},
                            {QStringLiteral("message"), result ? result->message : QString()}});
    } else if (result) {
        console.out << result->message << '\n';
        if (!result->failures.isEmpty())
            console.out << AndroidModel::failuresHeading << '\n';
        for (const ItemFailure& failure : result->failures)
            console.out << "  " << failure.name << ": " << failure.message << '\n';
        console.out << Qt::flush;
    }
    return result && !result->failures.isEmpty() ? exitSomeFailed : exitOk;
}

int runModels(bool json, Console& console) {
    ToastCenter toasts;
    AIModelsModel model(toasts);
    load(model);
    // A store or manifest that could not be read leaves the listing short, and says so.
    const int status = model.loadProblems().isEmpty() ? exitOk : exitSomeFailed;
    if (json) {
        QJsonArray models;
        for (const AIModel& item : model.models())
            models.append(
                QJsonObject{{QStringLiteral("id"), item.id},
                            {QStringLiteral("source"), rawValue(item.source)},
                            {QStringLiteral("name"), item.name},
                            {QStringLiteral("publisher"), orNull(item.publisher)},
                            {QStringLiteral("format"), orNull(item.format)},
                            {QStringLiteral("path"), item.url},
                            {QStringLiteral("sizeBytes"), item.sizeBytes},
                            {QStringLiteral("freesBytes"), item.freesBytes},
                            {QStringLiteral("modifiedAt"), isoDateOrNull(item.modifiedAt)},
                            {QStringLiteral("isIncomplete"), item.isIncomplete},
                            {QStringLiteral("openBy"), orNull(model.openBy(item.id))}});
        printJson(console,
                  {{QStringLiteral("models"), models},
                   {QStringLiteral("isOllamaRunning"), model.isOllamaRunning()},
                   {QStringLiteral("problems"), QJsonArray::fromStringList(model.loadProblems())}});
        return status;
    }
    if (model.models().isEmpty())
        console.out << AIModelsModel::emptyText << '\n';
    for (const AIModel& item : model.models()) {
        console.out << "  " << displayName(item.source).leftJustified(13) << ' '
                    << item.name.leftJustified(44) << ' '
                    << formatBytes(item.sizeBytes).rightJustified(10) << "  " << item.id;
        if (item.freesBytes != item.sizeBytes)
            console.out << "  (frees " << formatBytes(item.freesBytes) << ')';
        if (item.isIncomplete)
            console.out << "  " << AIModelsModel::incompleteLabel;
        if (const std::optional<QString> holder = model.openBy(item.id))
            console.out << "  " << *holder << AIModelsModel::hasItOpenSuffix;
        console.out << '\n';
    }
    console.out << Qt::flush;
    for (const QString& problem : model.loadProblems())
        console.err << problem << '\n';
    return status;
}

int runModelsRemove(const QStringList& ids, const ChangeFlags& flags, Console& console) {
    ToastCenter toasts;
    AIModelsModel model(toasts);
    load(model);
    for (const QString& id : ids) {
        if (model.isKept(id)) {
            console.err << id << ": " << TrashService::keptMessage << '\n';
            return exitRefusedOrBadArguments;
        }
        model.setSelected(id, true);
        if (!model.selectedIDs().contains(id)) {
            console.err << "No model " << id
                        << " can be removed; `corvane models` lists them and says why.\n";
            return exitRefusedOrBadArguments;
        }
    }
    int status = exitOk;
    if (!confirmed(QStringLiteral("Remove %1 model(s), %2? LM Studio and Hugging Face models go to "
                                  "the Trash; Ollama removes its own for good. [y/N] ")
                       .arg(model.selectedIDs().size())
                       .arg(formatBytes(model.selectedBytes())),
                   flags, console, status))
        return status;
    model.setDryRun(flags.dryRun);
    carryOutAction(
        model, [&model] { model.removeSelected(); }, [&model] { return model.isRemoving(); });
    const std::optional<AIModelsResult>& result = model.lastResult();
    if (flags.json) {
        QJsonArray failures;
        if (result) {
            for (const auto& [id, message] : result->failures)
                failures.append(
                    QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("message"), message}});
        }
        printJson(console, {{QStringLiteral("removed"),
                             QJsonArray::fromStringList(result ? result->removed : QStringList())},
                            {QStringLiteral("failures"), failures},
                            {QStringLiteral("freedBytes"), result ? result->freedBytes : 0},
                            {QStringLiteral("message"), result ? result->message : QString()}});
    } else if (result) {
        console.out << result->message << '\n';
        if (!result->failures.isEmpty())
            console.out << AIModelsModel::failuresHeading << '\n';
        for (const auto& [id, message] : result->failures)
            console.out << "  " << id << ": " << message << '\n';
        console.out << Qt::flush;
    }
    return result && !result->failures.isEmpty() ? exitSomeFailed : exitOk;
}

} // namespace corvane::cli
