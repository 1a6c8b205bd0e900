#include "shell/ToastOverlay.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>

namespace corvane {
namespace {

constexpr int bottomMargin = 24;

} // namespace

ToastOverlay::ToastOverlay(ToastCenter& toasts, QWidget* parent)
    : QWidget(parent)
    , toasts_(toasts)
    , label_(new QLabel(this)) {
    setObjectName(QStringLiteral("toast"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    label_->setForegroundRole(QPalette::ToolTipText);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(18, 9, 18, 9);
    layout->addWidget(label_);
    dismissTimer_.setSingleShot(true);
    dismissTimer_.setInterval(defaultDisplayTime);
    connect(&dismissTimer_, &QTimer::timeout, this, [this] { toasts_.dismiss(shownID_); });
    connect(&toasts_, &ToastCenter::currentChanged, this, &ToastOverlay::showCurrent);
    parent->installEventFilter(this);
    hide();
    showCurrent();
}

QString ToastOverlay::message() const {
    return isVisible() ? label_->text() : QString();
}

void ToastOverlay::showCurrent() {
    const std::optional<Toast>& toast = toasts_.current();
    if (!toast) {
        dismissTimer_.stop();
        hide();
        return;
    }
    shownID_ = toast->id;
    label_->setText(toast->message);
    place();
    show();
    raise();
    dismissTimer_.start();
}

void ToastOverlay::place() {
    adjustSize();
    const QWidget* area = parentWidget();
    move((area->width() - width()) / 2, area->height() - height() - bottomMargin);
}

bool ToastOverlay::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize)
        place();
    return QWidget::eventFilter(watched, event);
}

void ToastOverlay::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor border = palette().color(QPalette::ToolTipText);
    border.setAlphaF(0.15F);
    painter.setPen(border);
    painter.setBrush(palette().color(QPalette::ToolTipBase));
    const qreal radius = height() / 2.0;
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

} // namespace corvane
