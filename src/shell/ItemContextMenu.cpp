#include "shell/ItemContextMenu.h"

#include "platform/PlatformWords.h"
#include "platform/Workspace.h"

#include <QAbstractItemView>
#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QMessageBox>

namespace corvane {
namespace {

const QString menuName = QStringLiteral("itemContextMenu");

void showFailure(const QString& message, QWidget* parent) {
    if (message.isEmpty())
        return;
    auto* alert = new QMessageBox(QMessageBox::Warning, QStringLiteral("Could not open"), message,
                                  QMessageBox::Ok, parent);
    alert->setObjectName(QStringLiteral("workspaceAlert"));
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setWindowModality(Qt::WindowModal);
    alert->open();
}

QAction* addEntry(QMenu& menu, const QString& text, const char* objectName) {
    QAction* action = menu.addAction(text);
    action->setObjectName(QString::fromLatin1(objectName));
    return action;
}

} // namespace

ItemContextMenu::ItemContextMenu(QAbstractItemView& view, PathOf pathOf, Keep keep)
    : QObject(&view)
    , view_(view)
    , pathOf_(std::move(pathOf))
    , keep_(keep) {
    setObjectName(menuName);
    view.setContextMenuPolicy(Qt::CustomContextMenu);
    connect(&view, &QWidget::customContextMenuRequested, this, [this](const QPoint& point) {
        if (const std::unique_ptr<QMenu> menu = menuAt(point))
            menu->exec(view_.viewport()->mapToGlobal(point));
    });
}

ItemContextMenu* ItemContextMenu::attach(QAbstractItemView& view, PathOf pathOf, Keep keep) {
    return new ItemContextMenu(view, std::move(pathOf), keep);
}

ItemContextMenu* ItemContextMenu::of(const QAbstractItemView& view) {
    return view.findChild<ItemContextMenu*>(menuName, Qt::FindDirectChildrenOnly);
}

void ItemContextMenu::addPathEntries(QMenu& menu, const QStringList& paths, QWidget* alertParent) {
    if (paths.isEmpty())
        return;
    QObject::connect(addEntry(menu, PlatformWords::here().revealInFileManager, "revealAction"),
                     &QAction::triggered, alertParent, [path = paths.first(), alertParent] {
                         showFailure(Workspace::reveal({path}), alertParent);
                     });
    QObject::connect(addEntry(menu, copyPathTitle, "copyPathAction"), &QAction::triggered,
                     alertParent,
                     [paths] { QGuiApplication::clipboard()->setText(paths.join(u'\n')); });
    QObject::connect(addEntry(menu, openInTerminalTitle, "openInTerminalAction"),
                     &QAction::triggered, alertParent, [path = paths.first(), alertParent] {
                         showFailure(Workspace::openTerminal(path), alertParent);
                     });
}

std::unique_ptr<QMenu> ItemContextMenu::menuAt(const QPoint& point) const {
    const QStringList paths = pathsAt(view_.indexAt(point));
    if (paths.isEmpty())
        return nullptr;
    auto menu = std::make_unique<QMenu>(&view_);
    addPathEntries(*menu, paths, &view_);
    if (keep_.offered && keepSession_ && paths.size() == 1) {
        menu->addSeparator();
        KeepMenu::addEntry(*menu, *keepSession_, paths.first(), keep_.subject, &view_);
        if (auto* keep = menu->findChild<QAction*>(QStringLiteral("keepAction")))
            connect(keep, &QAction::triggered, this, &ItemContextMenu::keepChanged);
    }
    return menu;
}

QStringList ItemContextMenu::pathsAt(const QModelIndex& clicked) const {
    const QString clickedPath = clicked.isValid() ? pathOf_(clicked) : QString();
    if (clickedPath.isEmpty())
        return {};
    QStringList paths{clickedPath};
    const QItemSelectionModel* selection = view_.selectionModel();
    if (!selection || !selection->isRowSelected(clicked.row(), clicked.parent()))
        return paths;
    for (const QModelIndex& row : selection->selectedRows()) {
        const QString path = pathOf_(row);
        if (!path.isEmpty() && !paths.contains(path))
            paths.append(path);
    }
    return paths;
}

} // namespace corvane
