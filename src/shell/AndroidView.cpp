#include "shell/AndroidView.h"

#include "platform/ByteFormat.h"
#include "shell/InventoryWidgets.h"
#include "shell/ItemContextMenu.h"

#include <QPushButton>
#include <QTreeWidget>

namespace corvane {
namespace {

enum Column { nameColumn, sizeColumn, detailColumn };

} // namespace

AndroidView::AndroidView(AndroidModel& model, QWidget* parent)
    : InventoryPage(model,
                    {QStringLiteral("androidView"),
                     QStringLiteral("androidTree"),
                     QStringLiteral("Android SDK packages and emulators"),
                     QStringLiteral("androidState"),
                     QStringLiteral("androidFailures"),
                     {QStringLiteral("Name"), QStringLiteral("Size"), QStringLiteral("Details")},
                     380},
                    parent)
    , model_(model)
    , trash_(new QPushButton(QStringLiteral("Move to Trash…"), this)) {
    // A row's identifier is its folder.
    ItemContextMenu::attach(
        *tree_,
        [](const QModelIndex& row) {
            return row.siblingAtColumn(nameColumn).data(idRole).toString();
        },
        ItemContextMenu::keepFolders);
    trash_->setObjectName(QStringLiteral("androidTrash"));
    layOut(QStringLiteral("Android"), AndroidModel::explanationText, {}, {trash_});

    connect(trash_, &QPushButton::clicked, this, &AndroidView::confirmTrash);
    connect(&model_, &AndroidModel::inventoryChanged, this, &AndroidView::showInventory);
    connect(&model_, &InventoryModel::selectedIDsChanged, this, &AndroidView::showInventory);
    connect(&model_, &InventoryModel::keptChanged, this, &AndroidView::showInventory);
    showInventory();
}

void AndroidView::showInventory() {
    refill([this] { fillInventory(); });
}

void AndroidView::fillInventory() {
    const auto row = [this](QTreeWidgetItem* parent, const QString& id, const QString& name,
                            qint64 bytes, const QString& detail) {
        auto* item = new QTreeWidgetItem(parent);
        item->setText(nameColumn, name);
        item->setToolTip(nameColumn, id);
        item->setData(nameColumn, idRole, id);
        InventoryWidgets::setSize(*item, sizeColumn, bytes);
        const bool kept = model_.isKept(id);
        const std::optional<QString> blocked = model_.removalBlockedReason(id);
        item->setText(detailColumn, blocked && !kept ? *blocked : detail);
        InventoryWidgets::setTickable(*item, nameColumn, model_.selectedIDs().contains(id),
                                      !blocked);
        if (kept)
            InventoryWidgets::markKept(*item, nameColumn);
    };
    const AndroidInventory& inventory = model_.inventory();
    if (!inventory.avds.isEmpty()) {
        QTreeWidgetItem* emulators =
            InventoryWidgets::addHeading(tree_, QStringLiteral("Emulators"),
                                         QStringLiteral("Removing one loses its installed apps "
                                                        "and data."));
        for (const AndroidAVD& avd : inventory.avds) {
            QStringList detail;
            if (avd.deviceName)
                detail.append(*avd.deviceName);
            if (avd.target)
                detail.append(*avd.target);
            if (avd.isRunning)
                detail.append(QStringLiteral("running"));
            row(emulators, avd.url, avd.name, avd.sizeBytes, detail.join(QStringLiteral(", ")));
        }
    }
    for (const AndroidComponentKind kind : allAndroidComponentKinds) {
        QTreeWidgetItem* heading = nullptr;
        for (const AndroidComponent& component : inventory.components) {
            if (component.kind != kind)
                continue;
            if (!heading)
                heading = InventoryWidgets::addHeading(tree_, displayName(kind), explanation(kind));
            QString detail =
                component.version ? QStringLiteral("version ") + *component.version : QString();
            if (!component.avdNames.isEmpty())
                detail +=
                    QStringLiteral(", used by ") + component.avdNames.join(QStringLiteral(", "));
            row(heading, component.url, component.displayName, component.sizeBytes, detail);
        }
    }
}

void AndroidView::showState() {
    QString state;
    if (!model_.hasLoaded())
        state = QStringLiteral("Looking for Android Studio's SDK and emulators…");
    else if (model_.inventory().components.isEmpty() && model_.inventory().avds.isEmpty())
        state = QStringLiteral("No Android SDK packages or emulators on this computer.");
    showStateLine(state, AndroidModel::failuresHeading);
    trash_->setEnabled(!model_.isRemoving() && !model_.isLoading() &&
                       !model_.selectedIDs().isEmpty());
}

void AndroidView::confirmTrash() {
    if (model_.selectedIDs().isEmpty())
        return;
    const qsizetype count = model_.selectedIDs().size();
    const QString title = QStringLiteral("Move %1 Android item%2 (%3) to the Trash?")
                              .arg(count)
                              .arg(count == 1 ? QString() : QStringLiteral("s"))
                              .arg(formatBytes(model_.selectedBytes()));
    ask(Change::reversible, QStringLiteral("androidTrashConfirmation"), title, title,
        AndroidModel::confirmationNote, QStringLiteral("Move to Trash"),
        [this] { model_.removeSelected(); });
}

} // namespace corvane
