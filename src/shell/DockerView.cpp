#include "shell/DockerView.h"

#include "platform/ByteFormat.h"
#include "shell/InventoryWidgets.h"
#include "shell/PageLayout.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QStackedLayout>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corvane {
namespace {

enum Column { nameColumn, sizeColumn, detailColumn };
constexpr int keyRole = Qt::UserRole;

QString when(const std::optional<QDateTime>& date) {
    return date ? QLocale().toString(date->toLocalTime(), QLocale::ShortFormat)
                : QStringLiteral("creation date unknown");
}

// A heading with the number of items under it.
QTreeWidgetItem* group(QTreeWidget* tree, const QString& title, qsizetype count) {
    return InventoryWidgets::addHeading(tree, QStringLiteral("%1 (%2)").arg(title).arg(count));
}

} // namespace

DockerView::DockerView(DockerModel& model, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , tree_(new QTreeWidget(this))
    , state_(new QLabel(this))
    , failures_(new QLabel(this))
    , body_(new QStackedLayout)
    , selectUnused_(new QPushButton(this))
    , prune_(new QPushButton(QStringLiteral("Clear Build Cache…"), this))
    , startStop_(new QPushButton(QStringLiteral("Stop Container"), this))
    , remove_(new QPushButton(QStringLiteral("Remove…"), this))
    , startDocker_(new QPushButton(QStringLiteral("Start Docker Desktop"), this))
    , reload_(new QPushButton(QStringLiteral("Reload"), this)) {
    setObjectName(QStringLiteral("dockerView"));
    InventoryWidgets::setUpTree(
        *tree_, QStringLiteral("dockerTree"),
        QStringLiteral("Docker images, containers and volumes"),
        {QStringLiteral("Name"), QStringLiteral("Size"), QStringLiteral("Details")}, 360);
    InventoryWidgets::setUpStateLabel(*state_, QStringLiteral("dockerState"));
    InventoryWidgets::setUpFailuresLabel(*failures_, QStringLiteral("dockerFailures"));
    selectUnused_->setToolTip(QStringLiteral("Selects every image no container uses"));
    remove_->setObjectName(QStringLiteral("dockerRemove"));
    startDocker_->setObjectName(QStringLiteral("startDocker"));

    auto* stateBox = new QWidget(this);
    auto* stateLayout = new QVBoxLayout(stateBox);
    stateLayout->addStretch();
    stateLayout->addWidget(state_);
    stateLayout->addWidget(startDocker_, 0, Qt::AlignHCenter);
    stateLayout->addStretch();
    body_->addWidget(tree_);
    body_->addWidget(stateBox);
    auto* body = new QVBoxLayout;
    body->addLayout(body_, 1);
    body->addWidget(failures_);
    auto* footer = new QHBoxLayout;
    footer->addWidget(reload_);
    footer->addWidget(selectUnused_);
    footer->addWidget(startStop_);
    footer->addStretch();
    footer->addWidget(prune_);
    footer->addWidget(remove_);
    layOutPage(*this, QStringLiteral("Docker"), DockerModel::explanationText, body, footer);

    connect(reload_, &QPushButton::clicked, &model_, &DockerModel::reload);
    connect(selectUnused_, &QPushButton::clicked, &model_, &DockerModel::selectUnusedImages);
    connect(remove_, &QPushButton::clicked, this, &DockerView::confirmRemove);
    connect(prune_, &QPushButton::clicked, this, &DockerView::confirmPrune);
    connect(startDocker_, &QPushButton::clicked, &model_, &DockerModel::startDocker);
    connect(startStop_, &QPushButton::clicked, this, [this] {
        const QTreeWidgetItem* row = tree_->currentItem();
        const QString key = row ? row->data(nameColumn, keyRole).toString() : QString();
        if (!key.startsWith(QStringLiteral("container:")) || !model_.snapshot())
            return;
        const QString id = key.section(u':', 1);
        for (const DockerContainer& container : model_.snapshot()->containers) {
            if (container.id == id)
                container.isRunning() ? model_.stopContainer(id) : model_.startContainer(id);
        }
    });
    connect(tree_, &QTreeWidget::itemChanged, this, &DockerView::itemChanged);
    connect(tree_, &QTreeWidget::currentItemChanged, this, &DockerView::showState);
    connect(&model_, &DockerModel::snapshotChanged, this, &DockerView::showSnapshot);
    connect(&model_, &DockerModel::busyChanged, this, &DockerView::showSnapshot);
    connect(&model_, &InventoryModel::selectedIDsChanged, this, &DockerView::showSnapshot);
    for (const auto signal : {&InventoryModel::isLoadingChanged, &InventoryModel::isRemovingChanged,
                              &InventoryModel::failuresChanged})
        connect(&model_, signal, this, &DockerView::showState);
    connect(&model_, &DockerModel::actionFinished, this, &DockerView::showState);
    showSnapshot();
}

void DockerView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!model_.hasLoaded() && !model_.isLoading())
        model_.reload();
}

