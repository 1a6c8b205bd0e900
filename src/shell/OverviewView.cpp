#include "shell/OverviewView.h"

#include "platform/ByteFormat.h"
#include "shell/PageLayout.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corvane {
namespace {

enum Column { nameColumn, sizeColumn };
constexpr int idRole = Qt::UserRole;

} // namespace

SpaceBar::SpaceBar(QWidget* parent)
    : QWidget(parent) {
    setObjectName(QStringLiteral("spaceBar"));
    setAccessibleName(QStringLiteral("Where the space goes"));
    setMinimumHeight(28);
    setCursor(Qt::PointingHandCursor);
}

QColor SpaceBar::colorOf(int index) {
    static const QList<QColor> colors{QColor(0x4c, 0x8b, 0xf5), QColor(0x34, 0xa8, 0x53),
                                      QColor(0xf2, 0x99, 0x00), QColor(0x1d, 0x9b, 0xd1),
                                      QColor(0xa1, 0x42, 0xf4), QColor(0x3d, 0xdc, 0x84),
                                      QColor(0xe8, 0x4a, 0x5f)};
    return colors.at(index % colors.size());
}

void SpaceBar::setSegments(const QList<std::pair<QString, qint64>>& segments) {
    segments_ = segments;
    update();
}

QString SpaceBar::areaAt(int x) const {
    qint64 total = 0;
    for (const auto& segment : segments_)
        total += segment.second;
    if (total <= 0)
        return {};
    double left = 0;
    for (const auto& [id, bytes] : segments_) {
        const double segmentWidth = double(bytes) / double(total) * width();
        if (x >= left && x < left + segmentWidth)
            return id;
        left += segmentWidth;
    }
    return {};
}

void SpaceBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(QPalette::AlternateBase));
    painter.drawRoundedRect(frame, 6, 6);
    qint64 total = 0;
    for (const auto& segment : segments_)
        total += segment.second;
    if (total <= 0)
        return;
    QPainterPath clip;
    clip.addRoundedRect(frame, 6, 6);
    painter.setClipPath(clip);
    double left = 0;
    for (int i = 0; i < segments_.size(); ++i) {
        const double segmentWidth = double(segments_[i].second) / double(total) * width();
        painter.setBrush(colorOf(i));
        painter.drawRect(QRectF(left, 0, segmentWidth, height()));
        left += segmentWidth;
    }
}

void SpaceBar::mouseReleaseEvent(QMouseEvent* event) {
    const QString id = areaAt(int(event->position().x()));
    if (!id.isEmpty())
        emit areaClicked(id);
}

OverviewView::OverviewView(OverviewModel& model, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , disk_(new QLabel(this))
    , bar_(new SpaceBar(this))
    , list_(new QTreeWidget(this))
    , diskMapButton_(new QPushButton(QStringLiteral("Map Home Folder"), this)) {
    setObjectName(QStringLiteral("overviewView"));
    disk_->setObjectName(QStringLiteral("diskSummary"));
    list_->setObjectName(QStringLiteral("overviewList"));
    list_->setAccessibleName(QStringLiteral("What each area could give back"));
    list_->setHeaderLabels({QStringLiteral("Area"), QStringLiteral("Could give back")});
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true);
    list_->header()->setSectionResizeMode(nameColumn, QHeaderView::Stretch);
    list_->header()->setSectionResizeMode(sizeColumn, QHeaderView::ResizeToContents);
    list_->header()->setStretchLastSection(false);

    auto* body = new QVBoxLayout;
    body->addWidget(disk_);
    body->addWidget(bar_);
    body->addWidget(list_, 1);
    auto* footer = new QHBoxLayout;
    diskMapButton_->setObjectName(QStringLiteral("mapHomeFolder"));
    footer->addStretch(1);
    footer->addWidget(diskMapButton_);
    layOutPage(*this, QStringLiteral("Overview"),
               QStringLiteral("Your disk, and what every area could give back. Click an area to "
                              "open it."),
               body, footer);

    connect(&model_, &OverviewModel::changed, this, &OverviewView::showOverview);
    connect(bar_, &SpaceBar::areaClicked, this, &OverviewView::areaRequested);
    connect(diskMapButton_, &QPushButton::clicked, this, &OverviewView::diskMapRequested);
    connect(list_, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem* item) {
        const QString id = item->data(nameColumn, idRole).toString();
        if (!id.isEmpty())
            emit areaRequested(id);
    });
    showOverview();
}

void OverviewView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!loaded_) {
        loaded_ = true;
        model_.reload();
    }
}

void OverviewView::showOverview() {
    disk_->setText(model_.capacityBytes() > 0 ? QStringLiteral("%1 of %2 used, %3 free")
                                                    .arg(formatBytes(model_.usedBytes()),
                                                         formatBytes(model_.capacityBytes()),
                                                         formatBytes(model_.freeBytes()))
                                              : QStringLiteral("Measuring the disk…"));
    list_->clear();
    QList<std::pair<QString, qint64>> segments;
    for (int i = 0; i < model_.areas().size(); ++i) {
        const OverviewArea& area = model_.areas()[i];
        auto* row = new QTreeWidgetItem(list_);
        const QString detail = area.detailText();
        row->setText(nameColumn,
                     detail.isEmpty() ? area.name : area.name + QStringLiteral(" — ") + detail);
        row->setData(nameColumn, idRole, area.id);
        QPixmap swatch(10, 10);
        swatch.fill(SpaceBar::colorOf(i));
        row->setIcon(nameColumn, QIcon(swatch));
        const std::optional<qint64> bytes = area.bytes();
        const QString note = area.note();
        row->setText(sizeColumn, bytes            ? formatBytes(*bytes)
                                 : note.isEmpty() ? QStringLiteral("Measuring…")
                                                  : note);
        row->setTextAlignment(sizeColumn, Qt::AlignRight | Qt::AlignVCenter);
        segments.append({area.id, bytes.value_or(0)});
    }
    auto* trash = new QTreeWidgetItem(list_);
    // An empty Trash has nothing to give back when it is emptied.
    const bool trashHolds = model_.trashBytes().value_or(1) > 0;
    trash->setText(nameColumn, trashHolds
                                   ? QStringLiteral("In the Trash — ") + OverviewModel::trashNote
                                   : QStringLiteral("In the Trash"));
    trash->setText(sizeColumn, model_.trashBytes() ? formatBytes(*model_.trashBytes())
                                                   : QStringLiteral("Measuring…"));
    trash->setTextAlignment(sizeColumn, Qt::AlignRight | Qt::AlignVCenter);
    auto* total = new QTreeWidgetItem(list_);
    total->setText(nameColumn, QStringLiteral("Could give back in all"));
    total->setText(sizeColumn, formatBytes(model_.totalBytes()));
    total->setTextAlignment(sizeColumn, Qt::AlignRight | Qt::AlignVCenter);
    QFont bold = total->font(nameColumn);
    bold.setBold(true);
    total->setFont(nameColumn, bold);
    total->setFont(sizeColumn, bold);
    bar_->setSegments(segments);
}

} // namespace corvane
