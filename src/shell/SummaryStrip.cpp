#include "shell/SummaryStrip.h"

#include "platform/ByteFormat.h"
#include "platform/CheckedSum.h"
#include "platform/OverviewModel.h"
#include "scanning/ScanWording.h"
#include "shell/FlowLayout.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QResizeEvent>
#include <QVBoxLayout>

namespace corvane {
namespace {

constexpr int refreshDelay = 100;
constexpr int barHeight = 10;
constexpr qreal figureScale = 1.6;

QLabel* figureLabel(QWidget* parent) {
    auto* label = new QLabel(parent);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * figureScale);
    font.setWeight(QFont::DemiBold);
    label->setFont(font);
    return label;
}

QLabel* captionLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QWidget* figure(const QString& caption, QLabel* value, QWidget* parent) {
    auto* box = new QWidget(parent);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(captionLabel(caption, box));
    layout->addWidget(value);
    return box;
}

QWidget* swatch(const QColor& color, QWidget* parent) {
    auto* label = new QLabel(parent);
    QPixmap pixmap(10, 10);
    pixmap.fill(color);
    label->setPixmap(pixmap);
    return label;
}

} // namespace

QColor kindColor(ArtifactKind kind) {
    switch (kind) {
    case ArtifactKind::dependencies:
        return QColor(0x0a, 0x84, 0xff);
    case ArtifactKind::buildOutput:
        return QColor(0xaf, 0x52, 0xde);
    case ArtifactKind::cache:
        return QColor(0x30, 0xb0, 0xc7);
    case ArtifactKind::virtualEnv:
        return QColor(0x34, 0xc7, 0x59);
    case ArtifactKind::wholeProject:
        return QColor(0xff, 0x95, 0x00);
    case ArtifactKind::unknown:
        break;
    }
    return QColor(0x8e, 0x8e, 0x93);
}

KindBar::KindBar(QWidget* parent)
    : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void KindBar::setShares(const QMap<ArtifactKind, qint64>& bytesByKind) {
    if (bytesByKind == bytesByKind_)
        return;
    bytesByKind_ = bytesByKind;
    update();
}

QSize KindBar::sizeHint() const {
    return {240, barHeight};
}

void KindBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF track(0, (height() - barHeight) / 2.0, width(), barHeight);
    QPainterPath rounded;
    rounded.addRoundedRect(track, barHeight / 2.0, barHeight / 2.0);
    painter.setClipPath(rounded);
    QColor empty = palette().color(QPalette::Text);
    empty.setAlphaF(0.08F);
    painter.fillRect(track, empty);

    qint64 total = 0;
    for (const qint64 bytes : bytesByKind_)
        total = checkedSum(total, bytes);
    if (total <= 0)
        return;
    qreal left = track.left();
    for (auto share = bytesByKind_.cbegin(); share != bytesByKind_.cend(); ++share) {
        const qreal width = track.width() * static_cast<double>(share.value()) / total;
        painter.fillRect(QRectF(left, track.top(), width, track.height()), kindColor(share.key()));
        left += width;
    }
}

SummaryStrip::SummaryStrip(const ScanSession& session, TrashGauge& trash, QWidget* parent)
    : QWidget(parent)
    , session_(session)
    , reclaimable_(figureLabel(this))
    , ticked_(figureLabel(this))
    , bar_(new KindBar(this))
    , legend_(new FlowLayout)
    , legendLine_(new QWidget(this))
    , trashLine_(captionLabel(QString(), this))
    , trash_(trash) {
    reclaimable_->setObjectName(QStringLiteral("reclaimableTotal"));
    ticked_->setObjectName(QStringLiteral("tickedTotal"));
    trashLine_->setObjectName(QStringLiteral("trashSize"));
    // The legend keeps its line while empty, so the strip does not jump when sizes arrive.
    legendLine_->setLayout(legend_);
    legendLine_->setMinimumHeight(fontMetrics().height() + 4);
    auto* breakdown = new QVBoxLayout;
    breakdown->addStretch();
    breakdown->addWidget(bar_);
    breakdown->addWidget(legendLine_);
    breakdown->addWidget(trashLine_);
    breakdown->addStretch();

    figures_ = {figure(QStringLiteral("Reclaimable"), reclaimable_, this),
                figure(QStringLiteral("Ticked"), ticked_, this)};
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(16, 10, 16, 10);
    layout->setSpacing(28);
    for (QWidget* box : figures_)
        layout->addWidget(box);
    layout->addLayout(breakdown, 1);

    refreshTimer_.setSingleShot(true);
    refreshTimer_.setInterval(refreshDelay);
    connect(&refreshTimer_, &QTimer::timeout, this, &SummaryStrip::refresh);
    for (const auto signal :
         {&ScanSession::projectsChanged, &ScanSession::itemsByProjectChanged,
          &ScanSession::sizeByItemChanged, &ScanSession::selectedItemIDsChanged})
        connect(&session_, signal, &refreshTimer_, [this] {
            if (!refreshTimer_.isActive())
                refreshTimer_.start();
        });
    connect(&trash_, &TrashGauge::changed, this, &SummaryStrip::showTrash);
    refresh();
    if (trash_.bytes())
        showTrash();
    else
        trash_.refresh();
}

