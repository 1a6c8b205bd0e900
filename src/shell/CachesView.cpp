#include "shell/CachesView.h"

#include "platform/ByteFormat.h"
#include "shell/FilterBar.h"
#include "shell/ListFinder.h"
#include "shell/PageLayout.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QStackedLayout>
#include <QTreeView>
#include <QVBoxLayout>

namespace corvane {

const QString CachesView::introText = QStringLiteral(
    "Developer caches outside your projects. Everything here is regenerated or re-downloaded by "
    "its tool, but nothing is pre-selected: check what you want to clear.");
const QString CachesView::emptyText =
    QStringLiteral("No known developer caches found on this machine.");

CachesView::CachesView(GlobalCachesModel& caches, QWidget* parent)
    : QWidget(parent)
    , caches_(caches)
    , model_(new CachesTableModel(caches, this))
    , list_(new QTreeView(this))
    , empty_(new QLabel(emptyText, this))
    , ticked_(new QLabel(this))
    , body_(new QStackedLayout)
    , rescanButton_(new QPushButton(QStringLiteral("Rescan caches"), this))
    , trashButton_(new QPushButton(QStringLiteral("Move to Trash"), this)) {

    list_->setObjectName(QStringLiteral("cachesView"));
    list_->setAccessibleName(QStringLiteral("Developer caches"));
    list_->setModel(model_);
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true);
    list_->setAlternatingRowColors(true);
    list_->setWordWrap(false);
    list_->header()->setStretchLastSection(false);
    list_->header()->setSectionResizeMode(CachesTableModel::nameColumn,
                                          QHeaderView::ResizeToContents);
    list_->header()->setSectionResizeMode(CachesTableModel::detailColumn, QHeaderView::Stretch);
    list_->header()->setSectionResizeMode(CachesTableModel::sizeColumn,
                                          QHeaderView::ResizeToContents);
    empty_->setObjectName(QStringLiteral("cachesEmptyState"));
    empty_->setAlignment(Qt::AlignCenter);
    empty_->setForegroundRole(QPalette::PlaceholderText);
    body_->addWidget(list_);
    body_->addWidget(empty_);
    ticked_->setForegroundRole(QPalette::PlaceholderText);
    rescanButton_->setObjectName(QStringLiteral("rescanCaches"));
    trashButton_->setObjectName(QStringLiteral("cachesTrashButton"));

    auto* footer = new QHBoxLayout;
    footer->addWidget(rescanButton_);
    footer->addWidget(ticked_, 1, Qt::AlignRight);
    footer->addWidget(trashButton_);
    auto* filter = new FilterBar(QStringLiteral("Filter caches by name or path"), this);
    ListFinder::attach(*list_, filter, QStringLiteral("caches"),
                       {CachesTableModel::sizeColumn, Qt::DescendingOrder});
    auto* body = new QVBoxLayout;
    body->addWidget(filter);
    body->addLayout(body_, 1);
    layOutPage(*this, QStringLiteral("Developer caches"), introText, body, footer);

    connect(rescanButton_, &QPushButton::clicked, &caches_, &GlobalCachesModel::reload);
    connect(trashButton_, &QPushButton::clicked, this, &CachesView::trashRequested);
    for (const auto signal :
         {&GlobalCachesModel::cachesChanged, &GlobalCachesModel::cacheSizeByIDChanged})
        connect(&caches_, signal, this, &CachesView::showState);
    for (const auto signal :
         {&InventoryModel::selectedIDsChanged, &InventoryModel::isLoadingChanged,
          &InventoryModel::isRemovingChanged})
        connect(&caches_, signal, this, &CachesView::showState);
    showState();
}

void CachesView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (scanRequested_)
        return;
    scanRequested_ = true;
    caches_.reload();
    showState();
}

void CachesView::showState() {
    const bool empty = caches_.hasLoaded() && caches_.caches().isEmpty() && !caches_.isLoading();
    body_->setCurrentWidget(empty ? static_cast<QWidget*>(empty_) : list_);
    const auto count = caches_.selectedIDs().size();
    ticked_->setText(count == 0 ? QString()
                                : QStringLiteral("%1 ticked, %2")
                                      .arg(count == 1 ? QStringLiteral("1 cache")
                                                      : QStringLiteral("%1 caches").arg(count),
                                           formatBytes(caches_.selectedBytes())));
    trashButton_->setEnabled(count > 0 && !caches_.isRemoving());
    rescanButton_->setEnabled(!caches_.isLoading());
}

bool CachesView::showsEmptyState() const {
    return body_->currentWidget() == empty_;
}

QString CachesView::tickedText() const {
    return ticked_->text();
}

} // namespace corvane
