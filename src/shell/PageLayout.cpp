#include "shell/PageLayout.h"

#include <QLabel>
#include <QVBoxLayout>

namespace corvane {

void layOutPage(QWidget& page, const QString& title, const QString& intro, QLayout* body,
                QLayout* footer) {
    auto* heading = new QLabel(title, &page);
    QFont big = heading->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setWeight(QFont::DemiBold);
    heading->setFont(big);
    auto* introLine = new QLabel(intro, &page);
    introLine->setWordWrap(true);
    introLine->setForegroundRole(QPalette::PlaceholderText);

    auto* layout = new QVBoxLayout(&page);
    layout->setContentsMargins(16, 14, 16, 12);
    layout->addWidget(heading);
    layout->addWidget(introLine);
    layout->addSpacing(6);
    layout->addLayout(body, 1);
    layout->addLayout(footer);
}

} // namespace corvane
