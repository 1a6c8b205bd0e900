#include "shell/UpdatePrompt.h"

#include <QDesktopServices>
#include <QMessageBox>
#include <QPushButton>

namespace corvane {

namespace {

QMessageBox* makeSheet(QWidget* window, const QString& objectName, QMessageBox::Icon icon) {
    auto* box = new QMessageBox(window);
    box->setObjectName(objectName);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIcon(icon);
    box->setWindowTitle(QStringLiteral("Software Update"));
    // Window-modal: a sheet on macOS, and the window stays responsive under it.
    box->setWindowModality(Qt::WindowModal);
    return box;
}

} // namespace

QMessageBox* makeUpdatePrompt(QWidget* window, const UpdateOffer& offer,
                              const QString& currentVersion, UrlOpener open) {
    QMessageBox* box = makeSheet(window, QStringLiteral("updatePrompt"), QMessageBox::Information);
    box->setText(
        QStringLiteral("Corvane Clean %1 is available (you have %2). Open its download page?")
            .arg(offer.version, currentVersion));
    box->setInformativeText(
        QStringLiteral("The page opens in your browser; Corvane Clean downloads nothing itself."));
    QPushButton* openButton = box->addButton(openDownloadPageTitle, QMessageBox::AcceptRole);
    QPushButton* notNow = box->addButton(notNowTitle, QMessageBox::RejectRole);
    box->setDefaultButton(openButton);
    box->setEscapeButton(notNow);
    if (!open)
        open = [](const QUrl& url) { return QDesktopServices::openUrl(url); };
    const QUrl page = offer.downloadPage;
    QObject::connect(openButton, &QPushButton::clicked, box,
                     [open = std::move(open), page] { open(page); });
    return box;
}

QMessageBox* makeUpToDateNotice(QWidget* window, const QString& currentVersion) {
    QMessageBox* box = makeSheet(window, QStringLiteral("updateNotice"), QMessageBox::Information);
    box->setText(QStringLiteral("You're up to date"));
    box->setInformativeText(
        QStringLiteral("Corvane Clean %1 is the newest version.").arg(currentVersion));
    box->addButton(QMessageBox::Ok);
    return box;
}

QMessageBox* makeUpdateFailureNotice(QWidget* window, const QString& message) {
    QMessageBox* box = makeSheet(window, QStringLiteral("updateNotice"), QMessageBox::Warning);
    box->setText(QStringLiteral("Corvane Clean couldn't check for updates"));
    box->setInformativeText(message + QStringLiteral(" Try again later."));
    box->addButton(QMessageBox::Ok);
    return box;
}

} // namespace corvane
