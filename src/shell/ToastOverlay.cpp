#include "shell/ToastOverlay.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

namespace corvane {
namespace {

constexpr int bottomMargin = 24;

} // namespace

ToastOverlay::ToastOverlay(ToastCenter& toasts, QWidget* parent)
    : QWidget(parent)
    , toasts_(toasts)
    , label_(new QLabel(this))
    , actionButton_(new QPushButton(this)) {
    setObjectName(QStringLiteral("toast"));
    label_->setForegroundRole(QPalette::ToolTipText);
    actionButton_->setObjectName(QStringLiteral("toastAction"));
    // Named even while no toast offers an action, when it has no title of its own.
    actionButton_->setAccessibleName(QStringLiteral("Notification action"));
    actionButton_->setCursor(Qt::PointingHandCursor);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(18, 9, 18, 9);
    layout->setSpacing(14);
    layout->addWidget(label_);
    layout->addWidget(actionButton_);
    dismissTimer_.setSingleShot(true);
    connect(&dismissTimer_, &QTimer::timeout, this, [this] { toasts_.dismiss(shownID_); });
    connect(actionButton_, &QPushButton::clicked, this,
            [this] { toasts_.triggerAction(shownID_); });
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
    actionButton_->setVisible(toast->action.has_value());
    actionButton_->setText(toast->action ? toast->action->title : QString());
    actionButton_->setAccessibleName(toast->action ? toast->action->title
                                                   : QStringLiteral("Notification action"));
    // A plain note lets clicks through to what lies under it; one with a button takes them.
    setAttribute(Qt::WA_TransparentForMouseEvents, !toast->action);
    place();
    show();
    raise();
    dismissTimer_.start(toast->action ? 2 * displayTime_ : displayTime_);
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
