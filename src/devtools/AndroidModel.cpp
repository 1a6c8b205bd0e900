#include "devtools/AndroidModel.h"

#include "platform/ByteFormat.h"
#include "platform/CheckedSum.h"
#include "platform/Paths.h"
#include "platform/TrashService.h"

namespace corvane {
namespace {

QString androidItems(qsizetype count) {
    return QString::number(count) +
           (count == 1 ? QStringLiteral(" Android item") : QStringLiteral(" Android items"));
}

} // namespace

AndroidModel::AndroidModel(ToastCenter& toasts, bool isDryRun, const ProcessRunner& runner,
                           const PlatformTrash& trash, QObject* parent)
    : InventoryModel(toasts, isDryRun, parent)
    , runner_(runner)
    , trash_(trash) {}

void AndroidModel::startLoading() {
    startJob(JobKind::load, [this, runner = &runner_](const CancellationToken& cancellation,
                                                      const MainThreadPost& post) {
        AndroidInventory found;
        try {
            found = AndroidCatalog::inventory(*runner, cancellation);
        } catch (const CancelledError&) {
            return;
        }
        post([this, found] {
            inventory_ = found;
            pruneSelection();
            emit inventoryChanged();
            finishLoading(found.problems);
        });
    });
}

const AndroidComponent* AndroidModel::component(const QString& id) const {
    for (const AndroidComponent& item : inventory_.components) {
        if (item.url == id)
            return &item;
    }
    return nullptr;
}

const AndroidAVD* AndroidModel::avd(const QString& id) const {
    for (const AndroidAVD& item : inventory_.avds) {
        if (item.url == id)
            return &item;
    }
    return nullptr;
}

bool AndroidModel::containsItem(const QString& id) const {
    return component(id) || avd(id);
}

QStringList AndroidModel::pathsOfItem(const QString& id) const {
    // A package or an emulator is named by its folder.
    return containsItem(id) ? QStringList{id} : QStringList();
}

std::optional<QString> AndroidModel::itemID(const QString& nameOrPath) const {
    const QString path = Paths::absoluteStandardized(nameOrPath);
    if (containsItem(path))
        return path;
    for (const AndroidAVD& item : inventory_.avds) {
        if (item.name == nameOrPath || item.iniURL == path)
            return item.url;
    }
    return std::nullopt;
}

std::optional<QString> AndroidModel::removalBlockedReason(const QString& id) const {
    if (isKept(id))
        return TrashService::keptMessage;
    if (const AndroidComponent* item = component(id))
        return AndroidCatalog::removalBlockedReason(*item);
    if (const AndroidAVD* item = avd(id))
        return AndroidCatalog::removalBlockedReason(*item);
    return std::nullopt;
}

QString AndroidModel::nameOf(const QString& id) const {
    if (const AndroidComponent* item = component(id))
        return item->displayName;
    if (const AndroidAVD* item = avd(id))
        return item->name;
    return id;
}

qint64 AndroidModel::selectedBytes() const {
    qint64 total = 0;
    for (const QString& id : selectedIDs()) {
        if (const AndroidComponent* item = component(id))
            total = checkedSum(total, item->sizeBytes);
        else if (const AndroidAVD* item = avd(id))
            total = checkedSum(total, item->sizeBytes);
    }
    return total;
}

void AndroidModel::removeSelected() {
    QList<AndroidComponent> components;
    QList<AndroidAVD> avds;
    for (const AndroidComponent& item : inventory_.components) {
        if (selectedIDs().contains(item.url))
            components.append(item);
    }
    for (const AndroidAVD& item : inventory_.avds) {
        if (selectedIDs().contains(item.url))
            avds.append(item);
    }
    if ((components.isEmpty() && avds.isEmpty()) || !beginRemoval())
        return;
    // A dry run makes every check a real run makes: a running emulator is refused in it too.
    startJob(JobKind::removal,
             [this, components, avds, runner = &runner_, trash = &trash_,
              dryRun = isDryRun()](const CancellationToken&, const MainThreadPost& post) {
                 const AndroidRemovalResult outcome =
                     AndroidCatalog::remove(components, avds, *runner, *trash, dryRun);
                 post([this, outcome] { applyRemoval(outcome); });
             });
}

void AndroidModel::applyRemoval(const AndroidRemovalResult& outcome) {
    Result result{outcome.removed, {}, outcome.freedBytes, {}};
    for (const AndroidRemovalFailure& failure : outcome.failures)
        result.failures.append({failure.url, failure.name, failure.message});
    const QString size = QStringLiteral(" (") + formatBytes(outcome.freedBytes) + u')';
    if (isDryRun()) {
        result.message = outcome.removed.isEmpty()
                             ? QStringLiteral("Dry run: no Android item would be moved")
                             : QStringLiteral("Dry run: would move ") +
                                   androidItems(outcome.removed.size()) + size;
        finish(result);
        return;
    }
    for (const QString& id : outcome.removed)
        setSelected(id, false);
    result.message = outcome.removed.isEmpty()
                         ? failuresHeading
                         : QStringLiteral("Moved ") + androidItems(outcome.removed.size()) +
                               QStringLiteral(" to the Trash") + size;
    finish(result);
    reload();
}

void AndroidModel::finish(Result result) {
    toasts().post(result.message,
                  result.failures.isEmpty() ? ToastStyle::success : ToastStyle::info);
    const QList<ItemFailure> failures = result.failures;
    lastResult_ = std::move(result);
    finishRemoval(failures);
    emit actionFinished();
}

} // namespace corvane
