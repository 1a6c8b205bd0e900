#include "shell/SimulatorsView.h"

#include "platform/ByteFormat.h"
#include "shell/ActivityWords.h"
#include "shell/InventoryWidgets.h"
#include "shell/PageLayout.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QStackedLayout>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corvane {
namespace {

enum Column { nameColumn, sizeColumn, detailColumn };
constexpr int idRole = Qt::UserRole;
constexpr int deviceRole = Qt::UserRole + 1;

QString lastUsed(const std::optional<QDateTime>& date, const char* never) {
    return date ? activityWords(*date, QDateTime::currentDateTime()) : QString::fromLatin1(never);
}

} // namespace

SimulatorsView::SimulatorsView(SimulatorsModel& model, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , tree_(new QTreeWidget(this))
    , state_(new QLabel(this))
    , failures_(new QLabel(this))
    , body_(new QStackedLayout)
    , selectOlder_(new QPushButton(this))
    , erase_(new QPushButton(QStringLiteral("Erase Device…"), this))
    , delete_(new QPushButton(QStringLiteral("Delete…"), this))
    , reload_(new QPushButton(QStringLiteral("Reload"), this)) {
    setObjectName(QStringLiteral("simulatorsView"));
    InventoryWidgets::setUpTree(
        *tree_, QStringLiteral("simulatorsTree"), QStringLiteral("Simulator runtimes and devices"),
        {QStringLiteral("Name"), QStringLiteral("Size"), QStringLiteral("Details")}, 300);
    InventoryWidgets::setUpStateLabel(*state_, QStringLiteral("simulatorsState"));
    InventoryWidgets::setUpFailuresLabel(*failures_, QStringLiteral("simulatorFailures"));
    selectOlder_->setToolTip(QStringLiteral(
        "Selects every runtime older than the SDK your current Xcode builds against"));
    delete_->setObjectName(QStringLiteral("deleteRuntimes"));

    body_->addWidget(tree_);
    body_->addWidget(state_);
    auto* body = new QVBoxLayout;
    body->addLayout(body_, 1);
    body->addWidget(failures_);
    auto* footer = new QHBoxLayout;
    footer->addWidget(reload_);
    footer->addWidget(selectOlder_);
    footer->addStretch();
    footer->addWidget(erase_);
    footer->addWidget(delete_);
    layOutPage(*this, QStringLiteral("Simulators"), SimulatorsModel::explanationText, body, footer);

    connect(reload_, &QPushButton::clicked, &model_, &SimulatorsModel::reload);
    connect(selectOlder_, &QPushButton::clicked, &model_, &SimulatorsModel::selectOlderThanSDK);
    connect(delete_, &QPushButton::clicked, this, &SimulatorsView::confirmDelete);
    connect(erase_, &QPushButton::clicked, this, [this] {
        if (const QTreeWidgetItem* row = tree_->currentItem())
            confirmErase(row->data(nameColumn, deviceRole).toString());
    });
    connect(tree_, &QTreeWidget::itemChanged, this, &SimulatorsView::itemChanged);
    connect(tree_, &QTreeWidget::currentItemChanged, this, &SimulatorsView::showState);
    connect(&model_, &SimulatorsModel::inventoryChanged, this, &SimulatorsView::showInventory);
    connect(&model_, &SimulatorsModel::busyChanged, this, &SimulatorsView::showInventory);
    connect(&model_, &InventoryModel::selectedIDsChanged, this, &SimulatorsView::showInventory);
    for (const auto signal : {&InventoryModel::isLoadingChanged, &InventoryModel::isRemovingChanged,
                              &InventoryModel::failuresChanged})
        connect(&model_, signal, this, &SimulatorsView::showState);
    showInventory();
}

void SimulatorsView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!model_.hasLoaded() && !model_.isLoading())
        model_.reload();
}

QString SimulatorsView::stateText() const {
    return body_->currentWidget() == tree_ ? QString() : state_->text();
}

