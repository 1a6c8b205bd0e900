#include "shell/AgentStorageView.h"

#include "platform/ByteFormat.h"
#include "shell/ConfirmationSheet.h"
#include "shell/ItemContextMenu.h"
#include "shell/TrashConfirmation.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMap>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace corvane {

using Column = AgentStorageTreeModel::Column;

AgentStorageView::AgentStorageView(AgentStorageModel& model, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , rows_(new AgentStorageTreeModel(model, this))
    , tree_(new QTreeView(this))
    , summary_(new QLabel(this))
    , failures_(new QLabel(this))
    , olderButton_(new QPushButton(olderThanTitle, this))
    , trashButton_(new QPushButton(QStringLiteral("Move Ticked to Trash…"), this)) {
    tree_->setObjectName(QStringLiteral("agentStorageTree"));
    tree_->setAccessibleName(QStringLiteral("Coding-agent storage"));
    tree_->setModel(rows_);
    tree_->setUniformRowHeights(true);
    tree_->setAlternatingRowColors(true);
    tree_->header()->setStretchLastSection(true);
    tree_->header()->resizeSection(Column::nameColumn, 320);
    tree_->header()->resizeSection(Column::sizeColumn, 80);
    tree_->header()->resizeSection(Column::kindColumn, 170);
    summary_->setObjectName(QStringLiteral("agentStorageSummary"));
    failures_->setObjectName(QStringLiteral("agentStorageFailures"));
    failures_->setWordWrap(true);
    failures_->hide();
    trashButton_->setObjectName(QStringLiteral("trashAgentData"));
    olderButton_->setToolTip(QStringLiteral(
        "Also ticks the history of existing projects that no agent used for 90 days"));

    // The summary wraps rather than holding a small window wide.
    summary_->setWordWrap(true);
    auto* footer = new QHBoxLayout;
    footer->addWidget(summary_, 1);
    footer->addWidget(olderButton_);
    footer->addWidget(trashButton_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(tree_, 1);
    layout->addWidget(failures_);
    layout->addLayout(footer);

    // A row stands for the files it moves; the menu acts on the first, its folder or log.
    ItemContextMenu::attach(
        *tree_,
        [this](const QModelIndex& index) {
            const AgentStoreRow* row = model_.row(index.siblingAtColumn(Column::nameColumn)
                                                      .data(AgentStorageTreeModel::idRole)
                                                      .toString());
            return row ? row->paths().value(0) : QString();
        },
        ItemContextMenu::keepFolders);
    // Each agent opens on its projects; their rows wait for a click.
    connect(rows_, &QAbstractItemModel::modelReset, tree_, [this] { tree_->expandToDepth(0); });
    connect(&model_, &InventoryModel::selectedIDsChanged, this, &AgentStorageView::showTicks);
    connect(&model_, &InventoryModel::isRemovingChanged, this, &AgentStorageView::showTicks);
    connect(&model_, &AgentStorageModel::storeChanged, this, &AgentStorageView::showTicks);
    connect(&model_, &InventoryModel::failuresChanged, this, &AgentStorageView::showFailures);
    connect(olderButton_, &QPushButton::clicked, this,
            [this] { model_.selectOlderThan(olderThanDays); });
    connect(trashButton_, &QPushButton::clicked, this, &AgentStorageView::confirmTrash);
    tree_->expandToDepth(0);
    showTicks();
}

QModelIndex AgentStorageView::indexOf(const QString& id, int column) const {
    return rows_->indexOf(id, column);
}

void AgentStorageView::showTicks() {
    summary_->setText(QStringLiteral("%1 of %2 ticked; %3 can go without touching any history "
                                     "of a project that exists")
                          .arg(formatBytes(model_.selectedBytes()),
                               formatBytes(model_.store().totalBytes()),
                               formatBytes(model_.store().reclaimableBytes())));
    trashButton_->setEnabled(!model_.selectedIDs().isEmpty() && !model_.isRemoving());
}

void AgentStorageView::showFailures() {
    QStringList lines;
    for (const ItemFailure& failure : model_.failures())
        lines.append(failure.name + QStringLiteral(": ") + failure.message);
    failures_->setText(lines.isEmpty()
                           ? QString()
                           : AgentStorageModel::failuresHeading + u'\n' + lines.join(u'\n'));
    failures_->setVisible(!lines.isEmpty());
}

ConfirmationSheet* AgentStorageView::confirmTrash() {
    const AgentStorage::Plan plan = model_.plan();
    if (plan.trash.isEmpty())
        return nullptr;
    // What goes, under the agent that keeps it; what was ticked but stays is said beneath.
    QMap<QString, QList<ConfirmationItem>> byAgent;
    for (const QString& id : plan.rowIDs) {
        const AgentStoreRow* row = model_.row(id);
        byAgent[displayName(row->agent)].append(
            {row->name, row->paths().value(0), row->bytes, row->bytes});
    }
    QList<ConfirmationGroup> groups;
    for (auto group = byAgent.cbegin(); group != byAgent.cend(); ++group)
        groups.append({group.key(), group.value()});
    const TrashQuestion question = TrashQuestion::about(plan.trash);
    QStringList explanation{question.informativeText};
    for (const ItemFailure& refused : plan.refused)
        explanation.append(QStringLiteral("Stays: ") + refused.name + QStringLiteral(" (") +
                           refused.message + u')');
    return ConfirmationSheet::ask(window(),
                                  {QStringLiteral("trashConfirmation"),
                                   QStringLiteral("Move to Trash"), question.text,
                                   explanation.join(u'\n'), moveToTrashTitle, false},
                                  groups, [this, trash = plan.trash] { model_.trash(trash); });
}

} // namespace corvane
