#include "shell/DockerView.h"

#include "platform/ByteFormat.h"
#include "shell/InventoryWidgets.h"
#include "shell/ListOrder.h"

#include <QLocale>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corvane {
namespace {

enum Column { nameColumn, sizeColumn, detailColumn };

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
    : InventoryPage(model,
                    {QStringLiteral("dockerView"),
                     QStringLiteral("dockerTree"),
                     QStringLiteral("Docker images, containers and volumes"),
                     QStringLiteral("dockerState"),
                     QStringLiteral("dockerFailures"),
                     {QStringLiteral("Name"), QStringLiteral("Size"), QStringLiteral("Details")},
                     360},
                    parent)
    , model_(model)
    , selectUnused_(new QPushButton(this))
    , prune_(new QPushButton(QStringLiteral("Clear Build Cache…"), this))
    , startStop_(new QPushButton(QStringLiteral("Stop Container"), this))
    , remove_(new QPushButton(QStringLiteral("Remove…"), this))
    , startDocker_(new QPushButton(QStringLiteral("Start Docker Desktop"), this)) {
    selectUnused_->setToolTip(QStringLiteral("Selects every image no container uses"));
    remove_->setObjectName(QStringLiteral("dockerRemove"));
    startDocker_->setObjectName(QStringLiteral("startDocker"));
    stateArea_->insertWidget(2, startDocker_, 0, Qt::AlignHCenter);
    layOut(QStringLiteral("Docker"), DockerModel::explanationText, {selectUnused_, startStop_},
           {prune_, remove_});

    connect(selectUnused_, &QPushButton::clicked, &model_, &DockerModel::selectUnusedImages);
    connect(remove_, &QPushButton::clicked, this, &DockerView::confirmRemove);
    connect(prune_, &QPushButton::clicked, this, &DockerView::confirmPrune);
    connect(startDocker_, &QPushButton::clicked, &model_, &DockerModel::startDocker);
    connect(startStop_, &QPushButton::clicked, this, [this] {
        const QTreeWidgetItem* row = tree_->currentItem();
        const QString key = row ? row->data(nameColumn, idRole).toString() : QString();
        if (!key.startsWith(QStringLiteral("container:")) || !model_.snapshot())
            return;
        const QString id = key.section(u':', 1);
        for (const DockerContainer& container : model_.snapshot()->containers) {
            if (container.id == id)
                container.isRunning() ? model_.stopContainer(id) : model_.startContainer(id);
        }
    });
    connect(tree_, &QTreeWidget::currentItemChanged, this, &DockerView::showState);
    connect(&model_, &DockerModel::snapshotChanged, this, &DockerView::showSnapshot);
    connect(&model_, &DockerModel::busyChanged, this, &DockerView::showSnapshot);
    connect(&model_, &InventoryModel::selectedIDsChanged, this, &DockerView::showSnapshot);
    connect(&model_, &DockerModel::actionFinished, this, &DockerView::showState);
    showSnapshot();
}

void DockerView::showSnapshot() {
    const QString current = tree_->currentItem()
                                ? tree_->currentItem()->data(nameColumn, idRole).toString()
                                : QString();
    refill([this, &current] { fillSnapshot(current); });
}

void DockerView::fillSnapshot(const QString& current) {
    if (model_.snapshot()) {
        const DockerSnapshot& snapshot = *model_.snapshot();
        const auto row = [this, &current](QTreeWidgetItem* parent, const QString& key,
                                          const QString& name, qint64 bytes, const QString& detail,
                                          const std::optional<QString>& blocked) {
            auto* item = new QTreeWidgetItem(parent);
            item->setText(nameColumn, name);
            item->setData(nameColumn, idRole, key);
            InventoryWidgets::setSize(*item, sizeColumn, bytes);
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
            QString detail = QStringLiteral("%1, frees %2, %3 container%4, %5")
                                 .arg(image.shortID(), formatBytes(image.uniqueBytes))
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
        // It stands among the headings, and stays last with them.
        cache->setData(nameColumn, ListOrder::headingRole, true);
        QFont bold = cache->font(nameColumn);
        bold.setBold(true);
        cache->setFont(nameColumn, bold);
        InventoryWidgets::setSize(*cache, sizeColumn, snapshot.buildCache.totalBytes);
        cache->setText(detailColumn, QStringLiteral("%1 entries, %2 reclaimable")
                                         .arg(snapshot.buildCache.entryCount)
                                         .arg(formatBytes(snapshot.buildCache.reclaimableBytes)));
    }
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
    showStateLine(state, DockerModel::failuresHeading);
    startDocker_->setVisible(status && status->kind == DockerStatus::Case::notRunning);
    startDocker_->setEnabled(!model_.isStartingDocker());

    const bool idle = !model_.isRemoving() && !model_.isPruning() && !model_.isLoading();
    const bool listed = model_.snapshot().has_value();
    selectUnused_->setText(model_.selectUnusedTitle());
    selectUnused_->setEnabled(idle && listed);
    remove_->setEnabled(idle && !model_.selectedIDs().isEmpty());
    prune_->setEnabled(idle && listed && model_.snapshot()->buildCache.entryCount > 0);
    const QTreeWidgetItem* row = tree_->currentItem();
    const QString key = row ? row->data(nameColumn, idRole).toString() : QString();
    startStop_->setEnabled(idle && key.startsWith(QStringLiteral("container:")));
    if (listed && key.startsWith(QStringLiteral("container:"))) {
        for (const DockerContainer& container : model_.snapshot()->containers) {
            if (DockerModel::containerKey(container.id) == key)
                startStop_->setText(container.isRunning() ? QStringLiteral("Stop Container")
                                                          : QStringLiteral("Start Container"));
        }
    }
}

void DockerView::confirmRemove() {
    if (model_.selectedIDs().isEmpty())
        return;
    const QString question = QStringLiteral("Remove %1?").arg(model_.selectionSummary());
    ask(Change::permanent, QStringLiteral("dockerRemoveConfirmation"), question, question,
        QStringLiteral("This frees %1 and is permanent: Docker items skip the Trash. Images can be "
                       "pulled again, but a volume's data is gone for good.")
            .arg(formatBytes(model_.selectedBytes())),
        QStringLiteral("Remove"), [this] { model_.removeSelected(); });
}

void DockerView::confirmPrune() {
    if (!model_.snapshot())
        return;
    ask(Change::permanent, QStringLiteral("dockerPruneConfirmation"),
        QStringLiteral("Clear the build cache?"), QStringLiteral("Clear the build cache?"),
        QStringLiteral("This frees up to %1 and is permanent; the cache is built again as builds "
                       "need it.")
            .arg(formatBytes(model_.snapshot()->buildCache.reclaimableBytes)),
        QStringLiteral("Clear"), [this] { model_.pruneBuildCache(); });
}

} // namespace corvane