void SimulatorsView::showInventory() {
    filling_ = true;
    tree_->clear();
    QTreeWidgetItem* runtimes = InventoryWidgets::addHeading(tree_, QStringLiteral("Runtimes"));
    for (const SimulatorRuntime& runtime : model_.runtimes()) {
        auto* row = new QTreeWidgetItem(runtimes);
        QString name = runtime.displayName() + QStringLiteral(" (") + runtime.build + u')';
        if (model_.isCurrentSDK(runtime))
            name += QStringLiteral("  — current Xcode SDK");
        row->setText(nameColumn, name);
        row->setData(nameColumn, idRole, runtime.id);
        row->setText(sizeColumn, formatBytes(runtime.sizeBytes));
        row->setTextAlignment(sizeColumn, Qt::AlignRight | Qt::AlignVCenter);
        const qsizetype devices = model_.devicesOn(runtime).size();
        QString detail = QStringLiteral("last used %1, %2 device%3")
                             .arg(lastUsed(runtime.lastUsedAt, "never"))
                             .arg(devices)
                             .arg(devices == 1 ? QString() : QStringLiteral("s"));
        if (model_.deletingRuntimeIDs().contains(runtime.id))
            detail = QStringLiteral("Deleting…");
        else if (!runtime.isDeletable)
            detail += QStringLiteral(", bundled with Xcode");
        row->setText(detailColumn, detail);
        InventoryWidgets::setTickable(*row, nameColumn, model_.selectedIDs().contains(runtime.id),
                                      runtime.isDeletable &&
                                          !model_.deletingRuntimeIDs().contains(runtime.id));
        if (!runtime.isDeletable)
            row->setToolTip(nameColumn, QStringLiteral("Bundled with Xcode; it goes with Xcode"));
    }
    QTreeWidgetItem* devices = InventoryWidgets::addHeading(tree_, QStringLiteral("Devices"));
    for (const SimulatorDevice& device : model_.devices()) {
        auto* row = new QTreeWidgetItem(devices);
        row->setText(nameColumn, device.name);
        row->setData(nameColumn, deviceRole, device.id);
        row->setText(sizeColumn, formatBytes(device.dataSizeBytes));
        row->setTextAlignment(sizeColumn, Qt::AlignRight | Qt::AlignVCenter);
        QString detail =
            model_.erasingDeviceIDs().contains(device.id)
                ? QStringLiteral("Erasing…")
                : QStringLiteral("last booted %1").arg(lastUsed(device.lastBootedAt, "never"));
        if (device.isBooted)
            detail += QStringLiteral(", booted");
        if (!device.isAvailable)
            detail += QStringLiteral(", unavailable");
        row->setText(detailColumn, detail);
    }
    tree_->expandAll();
    filling_ = false;
    showState();
}

void SimulatorsView::itemChanged(QTreeWidgetItem* item, int column) {
    if (filling_ || column != nameColumn)
        return;
    const QString id = item->data(nameColumn, idRole).toString();
    if (!id.isEmpty())
        model_.setSelected(id, item->checkState(nameColumn) == Qt::Checked);
}

void SimulatorsView::showState() {
    QString state;
    if (!model_.hasLoaded())
        state = QStringLiteral("Asking Xcode's simulator tools…");
    else if (model_.loadError())
        state = *model_.loadError();
    state_->setText(state);
    body_->setCurrentIndex(state.isEmpty() ? 0 : 1);
    const bool idle = !model_.isRemoving() && !model_.isLoading();
    selectOlder_->setText(model_.selectOlderTitle());
    selectOlder_->setEnabled(idle && model_.hasLoaded());
    delete_->setEnabled(idle && !model_.selectedIDs().isEmpty());
    reload_->setEnabled(!model_.isLoading());
    const QTreeWidgetItem* row = tree_->currentItem();
    erase_->setEnabled(idle && row && !row->data(nameColumn, deviceRole).toString().isEmpty());
    InventoryWidgets::showFailures(*failures_, model_.failures(), QString());
}

void SimulatorsView::confirmDelete() {
    if (model_.selectedIDs().isEmpty())
        return;
    auto* box =
        new QMessageBox(QMessageBox::Warning, model_.deleteConfirmationTitle(),
                        model_.deleteConfirmationTitle() + u'?', QMessageBox::Cancel, window());
    box->setObjectName(QStringLiteral("deleteRuntimesConfirmation"));
    box->setInformativeText(model_.deleteConfirmationText());
    QPushButton* accept = box->addButton(QStringLiteral("Delete"), QMessageBox::DestructiveRole);
    box->setDefaultButton(qobject_cast<QPushButton*>(box->button(QMessageBox::Cancel)));
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::buttonClicked, this, [this, accept](QAbstractButton* button) {
        if (button == accept)
            model_.deleteSelected();
    });
    box->open();
}

void SimulatorsView::confirmErase(const QString& udid) {
    const auto device = std::find_if(model_.devices().begin(), model_.devices().end(),
                                     [&udid](const SimulatorDevice& d) { return d.id == udid; });
    if (device == model_.devices().end())
        return;
    auto* box = new QMessageBox(QMessageBox::Warning, QStringLiteral("Erase"),
                                QStringLiteral("Erase %1?").arg(device->name), QMessageBox::Cancel,
                                window());
    box->setObjectName(QStringLiteral("eraseDeviceConfirmation"));
    box->setInformativeText(QStringLiteral("Its apps and data, %1, are gone for good; the device "
                                           "itself stays.")
                                .arg(formatBytes(device->dataSizeBytes)));
    QPushButton* accept = box->addButton(QStringLiteral("Erase"), QMessageBox::DestructiveRole);
    box->setDefaultButton(qobject_cast<QPushButton*>(box->button(QMessageBox::Cancel)));
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::buttonClicked, this, [this, accept, udid](QAbstractButton* button) {
        if (button == accept)
            model_.erase(udid);
    });
    box->open();
}

} // namespace corvane
