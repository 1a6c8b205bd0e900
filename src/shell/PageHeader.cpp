#include "shell/PageHeader.h"

#include <QLabel>

namespace corvane {

QLabel* makePageTitle(const QString& text, QWidget* parent) {
    auto* title = new QLabel(text, parent);
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setWeight(QFont::DemiBold);
    title->setFont(big);
    return title;
}

QLabel* makePageIntro(const QString& text, QWidget* parent) {
    auto* intro = new QLabel(text, parent);
    intro->setWordWrap(true);
    intro->setForegroundRole(QPalette::PlaceholderText);
    return intro;
}

} // namespace corvane
