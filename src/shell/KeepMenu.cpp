#include "shell/KeepMenu.h"

#include "platform/PathIdentity.h"

#include <QMenu>
#include <QMessageBox>
#include <algorithm>

namespace corvane::KeepMenu {
namespace {

QString noun(Subject subject) {
    return subject == Subject::project ? QStringLiteral("Project") : QStringLiteral("Folder");
}

void showError(const QString& message, QWidget* parent) {
    auto* alert = new QMessageBox(parent);
    alert->setObjectName(QStringLiteral("keepAlert"));
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setIcon(QMessageBox::Warning);
    alert->setWindowTitle(QStringLiteral("The Keep mark could not be changed"));
    alert->setText(QStringLiteral("The Keep mark could not be changed"));
    alert->setInformativeText(message);
    alert->setStandardButtons(QMessageBox::Ok);
    alert->setWindowModality(Qt::WindowModal);
    alert->open();
}

} // namespace

QString keepText(Subject subject) {
    return QStringLiteral("Keep ") + noun(subject);
}

QString dontKeepText(Subject subject) {
    return QStringLiteral("Don't Keep ") + noun(subject);
}

void addEntry(QMenu& menu, ScanSession& session, const QString& path, Subject subject,
              QWidget* alertParent) {
    // The mark may have been made under another spelling of the folder (through a link, say).
    const QStringList& marks = session.keptPaths();
    const bool ownMark = std::any_of(marks.cbegin(), marks.cend(), [&path](const QString& mark) {
        return mark == path || PathIdentity::same(mark, path);
    });
    if (!ownMark && KeepStore::isInsideKept(session.keptPaths(), path)) {
        menu.addAction(keptAroundText)->setEnabled(false);
        return;
    }
    QAction* action = menu.addAction(ownMark ? dontKeepText(subject) : keepText(subject));
    action->setObjectName(QStringLiteral("keepAction"));
    // The session outlives every menu; the parent widget may not outlive the action.
    QObject::connect(
        action, &QAction::triggered, alertParent, [&session, path, ownMark, alertParent] {
            if (const QString error = session.setKept(path, !ownMark); !error.isEmpty())
                showError(error, alertParent);
        });
}

} // namespace corvane::KeepMenu
