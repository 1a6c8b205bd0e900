#include "shell/SimulatorsView.h"

#include "platform/ByteFormat.h"
#include "shell/ActivityWords.h"
#include "shell/InventoryWidgets.h"
#include "shell/ItemContextMenu.h"

#include <QPushButton>
#include <QTreeWidget>

namespace corvane {
namespace {

enum Column { nameColumn, sizeColumn, detailColumn };
constexpr int deviceRole = Qt::UserRole + 1;
constexpr int dataPathRole = Qt::UserRole + 2;
// A device whose data a Keep mark binds: it is never erased.
constexpr int keptRole = Qt::UserRole + 3;

QString lastUsed(const std::optional<QDateTime>& date, const char* never) {
    return date ? activityWords(*date, QDateTime::currentDateTime()) : QString::fromLatin1(never);
}

} // namespace

SimulatorsView::SimulatorsView(SimulatorsModel& model, QWidget* parent)
    : InventoryPage(model,
                    {QStringLiteral("simulatorsView"),
                     QStringLiteral("simulatorsTree"),
                     QStringLiteral("Simulator runtimes and devices"),
                     QStringLiteral("simulatorsState"),
                     QStringLiteral("simulatorFailures"),
                     {QStringLiteral("Name"), QStringLiteral("Size"), QStringLiteral("Details")},
                     300},
                    parent)
    , model_(model)
    , selectOlder_(new QPushButton(this))
    , erase_(new QPushButton(QStringLiteral("Erase Device…"), this))
    , delete_(new QPushButton(QStringLiteral("Delete…"), this)) {
    // Runtimes have no folder of their own to show; devices have their data.
    ItemContextMenu::attach(
        *tree_,
        [](const QModelIndex& row) {
            return row.siblingAtColumn(nameColumn).data(dataPathRole).toString();
        },
        ItemContextMenu::keepFolders);
    selectOlder_->setToolTip(QStringLiteral(
        "Selects every runtime older than the SDK your current Xcode builds against"));
    delete_->setObjectName(QStringLiteral("deleteRuntimes"));
    layOut(QStringLiteral("Simulators"), SimulatorsModel::explanationText, {selectOlder_},
           {erase_, delete_});

    connect(selectOlder_, &QPushButton::clicked, &model_, &SimulatorsModel::selectOlderThanSDK);
    connect(delete_, &QPushButton::clicked, this, &SimulatorsView::confirmDelete);
    connect(erase_, &QPushButton::clicked, this, [this] {
        if (const QTreeWidgetItem* row = tree_->currentItem())
            confirmErase(row->data(nameColumn, deviceRole).toString());
    });
    connect(tree_, &QTreeWidget::currentItemChanged, this, &SimulatorsView::showState);
    connect(&model_, &SimulatorsModel::inventoryChanged, this, &SimulatorsView::showInventory);
    connect(&model_, &SimulatorsModel::busyChanged, this, &SimulatorsView::showInventory);
    connect(&model_, &InventoryModel::selectedIDsChanged, this, &SimulatorsView::showInventory);
    connect(&model_, &InventoryModel::keptChanged, this, &SimulatorsView::showInventory);
    showInventory();
}

void SimulatorsView::showInventory() {
    refill([this] { fillInventory(); });
}

void SimulatorsView::fillInventory() {
    QTreeWidgetItem* runtimes = InventoryWidgets::addHeading(tree_, QStringLiteral("Runtimes"));
    for (const SimulatorRuntime& runtime : model_.runtimes()) {
        auto* row = new QTreeWidgetItem(runtimes);
        QString name = runtime.displayName();
        if (!runtime.build.isEmpty())
            name += QStringLiteral(" (") + runtime.build + u')';
        if (model_.isCurrentSDK(runtime))
            name += QStringLiteral("  — current Xcode SDK");
        row->setText(nameColumn, name);
        row->setData(nameColumn, idRole, runtime.id);
        InventoryWidgets::setSize(*row, sizeColumn, runtime.sizeBytes);
        const qsizetype devices = model_.devicesOn(runtime).size();
        QString detail = QStringLiteral("last used %1, %2 device%3")
                             .arg(lastUsed(runtime.lastUsedAt, "never"))
                             .arg(devices)
                             .arg(devices == 1 ? QString() : QStringLiteral("s"));
        if (model_.deletingRuntimeIDs().contains(runtime.id))
            detail = QStringLiteral("Deleting…");
        else if (!runtime.isDeletable)
            detail += QStringLiteral(", bundled with Xcode");
        const bool holdsKept = model_.isKept(runtime.id);
        if (holdsKept)
            detail += QStringLiteral(", a kept device runs on it");
        row->setText(detailColumn, detail);
        InventoryWidgets::setTickable(*row, nameColumn, model_.selectedIDs().contains(runtime.id),
                                      runtime.isDeletable && !holdsKept &&
                                          !model_.deletingRuntimeIDs().contains(runtime.id));
        if (!runtime.isDeletable)
            row->setToolTip(nameColumn, QStringLiteral("Bundled with Xcode; it goes with Xcode"));
    }
    QTreeWidgetItem* devices = InventoryWidgets::addHeading(tree_, QStringLiteral("Devices"));
    for (const SimulatorDevice& device : model_.devices()) {
        auto* row = new QTreeWidgetItem(devices);
        row->setText(nameColumn, device.name);
        row->setData(nameColumn, deviceRole, device.id);
        row->setData(nameColumn, dataPathRole, device.dataPath);
        InventoryWidgets::setSize(*row, sizeColumn, device.dataSizeBytes);
        QString detail =
            model_.erasingDeviceIDs().contains(device.id)
                ? QStringLiteral("Erasing…")
                : QStringLiteral("last booted %1").arg(lastUsed(device.lastBootedAt, "never"));
        if (device.isBooted)
            detail += QStringLiteral(", booted");
        if (!device.isAvailable)
            detail += QStringLiteral(", unavailable");
        row->setText(detailColumn, detail);
        const bool kept = model_.isKeptPath(device.dataPath);
        row->setData(nameColumn, keptRole, kept);
        if (kept)
            InventoryWidgets::markKept(*row, nameColumn);
    }
}

void SimulatorsView::showState() {
    QString state;
    if (!model_.hasLoaded())
        state = QStringLiteral("Asking Xcode's simulator tools…");
    else if (model_.loadError())
        state = *model_.loadError();
    showStateLine(state, QString());
    const bool idle = !model_.isRemoving() && !model_.isLoading();
    selectOlder_->setText(model_.selectOlderTitle());
    selectOlder_->setEnabled(idle && model_.hasLoaded());
    delete_->setEnabled(idle && !model_.selectedIDs().isEmpty());
    const QTreeWidgetItem* row = tree_->currentItem();
    erase_->setEnabled(idle && row && !row->data(nameColumn, deviceRole).toString().isEmpty() &&
                       !row->data(nameColumn, keptRole).toBool());
}

void SimulatorsView::confirmDelete() {
    if (model_.selectedIDs().isEmpty())
        return;
    ask(Change::permanent, QStringLiteral("deleteRuntimesConfirmation"),
        model_.deleteConfirmationTitle(), model_.deleteConfirmationTitle() + u'?',
        model_.deleteConfirmationText(), QStringLiteral("Delete"),
        [this] { model_.deleteSelected(); });
}

void SimulatorsView::confirmErase(const QString& udid) {
    const auto device = std::find_if(model_.devices().begin(), model_.devices().end(),
                                     [&udid](const SimulatorDevice& d) { return d.id == udid; });
    if (device == model_.devices().end())
        return;
    ask(Change::permanent,
        {QStringLiteral("eraseDeviceConfirmation"), QStringLiteral("Erase"),
         QStringLiteral("Erase %1?").arg(device->name),
         QStringLiteral("Its apps and data, %1, are gone for good; the device itself stays.")
             .arg(formatBytes(device->dataSizeBytes)),
         QStringLiteral("Erase")},
        {{QStringLiteral("Devices"),
          {{device->name, {}, device->dataSizeBytes, device->dataSizeBytes}}}},
        [this, udid] { model_.erase(udid); });
}

} // namespace corvane
