#include "shell/ArchiveFlow.h"

#include "archive/ExternalVolumes.h"
#include "archive/SmbMount.h"
#include "platform/ByteFormat.h"

#include <QAbstractButton>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QWidget>

namespace corvane {

ArchiveFlow::ArchiveFlow(QWidget& host, ArchivesModel& archives, DestinationsStore& destinations,
                         std::function<std::optional<Project>()> projectOnShow)
    : QObject(&host)
    , host_(host)
    , archives_(archives)
    , destinations_(destinations)
    , projectOnShow_(std::move(projectOnShow))
    , menu_(new QMenu(QStringLiteral("Archive…"), &host)) {
    menu_->setObjectName(QStringLiteral("archiveMenu"));
    connect(menu_, &QMenu::aboutToShow, this, &ArchiveFlow::fillMenu);
    connect(&archives_, &ArchivesModel::progressChanged, this, &ArchiveFlow::followProgress);
    connect(&archives_, &ArchivesModel::actionFinished, this, &ArchiveFlow::showFailure);
}

QWidget* ArchiveFlow::window() const {
    return host_.window();
}

void ArchiveFlow::fillMenu() {
    menu_->clear();
    for (const ExternalVolumes::Volume& volume : ExternalVolumes::mounted()) {
        menu_->addAction(ExternalVolumes::menuTitle(volume), this,
                         [this, volume] { confirmArchive(ArchiveTarget::volume(volume.path)); });
    }
    for (const SavedDestination& destination : destinations_.destinations()) {
        QString title = destination.name;
        if (destination.kind == SavedDestination::Kind::ssh) {
            title += QStringLiteral(" (SSH)");
        } else {
            const std::optional<QString> mountPoint =
                SmbMount::expectedMountPoint(destination.smbURL);
            title += mountPoint && QFileInfo(*mountPoint).isDir() ? QStringLiteral(" (network)")
                                                                  : QStringLiteral(" (connect)");
        }
        menu_->addAction(title, this, [this, destination] {
            confirmArchive(ArchiveTarget::saved(destination));
        });
    }
    if (!menu_->isEmpty())
        menu_->addSeparator();
    menu_->addAction(QStringLiteral("Choose Folder…"), this, [this] {
        const QString folder = QFileDialog::getExistingDirectory(
            window(), QStringLiteral("Choose the folder to archive into"));
        if (!folder.isEmpty())
            confirmArchive(ArchiveTarget::folder(folder));
    });
}

void ArchiveFlow::confirmArchive(const ArchiveTarget& target) {
    const std::optional<Project> project = projectOnShow_();
    if (!project || archives_.isBusy())
        return;
    QString where;
    switch (target.kind) {
    case ArchiveTarget::Kind::folder:
        where = target.path;
        break;
    case ArchiveTarget::Kind::volume:
        where = ExternalVolumes::archiveFolder(target.path);
        break;
    case ArchiveTarget::Kind::ssh:
        where = target.destination.user + u'@' + target.destination.host + u':' +
                target.destination.remotePath;
        break;
    case ArchiveTarget::Kind::smb:
        where = target.destination.smbURL;
        break;
    }
    auto* box = new QMessageBox(QMessageBox::Question, QStringLiteral("Archive"),
                                QStringLiteral("Archive %1 to %2?").arg(project->name, where),
                                QMessageBox::Cancel, window());
    box->setObjectName(QStringLiteral("archiveConfirmation"));
    box->setInformativeText(QStringLiteral("The project is copied and every file of the copy is "
                                           "compared with the original. Only when they match "
                                           "does the original go to the Trash."));
    QPushButton* accept = box->addButton(QStringLiteral("Archive"), QMessageBox::AcceptRole);
    // Return never moves anything by accident.
    box->setDefaultButton(QMessageBox::Cancel);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    connect(box, &QMessageBox::buttonClicked, this,
            [this, accept, path = project->url, target](QAbstractButton* button) {
                if (button != accept)
                    return;
                lastArchive_ = std::pair(path, target);
                archives_.archive(path, target);
            });
    box->open();
}

void ArchiveFlow::followProgress() {
    const std::optional<ArchiveProgress>& archiving = archives_.archiveProgress();
    const std::optional<ArchiveProgress>& progress =
        archiving ? archiving : archives_.restoreProgress();
    if (!progress) {
        if (progressSheet_)
            progressSheet_->close();
        return;
    }
    if (!progressSheet_) {
        progressSheet_ = new QProgressDialog(window());
        progressSheet_->setObjectName(QStringLiteral("archiveProgress"));
        progressSheet_->setAttribute(Qt::WA_DeleteOnClose);
        progressSheet_->setWindowModality(Qt::WindowModal);
        progressSheet_->setAutoClose(false);
        progressSheet_->setAutoReset(false);
        progressSheet_->setMinimumDuration(0);
        progressSheet_->setMinimumWidth(460);
        connect(progressSheet_, &QProgressDialog::canceled, &archives_, &ArchivesModel::cancel);
        progressSheet_->open();
    }
    const QString verb = archiving ? QStringLiteral("Archiving") : QStringLiteral("Restoring");
    QString text;
    if (progress->isVerifying)
        text = QStringLiteral("Verifying the copy of %1…").arg(progress->projectName);
    else if (progress->totalBytes > 0)
        text = QStringLiteral("%1 %2: %3 of %4\n%5")
                   .arg(verb, progress->projectName, formatBytes(progress->copiedBytes),
                        formatBytes(progress->totalBytes), progress->currentPath);
    else
        text = QStringLiteral("%1 %2…\n%3").arg(verb, progress->projectName, progress->currentPath);
    progressSheet_->setLabelText(text);
    // Bytes scaled to a thousand steps, so that large projects fit the dialog's int range.
    progressSheet_->setRange(0, progress->isVerifying || progress->totalBytes <= 0 ? 0 : 1000);
    if (progress->totalBytes > 0 && !progress->isVerifying)
        progressSheet_->setValue(
            static_cast<int>(progress->copiedBytes * 1000 / progress->totalBytes));
}

void ArchiveFlow::showFailure() {
    if (progressSheet_)
        progressSheet_->close();
    // A failed archive says why; a finished one may still not have reached the catalog. A
    // restore says it on the Archived Projects page.
    if (!archives_.lastActionWasArchive())
        return;
    const std::optional<QString> message = archives_.archiveErrorMessage()
                                               ? archives_.archiveErrorMessage()
                                               : archives_.errorMessage();
    if (!message)
        return;
    auto* alert = new QMessageBox(QMessageBox::Warning, QStringLiteral("Archive"), *message,
                                  QMessageBox::Ok, window());
    alert->setObjectName(QStringLiteral("archiveFailure"));
    alert->setAttribute(Qt::WA_DeleteOnClose);
    // A partial copy of an interrupted run blocks the way: offered to be removed, never silently.
    if (archives_.interruptedCopy() && lastArchive_) {
        QPushButton* retry = alert->addButton(QStringLiteral("Remove Partial Copy and Archive"),
                                              QMessageBox::DestructiveRole);
        retry->setObjectName(QStringLiteral("removePartialCopy"));
        alert->setDefaultButton(QMessageBox::Ok);
        connect(retry, &QPushButton::clicked, this, [this, last = *lastArchive_] {
            ArchiveOptions options;
            options.removeInterruptedCopy = true;
            archives_.archive(last.first, last.second, options);
        });
    }
    alert->setWindowModality(Qt::WindowModal);
    alert->open();
}

} // namespace corvane