QString SummaryStrip::trashText() const {
    return trashLine_->text();
}

void SummaryStrip::showTrash() {
    const std::optional<qint64>& bytes = trash_.bytes();
    QString line;
    if (bytes)
        line = QStringLiteral("Trash: ") + formatBytes(*bytes);
    // An empty Trash has nothing to give back when it is emptied.
    if (bytes && *bytes > 0)
        line += QStringLiteral(" — the space comes back when you empty the Trash");
    trashLine_->setText(line);
    // One line has no room for it: the strip's tooltip says it then.
    setToolTip(compact_ ? trashLine_->text() : QString());
}

void SummaryStrip::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    setCompact(event->size().width() < compactWidth);
}

void SummaryStrip::setCompact(bool compact) {
    if (compact == compact_)
        return;
    compact_ = compact;
    const qreal base = font().pointSizeF();
    for (QWidget* box : figures_)
        static_cast<QBoxLayout*>(box->layout())
            ->setDirection(compact ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    for (QWidget* box : figures_)
        box->layout()->setSpacing(compact ? 6 : 0);
    for (QLabel* value : {reclaimable_, ticked_}) {
        QFont figureFont = value->font();
        figureFont.setPointSizeF(compact ? base : base * figureScale);
        value->setFont(figureFont);
    }
    legendLine_->setVisible(!compact);
    trashLine_->setVisible(!compact);
    const int margin = compact ? 5 : 10;
    this->layout()->setContentsMargins(16, margin, 16, margin);
    showTrash();
}

QString SummaryStrip::reclaimableText() const {
    return reclaimable_->text();
}

QString SummaryStrip::tickedText() const {
    return ticked_->text();
}

QStringList SummaryStrip::legendTexts() const {
    QStringList texts;
    for (const QLabel* words : legendWords_) {
        if (!words->parentWidget()->isHidden())
            texts.append(words->text());
    }
    return texts;
}

void SummaryStrip::refresh() {
    refreshTimer_.stop();
    reclaimable_->setText(formatBytes(session_.reclaimableBytes()));
    ticked_->setText(formatBytes(session_.selectedBytes()));
    const QMap<ArtifactKind, qint64> shares = session_.reclaimableBytesByKind();
    updateLegend(shares);
    bar_->setShares(shares);
    bar_->setToolTip(legendTexts().join(u'\n'));
}

void SummaryStrip::updateLegend(const QMap<ArtifactKind, qint64>& bytesByKind) {
    // One entry per kind, made once and shown while the kind has reclaimable bytes.
    for (auto share = bytesByKind.cbegin(); share != bytesByKind.cend(); ++share) {
        if (legendWords_.contains(share.key()))
            continue;
        auto* entry = new QWidget(legend_->parentWidget());
        auto* layout = new QHBoxLayout(entry);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(4);
        layout->addWidget(swatch(kindColor(share.key()), entry));
        auto* words = new QLabel(entry);
        words->setForegroundRole(QPalette::PlaceholderText);
        layout->addWidget(words);
        legendWords_.insert(share.key(), words);
        // Kinds keep their order in the legend whatever order they appear in.
        const auto position = std::distance(legendWords_.begin(), legendWords_.find(share.key()));
        legend_->insertWidget(static_cast<int>(position), entry);
    }
    for (auto entry = legendWords_.cbegin(); entry != legendWords_.cend(); ++entry) {
        const auto bytes = bytesByKind.constFind(entry.key());
        entry.value()->parentWidget()->setVisible(bytes != bytesByKind.cend());
        if (bytes != bytesByKind.cend())
            entry.value()->setText(ScanWording::kindWords(entry.key()) + QStringLiteral("  ") +
                                   formatBytes(*bytes));
    }
}

} // namespace corvane
