#pragma once

#include "shell/FilterBar.h"
#include "shell/ListOrder.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

class QAbstractItemModel;
class QModelIndex;
class QTreeView;
class QTreeWidget;

namespace corvane {

class FindableModel;
class FindProxyModel;

// Gives a list its filter field and column sorting: typing in the page's FilterBar narrows the
// list (a list without a bar only sorts); clicking a column's header sorts by it (again to turn the
// order round), and the choice is remembered per list in the settings. A model that narrows itself
// (FindableModel) is used as it is; any other model gets a FindProxyModel between it and the view.
class ListFinder : public QObject {
    Q_OBJECT

public:
    // For a view over a model; `fallback` is the order before the user chooses one.
    static ListFinder* attach(QTreeView& view, FilterBar* bar, const QString& listName,
                              const ListOrder::Choice& fallback = {});
    // For a list filled row by row; rows it gets later are sorted and filtered as they come.
    static ListFinder* attach(QTreeWidget& tree, FilterBar* bar, const QString& listName,
                              const ListOrder::Choice& fallback = {});

    ListOrder::Choice sortChoice() const { return choice_; }
    // Back to the order the list is filled in (the header shows no column).
    void clearSort();
    bool isFiltering() const;
    int shownRowCount() const { return shown_; }
    int allRowCount() const { return all_; }
    // The view's index of a row of the list's own model.
    QModelIndex toView(const QModelIndex& modelIndex) const;

signals:
    void countsChanged();

private:
    ListFinder(QTreeView& view, FilterBar* bar, const QString& listName,
               const ListOrder::Choice& fallback);
    QString findText() const;
    void follow(QAbstractItemModel& model);
    void sortBy(int column, Qt::SortOrder order);
    void apply();
    void count();

    QTreeView& view_;
    QTreeWidget* tree_ = nullptr;
    FindableModel* findable_ = nullptr;
    FindProxyModel* proxy_ = nullptr;
    QPointer<FilterBar> bar_;
    QString listName_;
    ListOrder::Choice choice_;
    int shown_ = 0;
    int all_ = 0;
    bool applying_ = false;
    // Rows come in bursts (a page refills its list, a scan delivers a batch): one pass after.
    QTimer pending_;
};

} // namespace corvane
