#include "shell/AndroidView.h"

#include "platform/ByteFormat.h"
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

} // namespace

AndroidView::AndroidView(AndroidModel& model, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , tree_(new QTreeWidget(this))
    , state_(new QLabel(this))
    , failures_(new QLabel(this))
    , body_(new QStackedLayout)
    , reload_(new QPushButton(QStringLiteral("Reload"), this))
    , trash_(new QPushButton(QStringLiteral("Move to Trash…"), this)) {
    setObjectName(QStringLiteral("androidView"));
    InventoryWidgets::setUpTree(
        *tree_, QStringLiteral("androidTree"), QStringLiteral("Android SDK packages and emulators"),
        {QStringLiteral("Name"), QStringLiteral("Size"), QStringLiteral("Details")}, 380);
    InventoryWidgets::setUpStateLabel(*state_, QStringLiteral("androidState"));
    InventoryWidgets::setUpFailuresLabel(*failures_, QStringLiteral("androidFailures"));
    trash_->setObjectName(QStringLiteral("androidTrash"));

    body_->addWidget(tree_);
    body_->addWidget(state_);
    auto* body = new QVBoxLayout;
    body->addLayout(body_, 1);
    body->addWidget(failures_);
    auto* footer = new QHBoxLayout;
    footer->addWidget(reload_);
    footer->addStretch();
    footer->addWidget(trash_);
    layOutPage(*this, QStringLiteral("Android"), AndroidModel::explanationText, body, footer);

    connect(reload_, &QPushButton::clicked, &model_, &AndroidModel::reload);
    connect(trash_, &QPushButton::clicked, this, &AndroidView::confirmTrash);
    connect(tree_, &QTreeWidget::itemChanged, this, &AndroidView::itemChanged);
    connect(&model_, &AndroidModel::inventoryChanged, this, &AndroidView::showInventory);
    connect(&model_, &InventoryModel::selectedIDsChanged, this, &AndroidView::showInventory);
    for (const auto signal : {&InventoryModel::isLoadingChanged, &InventoryModel::isRemovingChanged,
                              &InventoryModel::failuresChanged})
        connect(&model_, signal, this, &AndroidView::showState);
    showInventory();
}

void AndroidView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!model_.hasLoaded() && !model_.isLoading())
        model_.reload();
}

QString AndroidView::stateText() const {
    return body_->currentWidget() == tree_ ? QString() : state_->text();
}

void AndroidView::showInventory() {
    filling_ = true;
    tree_->clear();
    const auto row = [this](QTreeWidgetItem* parent, const QString& id, const QString& name,
                            qint64 bytes, const QString& detail) {
        auto* item = new QTreeWidgetItem(parent);
        item->setText(nameColumn, name);
        item->setToolTip(nameColumn, id);
        item->setData(nameColumn, idRole, id);
        item->setText(sizeColumn, formatBytes(bytes));
        item->setTextAlignment(sizeColumn, Qt::AlignRight | Qt::AlignVCenter);
        const std::optional<QString> blocked = model_.removalBlockedReason(id);
        item->setText(detailColumn, blocked ? *blocked : detail);
        InventoryWidgets::setTickable(*item, nameColumn, model_.selectedIDs().contains(id),
                                      !blocked);
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
    tree_->expandAll();
    filling_ = false;
    showState();
}

void AndroidView::itemChanged(QTreeWidgetItem* item, int column) {
    if (filling_ || column != nameColumn)
        return;
    const QString id = item->data(nameColumn, idRole).toString();
    if (!id.isEmpty())
        model_.setSelected(id, item->checkState(nameColumn) == Qt::Checked);
}

void AndroidView::showState() {
    QString state;
    if (!model_.hasLoaded())
        state = QStringLiteral("Looking for Android Studio's SDK and emulators…");
    else if (model_.inventory().components.isEmpty() && model_.inventory().avds.isEmpty())
        state = QStringLiteral("No Android SDK packages or emulators on this computer.");
    state_->setText(state);
    body_->setCurrentIndex(state.isEmpty() ? 0 : 1);
    trash_->setEnabled(!model_.isRemoving() && !model_.isLoading() &&
                       !model_.selectedIDs().isEmpty());
    reload_->setEnabled(!model_.isLoading());
    InventoryWidgets::showFailures(*failures_, model_.failures(), AndroidModel::failuresHeading);
}

void AndroidView::confirmTrash() {
    if (model_.selectedIDs().isEmpty())
        return;
    const qsizetype count = model_.selectedIDs().size();
    const QString title = QStringLiteral("Move %1 Android item%2 (%3) to the Trash?")
                              .arg(count)
                              .arg(count == 1 ? QString() : QStringLiteral("s"))
                              .arg(formatBytes(model_.selectedBytes()));
    auto* box = new QMessageBox(QMessageBox::Question, title, title, QMessageBox::Cancel, window());
    box->setObjectName(QStringLiteral("androidTrashConfirmation"));
    box->setInformativeText(AndroidModel::confirmationNote);
    QPushButton* accept = box->addButton(QStringLiteral("Move to Trash"), QMessageBox::AcceptRole);
    box->setDefaultButton(accept);
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::buttonClicked, this, [this, accept](QAbstractButton* button) {
        if (button == accept)
            model_.removeSelected();
    });
    box->open();
}

} // namespace corvane