QString DockerView::stateText() const {
    return body_->currentWidget() == tree_ ? QString() : state_->text();
}

void DockerView::showSnapshot() {
    filling_ = true;
    const QString current = tree_->currentItem()
                                ? tree_->currentItem()->data(nameColumn, keyRole).toString()
                                : QString();
    tree_->clear();
    if (model_.snapshot()) {
        const DockerSnapshot& snapshot = *model_.snapshot();
        const auto row = [this, &current](QTreeWidgetItem* parent, const QString& key,
                                          const QString& name, qint64 bytes, const QString& detail,
                                          const std::optional<QString>& blocked) {
            auto* item = new QTreeWidgetItem(parent);
            item->setText(nameColumn, name);
            item->setData(nameColumn, keyRole, key);
            item->setText(sizeColumn, formatBytes(bytes));
            item->setTextAlignment(sizeColumn, Qt::AlignRight | Qt::AlignVCenter);
            item->setText(detailColumn,
                          blocked ? detail + QStringLiteral(" — ") + *blocked : detail);
            InventoryWidgets::setTickable(*item, nameColumn, model_.selectedIDs().contains(key),
                                          !blocked);
            if (blocked)
                item->setToolTip(nameColumn, *blocked);
            if (key == current)
                tree_->setCurrentItem(item);
        };
        QTreeWidgetItem* containers =
            group(tree_, QStringLiteral("Containers"), snapshot.containers.size());
        for (const DockerContainer& container : snapshot.containers) {
            QString detail = container.image + QStringLiteral(", ") + container.status;
            if (model_.busyContainerIDs().contains(container.id))
                detail = container.isRunning() ? QStringLiteral("Stopping…")
                                               : QStringLiteral("Starting…");
            if (container.composeProject)
                detail += QStringLiteral(", compose project ") + *container.composeProject;
            row(containers, DockerModel::containerKey(container.id), container.name,
                container.sizeBytes, detail, DockerService::removalBlockedReason(container));
        }
        QTreeWidgetItem* images = group(tree_, QStringLiteral("Images"), snapshot.images.size());
        for (const DockerImage& image : snapshot.images) {
            QString detail = QStringLiteral("frees %1, %2 container%3, %4")
                                 .arg(formatBytes(image.uniqueBytes))
                                 .arg(image.containerCount)
                                 .arg(image.containerCount == 1 ? QString() : QStringLiteral("s"))
                                 .arg(when(image.createdAt));
            if (image.references.size() > 1)
                detail +=
                    QStringLiteral(", also ") + image.references.mid(1).join(QStringLiteral(", "));
            row(images, DockerModel::imageKey(image.id), image.displayName(), image.sizeBytes,
                detail, DockerService::removalBlockedReason(image));
        }
        QTreeWidgetItem* volumes = group(tree_, QStringLiteral("Volumes"), snapshot.volumes.size());
        for (const DockerVolume& volume : snapshot.volumes) {
            QString detail = QStringLiteral("%1 container%2")
                                 .arg(volume.containerCount)
                                 .arg(volume.containerCount == 1 ? QString() : QStringLiteral("s"));
            if (volume.isAnonymous)
                detail += QStringLiteral(", anonymous");
            if (volume.composeProject)
                detail += QStringLiteral(", compose project ") + *volume.composeProject;
            row(volumes, DockerModel::volumeKey(volume.name), volume.name, volume.sizeBytes, detail,
                DockerService::removalBlockedReason(volume));
        }
        auto* cache = new QTreeWidgetItem(tree_);
        cache->setText(nameColumn, QStringLiteral("Build cache"));
        QFont bold = cache->font(nameColumn);
        bold.setBold(true);
        cache->setFont(nameColumn, bold);
        cache->setText(sizeColumn, formatBytes(snapshot.buildCache.totalBytes));
        cache->setText(detailColumn, QStringLiteral("%1 entries, %2 reclaimable")
                                         .arg(snapshot.buildCache.entryCount)
                                         .arg(formatBytes(snapshot.buildCache.reclaimableBytes)));
        tree_->expandAll();
    }
    filling_ = false;
    showState();
}

