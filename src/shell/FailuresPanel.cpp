#include "shell/FailuresPanel.h"

#include "platform/Paths.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

namespace corvane {

FailuresPanel::FailuresPanel(QWidget* parent)
    : QFrame(parent)
    , list_(new QListWidget(this)) {
    setObjectName(QStringLiteral("trashFailures"));
    list_->setAccessibleName(QStringLiteral("What could not be moved"));
    setFrameShape(QFrame::StyledPanel);
    auto* icon = new QLabel(this);
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(20, 20));
    auto* title = new QLabel(heading, this);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    auto* dismiss = new QPushButton(QStringLiteral("Dismiss"), this);
    connect(dismiss, &QPushButton::clicked, this, &QWidget::hide);

    auto* header = new QHBoxLayout;
    header->addWidget(icon);
    header->addWidget(title, 1);
    header->addWidget(dismiss);
    list_->setFrameShape(QFrame::NoFrame);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(10, 8, 10, 8);
    layout->addLayout(header);
    layout->addWidget(list_);

    showFailures({});
}

QStringList FailuresPanel::lines() const {
    QStringList lines;
    for (int row = 0; row < list_->count(); ++row)
        lines.append(list_->item(row)->text());
    return lines;
}

void FailuresPanel::showFailures(const QList<TrashFailure>& failures) {
    list_->clear();
    for (const TrashFailure& failure : failures) {
        auto* line = new QListWidgetItem(Paths::lastComponent(failure.url) + QStringLiteral(": ") +
                                         failure.message);
        line->setToolTip(failure.url);
        list_->addItem(line);
    }
    // Tall enough for a few lines; more scroll.
    const int lines = std::clamp(list_->count(), 1, 4);
    list_->setFixedHeight(lines * std::max(list_->sizeHintForRow(0), fontMetrics().height()) +
                          2 * list_->frameWidth() + 4);
    setVisible(!failures.isEmpty());
}

} // namespace corvane
