#include "shell/WelcomeDialog.h"

#include "shell/AppIcon.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QVBoxLayout>

namespace corvane {

WelcomeDialog::WelcomeDialog(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("welcome"));
    setWindowTitle(QStringLiteral("Welcome to Corvane Clean"));
    auto* icon = new QLabel(this);
    icon->setPixmap(appIcon().pixmap(72, 72));
    icon->setAlignment(Qt::AlignTop);

    auto* title = new QLabel(QStringLiteral("Welcome to Corvane Clean"), this);
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setWeight(QFont::DemiBold);
    title->setFont(big);
    auto* text = new QLabel(
        QStringLiteral(
            "<p>Corvane Clean gives back the disk space that developer tools and coding agents "
            "leave in your projects: dependencies, build output, caches and virtual environments "
            "that their tools can make again.</p>"
            "<p>Choose the folder that holds your projects. Corvane Clean asks git about every "
            "project and only ticks what is safe to remove; a project with uncommitted work keeps "
            "everything until you decide.</p>"
            "<p><b>Nothing is ever deleted permanently.</b> What you remove goes to the Trash, "
            "where you can put it back until you empty it.</p>"),
        this);
    text->setWordWrap(true);
    text->setTextFormat(Qt::RichText);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* choose =
        buttons->addButton(QStringLiteral("Choose Folder…"), QDialogButtonBox::AcceptRole);
    buttons->addButton(QStringLiteral("Not Now"), QDialogButtonBox::RejectRole);
    choose->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(this, &QDialog::accepted, this, &WelcomeDialog::chooseFolderRequested);
    connect(this, &QDialog::finished, this, [] { QSettings().setValue(settingsKey, true); });

    auto* words = new QVBoxLayout;
    words->addWidget(title);
    words->addWidget(text);
    auto* body = new QHBoxLayout;
    body->setSpacing(18);
    body->addWidget(icon);
    body->addLayout(words, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 20, 22, 16);
    layout->addLayout(body);
    layout->addSpacing(10);
    layout->addWidget(buttons);
    setFixedWidth(520);
}

bool WelcomeDialog::wasCompleted() {
    return QSettings().value(settingsKey, false).toBool();
}

} // namespace corvane
