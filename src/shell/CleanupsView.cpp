#include "shell/CleanupsView.h"

#include "platform/ByteFormat.h"
#include "platform/Locations.h"
#include "platform/Paths.h"
#include "shell/InventoryWidgets.h"

#include <QDate>
#include <QHash>
#include <QHeaderView>
#include <QLocale>
#include <QPushButton>
#include <QTreeWidget>
#include <algorithm>

namespace corvane {
namespace {

constexpr int cleanupRole = Qt::UserRole + 2;

QString itemsWord(qsizetype count) {
    return count == 1 ? QStringLiteral("1 item") : QStringLiteral("%1 items").arg(count);
}

QString whenText(const QDateTime& date) {
    const QDateTime local = date.toLocalTime();
    const QString time = local.time().toString(QStringLiteral("HH:mm"));
    const qint64 days = local.date().daysTo(QDate::currentDate());
    if (days == 0)
        return QStringLiteral("Today, ") + time;
    if (days == 1)
        return QStringLiteral("Yesterday, ") + time;
    return QLocale().toString(local.date(), QLocale::ShortFormat) + QStringLiteral(", ") + time;
}

QString inTrashText(const ListedCleanup& listed) {
    const Cleanup& cleanup = listed.cleanup;
    if (cleanup.isEmptied())
        return QStringLiteral("Emptied");
    const auto putBack = std::count_if(cleanup.items.cbegin(), cleanup.items.cend(),
                                       [](const CleanupItem& item) { return item.isPutBack; });
    if (putBack == cleanup.items.size())
        return QStringLiteral("Put back");
    if (listed.itemsInTrash == 0)
        return QStringLiteral("None");
    if (listed.itemsInTrash == cleanup.items.size())
        return QStringLiteral("All");
    return QStringLiteral("%1 of %2").arg(listed.itemsInTrash).arg(cleanup.items.size());
}

QString itemState(const CleanupItem& item) {
    if (item.isEmptied)
        return QStringLiteral("Deleted from the Trash");
    if (item.isPutBack)
        return QStringLiteral("Put back");
    return {};
}

} // namespace

QString cleanupAreaTitle(const QString& area) {
    static const QHash<QString, QString> titles{
        {QStringLiteral("projects"), QStringLiteral("Projects")},
        {QStringLiteral("caches"), QStringLiteral("Developer caches")},
        {QStringLiteral("apps"), QStringLiteral("Apps")}};
    return titles.value(area, area);
}

CleanupsView::CleanupsView(CleanupHistoryModel& model, QWidget* parent)
    : InventoryPage(model,
                    {QStringLiteral("cleanupsPage"),
                     QStringLiteral("cleanupsList"),
                     QStringLiteral("Cleanups"),
                     QStringLiteral("cleanupsState"),
                     QStringLiteral("cleanupsFailures"),
                     {QStringLiteral("When"), QStringLiteral("Area"), QStringLiteral("Items"),
                      QStringLiteral("Size"), QStringLiteral("In the Trash"), QString()},
                     230},
                    parent)
    , model_(model)
    , emptyTrash_(new QPushButton(QStringLiteral("Empty Trash…"), this)) {
    emptyTrash_->setObjectName(QStringLiteral("emptyTrash"));
    emptyTrash_->setToolTip(QStringLiteral(
        "Deletes for good what these cleanups put in the Trash; the rest of the Trash stays"));
    // The first column holds the items' paths under each cleanup: it takes the room there is.
    QHeaderView* header = tree_->header();
    header->setStretchLastSection(false);
    header->setSectionResizeMode(whenColumn, QHeaderView::Stretch);
    for (const int column : {areaColumn, itemsColumn, sizeColumn, inTrashColumn})
        header->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    header->setSectionResizeMode(actionColumn, QHeaderView::Fixed);
    header->resizeSection(actionColumn, 110);
    tree_->setTextElideMode(Qt::ElideMiddle);
    layOut(QStringLiteral("Cleanups"),
           QStringLiteral("What the app moved to the Trash, newest first. Put Back returns a "
                          "cleanup's items to where they were. Empty Trash deletes for good only "
                          "what the app put there; the rest of the Trash is yours and stays."),
           {}, {emptyTrash_});
    connect(emptyTrash_, &QPushButton::clicked, this, &CleanupsView::confirmEmptyTrash);
    connect(&model_, &CleanupHistoryModel::cleanupsChanged, this, &CleanupsView::showCleanups);
    connect(&model_, &CleanupHistoryModel::emptyTrashPlanned, this, &CleanupsView::askToEmpty);
    showCleanups();
}

QPushButton* CleanupsView::putBackButton(const QString& id) const {
    for (int row = 0; row < tree_->topLevelItemCount(); ++row) {
        QTreeWidgetItem* item = tree_->topLevelItem(row);
        if (item->data(whenColumn, cleanupRole).toString() == id)
            return qobject_cast<QPushButton*>(tree_->itemWidget(item, actionColumn));
    }
    return nullptr;
}

void CleanupsView::showCleanups() {
    refill([this] {
        const QString home = Locations::homeDir();
        for (const ListedCleanup& listed : model_.cleanups()) {
            const Cleanup& cleanup = listed.cleanup;
            auto* row = new QTreeWidgetItem(tree_);
            row->setText(whenColumn, whenText(cleanup.date));
            row->setData(whenColumn, cleanupRole, cleanup.id);
            row->setToolTip(whenColumn, cleanup.id);
            row->setText(areaColumn, cleanupAreaTitle(cleanup.area));
            row->setText(itemsColumn, QString::number(cleanup.items.size()));
            row->setTextAlignment(itemsColumn, Qt::AlignRight | Qt::AlignVCenter);
            InventoryWidgets::setSize(*row, sizeColumn, cleanup.bytes());
            row->setText(inTrashColumn, inTrashText(listed));
            for (const CleanupItem& item : cleanup.items) {
                auto* child = new QTreeWidgetItem(row);
                child->setText(whenColumn, Paths::withTilde(item.originalPath, home));
                child->setToolTip(whenColumn, item.originalPath);
                InventoryWidgets::setSize(*child, sizeColumn, item.bytes);
                child->setText(inTrashColumn, itemState(item));
            }
            auto* putBack = new QPushButton(QStringLiteral("Put Back"), tree_);
            putBack->setObjectName(QStringLiteral("putBack"));
            putBack->setAccessibleName(QStringLiteral("Put back the cleanup of ") +
                                       whenText(cleanup.date));
            putBack->setEnabled(listed.itemsInTrash > 0 && !cleanup.isEmptied());
            connect(putBack, &QPushButton::clicked, this,
                    [this, id = cleanup.id] { model_.putBack(id); });
            tree_->setItemWidget(row, actionColumn, putBack);
        }
    });
    // The list opens folded: a cleanup of hundreds of items would bury the others.
    tree_->collapseAll();
}

void CleanupsView::showState() {
    QString state;
    if (!model_.hasLoaded())
        state = QStringLiteral("Reading the cleanup history…");
    else if (model_.cleanups().isEmpty())
        state = model_.problem().value_or(
            QStringLiteral("No cleanups yet. What you move to the Trash from any area is listed "
                           "here, ready to be put back."));
    showStateLine(state, QStringLiteral("Some items stayed where they were:"));
    const bool idle = !model_.isRemoving() && !model_.isLoading();
    const bool anyInTrash =
        std::any_of(model_.cleanups().cbegin(), model_.cleanups().cend(),
                    [](const ListedCleanup& listed) { return listed.itemsInTrash > 0; });
    emptyTrash_->setEnabled(idle && anyInTrash);
    for (int row = 0; row < tree_->topLevelItemCount(); ++row) {
        if (QWidget* button = tree_->itemWidget(tree_->topLevelItem(row), actionColumn))
            button->setEnabled(idle && model_.cleanups().value(row).itemsInTrash > 0 &&
                               !model_.cleanups().value(row).cleanup.isEmptied());
    }
}

void CleanupsView::confirmEmptyTrash() {
    if (model_.isRemoving())
        return;
    // A second click looks again; only the newest look comes back.
    emptyRequested_ = true;
    model_.planEmptyTrash();
}

void CleanupsView::askToEmpty(const OwnTrashListing& listing) {
    if (!emptyRequested_)
        return;
    emptyRequested_ = false;
    if (listing.items.isEmpty()) {
        model_.toasts().post(listing.problem.value_or(QStringLiteral(
                                 "Nothing this app put in the Trash is still there")),
                             ToastStyle::info);
        return;
    }
    QList<ConfirmationGroup> groups;
    QString cleanupID;
    for (const OwnTrashItem& entry : listing.items) {
        if (groups.isEmpty() || entry.cleanupID != cleanupID) {
            cleanupID = entry.cleanupID;
            groups.append(
                {cleanupAreaTitle(entry.area) + QStringLiteral(" · ") + whenText(entry.date), {}});
        }
        groups.last().items.append({Paths::lastComponent(entry.item.originalPath),
                                    entry.item.originalPath, std::nullopt, entry.item.bytes});
    }
    const qsizetype count = listing.items.size();
    ask(Change::permanent,
        {QStringLiteral("emptyTrashConfirmation"), QStringLiteral("Empty Trash"),
         QStringLiteral("Delete %1 from the Trash for good?").arg(itemsWord(count)),
         QStringLiteral("This frees %1. These are the items this app put in the Trash; they can't "
                        "be put back afterwards. Everything else in the Trash stays.")
             .arg(formatBytes(listing.bytes())),
         QStringLiteral("Delete")},
        groups, [this, items = listing.items] { model_.emptyTrash(items); });
}

} // namespace corvane