void DockerView::itemChanged(QTreeWidgetItem* item, int column) {
    if (filling_ || column != nameColumn)
        return;
    const QString key = item->data(nameColumn, keyRole).toString();
    if (!key.isEmpty())
        model_.setSelected(key, item->checkState(nameColumn) == Qt::Checked);
}

void DockerView::showState() {
    QString state;
    const std::optional<DockerStatus>& status = model_.status();
    if (!status && model_.isLoading())
        state = QStringLiteral("Asking Docker…");
    else if (status && status->kind == DockerStatus::Case::notInstalled)
        state = DockerModel::notInstalledText;
    else if (status && status->kind == DockerStatus::Case::notRunning)
        state = model_.isStartingDocker() ? QStringLiteral("Starting Docker Desktop…")
                                          : DockerModel::notRunningText;
    else if (model_.loadError())
        state = *model_.loadError();
    else if (!model_.snapshot())
        state = QStringLiteral("Asking Docker…");
    state_->setText(state);
    body_->setCurrentIndex(state.isEmpty() ? 0 : 1);
    startDocker_->setVisible(status && status->kind == DockerStatus::Case::notRunning);
    startDocker_->setEnabled(!model_.isStartingDocker());

    const bool idle = !model_.isRemoving() && !model_.isPruning() && !model_.isLoading();
    const bool listed = model_.snapshot().has_value();
    selectUnused_->setText(model_.selectUnusedTitle());
    selectUnused_->setEnabled(idle && listed);
    remove_->setEnabled(idle && !model_.selectedIDs().isEmpty());
    prune_->setEnabled(idle && listed && model_.snapshot()->buildCache.entryCount > 0);
    reload_->setEnabled(!model_.isLoading());
    const QTreeWidgetItem* row = tree_->currentItem();
    const QString key = row ? row->data(nameColumn, keyRole).toString() : QString();
    startStop_->setEnabled(idle && key.startsWith(QStringLiteral("container:")));
    if (listed && key.startsWith(QStringLiteral("container:"))) {
        for (const DockerContainer& container : model_.snapshot()->containers) {
            if (DockerModel::containerKey(container.id) == key)
                startStop_->setText(container.isRunning() ? QStringLiteral("Stop Container")
                                                          : QStringLiteral("Start Container"));
        }
    }

    InventoryWidgets::showFailures(*failures_, model_.failures(), DockerModel::failuresHeading);
}

void DockerView::ask(const QString& objectName, const QString& text, const QString& informative,
                     const QString& acceptTitle, std::function<void()> accepted) {
    auto* box = new QMessageBox(QMessageBox::Warning, text, text, QMessageBox::Cancel, window());
    box->setObjectName(objectName);
    box->setInformativeText(informative);
    QPushButton* accept = box->addButton(acceptTitle, QMessageBox::DestructiveRole);
    box->setDefaultButton(qobject_cast<QPushButton*>(box->button(QMessageBox::Cancel)));
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::buttonClicked, this,
            [accept, accepted = std::move(accepted)](QAbstractButton* button) {
                if (button == accept)
                    accepted();
            });
    box->open();
}

void DockerView::confirmRemove() {
    if (model_.selectedIDs().isEmpty())
        return;
    ask(QStringLiteral("dockerRemoveConfirmation"),
        QStringLiteral("Remove %1?").arg(model_.selectionSummary()),
        QStringLiteral("This frees %1 and is permanent: Docker items skip the Trash. Images can be "
                       "pulled again, but a volume's data is gone for good.")
            .arg(formatBytes(model_.selectedBytes())),
        QStringLiteral("Remove"), [this] { model_.removeSelected(); });
}

void DockerView::confirmPrune() {
    if (!model_.snapshot())
        return;
    ask(QStringLiteral("dockerPruneConfirmation"), QStringLiteral("Clear the build cache?"),
        QStringLiteral("This frees up to %1 and is permanent; the cache is built again as builds "
                       "need it.")
            .arg(formatBytes(model_.snapshot()->buildCache.reclaimableBytes)),
        QStringLiteral("Clear"), [this] { model_.pruneBuildCache(); });
}

} // namespace corvane
