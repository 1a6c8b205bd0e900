#include "shell/AgentStorageView.h"

#include "platform/ByteFormat.h"
#include "platform/CheckedSum.h"
#include "platform/Paths.h"
#include "shell/ConfirmationSheet.h"
#include "shell/InventoryWidgets.h"
#include "shell/ItemContextMenu.h"
#include "shell/TrashConfirmation.h"

#include <QAbstractButton>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMap>
#include <QMessageBox>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corvane {
namespace {

enum Column { nameColumn, sizeColumn, kindColumn, whyColumn };
constexpr int idRole = Qt::UserRole;

QTreeWidgetItem* groupItem(QTreeWidgetItem* parent, const QString& name, qint64 bytes,
                           qsizetype count) {
    auto* item = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem;
    item->setText(nameColumn, name);
    item->setText(sizeColumn, formatBytes(bytes));
    item->setTextAlignment(sizeColumn, Qt::AlignRight | Qt::AlignVCenter);
    item->setText(whyColumn,
                  count == 1 ? QStringLiteral("1 item") : QStringLiteral("%1 items").arg(count));
    return item;
}

QString whyOf(const AgentStoreRow& row) {
    if (row.blockedReason)
        return *row.blockedReason;
    if (row.newPlace)
        return QStringLiteral("Relink first: the project is probably now at ") + *row.newPlace;
    return row.reason;
}

} // namespace

AgentStorageView::AgentStorageView(AgentStorageModel& model, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , tree_(new QTreeWidget(this))
    , summary_(new QLabel(this))
    , failures_(new QLabel(this))
    , olderButton_(new QPushButton(olderThanTitle, this))
    , trashButton_(new QPushButton(QStringLiteral("Move Ticked to Trash…"), this)) {
    tree_->setObjectName(QStringLiteral("agentStorageTree"));
    tree_->setAccessibleName(QStringLiteral("Coding-agent storage"));
    tree_->setColumnCount(4);
    tree_->setHeaderLabels({QStringLiteral("Agent, project and item"), QStringLiteral("Size"),
                            QStringLiteral("Kind"), QStringLiteral("Why")});
    tree_->setUniformRowHeights(true);
    tree_->setAlternatingRowColors(true);
    tree_->header()->setStretchLastSection(true);
    tree_->header()->resizeSection(nameColumn, 320);
    tree_->header()->resizeSection(sizeColumn, 80);
    tree_->header()->resizeSection(kindColumn, 170);
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
            const AgentStoreRow* row =
                model_.store().row(index.siblingAtColumn(nameColumn).data(idRole).toString());
            return row ? row->paths().value(0) : QString();
        },
        ItemContextMenu::keepFolders);
    connect(&model_, &InventoryModel::keptChanged, this, &AgentStorageView::showStore);
    connect(&model_, &AgentStorageModel::storeChanged, this, &AgentStorageView::showStore);
    connect(&model_, &InventoryModel::selectedIDsChanged, this, &AgentStorageView::showTicks);
    connect(&model_, &InventoryModel::isRemovingChanged, this, &AgentStorageView::showTicks);
    connect(&model_, &InventoryModel::failuresChanged, this, &AgentStorageView::showFailures);
    connect(tree_, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item, int column) {
        const QString id = item->data(nameColumn, idRole).toString();
        if (filling_ || column != nameColumn || id.isEmpty())
            return;
        model_.setSelected(id, item->checkState(nameColumn) == Qt::Checked);
    });
    connect(olderButton_, &QPushButton::clicked, this,
            [this] { model_.selectOlderThan(olderThanDays); });
    connect(trashButton_, &QPushButton::clicked, this, &AgentStorageView::confirmTrash);
    showStore();
}

void AgentStorageView::showStore() {
    filling_ = true;
    tree_->clear();
    itemByID_.clear();
    shownTicks_.clear();
    // Each agent's rows are made away from the tree and handed to it whole: tens of thousands of
    // sessions added one by one would each have the view follow.
    QList<QTreeWidgetItem*> agentItems;
    QMap<AgentKind, QMap<QString, QList<const AgentStoreRow*>>> groups;
    for (const AgentStoreRow& row : model_.store().rows)
        groups[row.agent][row.project].append(&row);
    for (auto agent = groups.cbegin(); agent != groups.cend(); ++agent) {
        qint64 agentBytes = 0;
        qsizetype agentCount = 0;
        auto* agentItem = groupItem(nullptr, displayName(agent.key()), 0, 0);
        agentItems.append(agentItem);
        for (auto project = agent->cbegin(); project != agent->cend(); ++project) {
            qint64 bytes = 0;
            for (const AgentStoreRow* row : project.value())
                bytes = checkedSum(bytes, row->bytes);
            const QString name = project.key().isEmpty() ? QStringLiteral("Not tied to a project")
                                                         : Paths::lastComponent(project.key());
            auto* projectItem = groupItem(agentItem, name, bytes, project.value().size());
            projectItem->setToolTip(nameColumn, project.key());
            for (const AgentStoreRow* row : project.value()) {
                auto* item = new QTreeWidgetItem(projectItem);
                item->setText(nameColumn, row->name);
                item->setToolTip(nameColumn, row->paths().join(u'\n'));
                item->setText(sizeColumn, formatBytes(row->bytes));
                item->setTextAlignment(sizeColumn, Qt::AlignRight | Qt::AlignVCenter);
                item->setText(kindColumn, displayName(row->kind));
                item->setText(whyColumn, whyOf(*row));
                item->setToolTip(whyColumn, whyOf(*row));
                item->setData(nameColumn, idRole, row->id);
                if (model_.isKept(row->id))
                    InventoryWidgets::markKept(*item, nameColumn);
                else if (row->isOffered())
                    item->setCheckState(nameColumn, Qt::Unchecked);
                else
                    item->setForeground(whyColumn, palette().brush(QPalette::PlaceholderText));
                itemByID_.insert(row->id, item);
            }
            agentBytes = checkedSum(agentBytes, bytes);
            agentCount += project.value().size();
        }
        agentItem->setText(sizeColumn, formatBytes(agentBytes));
        agentItem->setText(whyColumn, QStringLiteral("%1 items").arg(agentCount));
        QFont bold = agentItem->font(nameColumn);
        bold.setBold(true);
        agentItem->setFont(nameColumn, bold);
    }
    tree_->addTopLevelItems(agentItems);
    tree_->expandToDepth(0);
    filling_ = false;
    showTicks();
}

void AgentStorageView::showTicks() {
    // Only the rows whose tick changed: a click must not touch every row of a long list.
    filling_ = true;
    const QSet<QString>& ticked = model_.selectedIDs();
    const auto show = [this](const QString& id, Qt::CheckState state) {
        QTreeWidgetItem* item = itemByID_.value(id);
        if (item && item->data(nameColumn, Qt::CheckStateRole).isValid())
            item->setCheckState(nameColumn, state);
    };
    for (const QString& id : shownTicks_) {
        if (!ticked.contains(id))
            show(id, Qt::Unchecked);
    }
    for (const QString& id : ticked) {
        if (!shownTicks_.contains(id))
            show(id, Qt::Checked);
    }
    shownTicks_ = ticked;
    filling_ = false;
    summary_->setText(QStringLiteral("%1 of %2 ticked; %3 can go without touching any history "
                                     "of a project that exists")
                          .arg(formatBytes(model_.selectedBytes()),
                               formatBytes(model_.store().totalBytes()),
                               formatBytes(model_.store().reclaimableBytes())));
    trashButton_->setEnabled(!ticked.isEmpty() && !model_.isRemoving());
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
