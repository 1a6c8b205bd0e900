#include "shell/CachesView.h"

#include "platform/ByteFormat.h"

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

CachesView::CachesView(ScanSession& session, QWidget* parent)
    : QWidget(parent)
    , session_(session)
    , model_(new CachesModel(session, this))
    , list_(new QTreeView(this))
    , empty_(new QLabel(emptyText, this))
    , ticked_(new QLabel(this))
    , body_(new QStackedLayout)
    , rescanButton_(new QPushButton(QStringLiteral("Rescan caches"), this))
    , trashButton_(new QPushButton(QStringLiteral("Move to Trash"), this)) {
    auto* title = new QLabel(QStringLiteral("Developer caches"), this);
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setWeight(QFont::DemiBold);
    title->setFont(big);
    auto* intro = new QLabel(introText, this);
    intro->setWordWrap(true);
    intro->setForegroundRole(QPalette::PlaceholderText);

    list_->setObjectName(QStringLiteral("cachesView"));
    list_->setModel(model_);
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true);
    list_->setAlternatingRowColors(true);
    list_->setWordWrap(false);
    list_->header()->setStretchLastSection(false);
    list_->header()->setSectionResizeMode(CachesModel::nameColumn, QHeaderView::ResizeToContents);
    list_->header()->setSectionResizeMode(CachesModel::detailColumn, QHeaderView::Stretch);
    list_->header()->setSectionResizeMode(CachesModel::sizeColumn, QHeaderView::ResizeToContents);
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
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 14, 16, 12);
    layout->addWidget(title);
    layout->addWidget(intro);
    layout->addSpacing(6);
    layout->addLayout(body_, 1);
    layout->addLayout(footer);

    connect(rescanButton_, &QPushButton::clicked, &session_, &ScanSession::scanCaches);
    connect(trashButton_, &QPushButton::clicked, this,
            [this] { emit trashRequested(TrashScope::caches()); });
    for (const auto signal :
         {&ScanSession::globalCachesChanged, &ScanSession::cacheSizeByIDChanged,
          &ScanSession::selectedCacheIDsChanged, &ScanSession::isCacheScanningChanged,
          &ScanSession::isTrashingChanged})
        connect(&session_, signal, this, &CachesView::showState);
    showState();
}

void CachesView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (scanRequested_)
        return;
    scanRequested_ = true;
    session_.scanCaches();
    showState();
}

void CachesView::showState() {
    const bool empty =
        scanRequested_ && session_.globalCaches().isEmpty() && !session_.isCacheScanning();
    body_->setCurrentWidget(empty ? static_cast<QWidget*>(empty_) : list_);
    const TrashPlan plan = session_.trashPlan(TrashScope::caches());
    const auto count = plan.cacheURLs.size();
    ticked_->setText(count == 0 ? QString()
                                : QStringLiteral("%1 ticked, %2")
                                      .arg(count == 1 ? QStringLiteral("1 cache")
                                                      : QStringLiteral("%1 caches").arg(count),
                                           formatBytes(plan.bytesOf(plan.cacheURLs))));
    trashButton_->setEnabled(count > 0 && !session_.isTrashing());
    rescanButton_->setEnabled(!session_.isCacheScanning());
}

bool CachesView::showsEmptyState() const {
    return body_->currentWidget() == empty_;
}

QString CachesView::tickedText() const {
    return ticked_->text();
}

} // namespace corvane
