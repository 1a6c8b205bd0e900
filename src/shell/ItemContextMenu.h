#pragma once

#include "shell/KeepMenu.h"

#include <QObject>
#include <QStringList>
#include <functional>
#include <memory>

class QAbstractItemView;
class QMenu;
class QModelIndex;
class QPoint;
class QWidget;

namespace corvane {

// Whether a Keep mark binds what a list's rows stand for: every removal leaves kept folders alone,
// and a move takes the mark along. Keep is offered then, with the words of `subject`, once the
// window has handed over the session that holds the marks.
struct KeepOffer {
    bool offered = false;
    KeepMenu::Subject subject = KeepMenu::Subject::folder;
};

// The context menu of a list whose rows stand for folders or files: Reveal (in Finder, or in the
// file manager), Copy Path, Open in Terminal and, where the page's removals go through the Trash,
// Keep. A page attaches it to its view in one call, saying which path a row stands for:
//
//     ItemContextMenu::attach(*view, [](const QModelIndex& row) { return row.data(urlRole)... });
//
// Right-clicking a selected row copies the paths of every selected row (Reveal and Terminal act on
// the one clicked, so that a large selection opens no flood of windows); any other row acts on
// itself. Rows without a path (headings) get no menu.
class ItemContextMenu : public QObject {
    Q_OBJECT

public:
    static inline const QString copyPathTitle = QStringLiteral("Copy Path");
    static inline const QString openInTerminalTitle = QStringLiteral("Open in Terminal");

    using PathOf = std::function<QString(const QModelIndex& row)>;

    // Keep is offered on rows whose removal honours it; see KeepOffer.
    using Keep = KeepOffer;
    static constexpr Keep keepFolders{true, KeepMenu::Subject::folder};

    // Owned by `view`; pops the menu up when the view asks for a context menu.
    static ItemContextMenu* attach(QAbstractItemView& view, PathOf pathOf, Keep keep = {});
    // The menu attached to `view`, if any.
    static ItemContextMenu* of(const QAbstractItemView& view);

    // The marks that Keep changes.
    void setKeepSession(ScanSession& session) { keepSession_ = &session; }

    // Adds the path entries for `paths` (the first is the one clicked) to `menu`; failures to
    // start the file manager or a terminal are shown in an alert over `alertParent`.
    static void addPathEntries(QMenu& menu, const QStringList& paths, QWidget* alertParent);

    // The menu for the row at `point` of the view's viewport; none when the row has no path.
    std::unique_ptr<QMenu> menuAt(const QPoint& point) const;

private:
    ItemContextMenu(QAbstractItemView& view, PathOf pathOf, Keep keep);
    QStringList pathsAt(const QModelIndex& clicked) const;

signals:
    // The user changed a Keep mark from this menu.
    void keepChanged();

private:
    QAbstractItemView& view_;
    PathOf pathOf_;
    Keep keep_;
    ScanSession* keepSession_ = nullptr;
};

} // namespace corvane
