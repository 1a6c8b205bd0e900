#include "shell/TrashConfirmation.h"

#include "platform/ByteFormat.h"
#include "platform/Paths.h"

#include <QMessageBox>
#include <QPushButton>

namespace corvane {

TrashQuestion TrashQuestion::about(const TrashPlan& plan) {
    const QList<QString> urls = plan.urls();
    const QString bytes = formatBytes(plan.totalBytes());
    TrashQuestion question;
    if (urls.size() == 1) {
        question.text =
            QStringLiteral("Move “%1” to the Trash?").arg(Paths::lastComponent(urls[0]));
        // What the move frees, not what the folder occupies: files it shares through hard
        // links stay where their other links are.
        question.informativeText =
            QStringLiteral("It frees %1 once the Trash is emptied. Nothing is deleted: you can put "
                           "it back from the Trash until you empty it.")
                .arg(bytes);
        return question;
    }
    question.text = QStringLiteral("Move %1 items to the Trash?").arg(urls.size());
    question.informativeText =
        QStringLiteral(
            "Together they free %1 once the Trash is emptied. Nothing is deleted: you can put them "
            "back from the Trash until you empty it.")
            .arg(bytes);
    return question;
}

QMessageBox* makeTrashConfirmation(QWidget* window, const TrashQuestion& question) {
    auto* box = new QMessageBox(window);
    box->setObjectName(QStringLiteral("trashConfirmation"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIcon(QMessageBox::Question);
    box->setWindowTitle(QStringLiteral("Move to Trash"));
    box->setText(question.text);
    box->setInformativeText(question.informativeText);
    QPushButton* move = box->addButton(moveToTrashTitle, QMessageBox::AcceptRole);
    box->addButton(QMessageBox::Cancel);
    box->setDefaultButton(move);
    box->setEscapeButton(QMessageBox::Cancel);
    // Window-modal: a sheet on macOS, and the window stays responsive under it.
    box->setWindowModality(Qt::WindowModal);
    return box;
}

} // namespace corvane
