#include "shell/ListFinder.h"

#include "shell/FilterBar.h"
#include "shell/FindProxyModel.h"
#include "shell/TreeWidgetFinding.h"

#include <QHeaderView>
#include <QTreeWidget>

namespace corvane {

ListFinder::ListFinder(QTreeView& view, FilterBar* bar, const QString& listName,
                       const ListOrder::Choice& fallback)
    : QObject(&view)
    , view_(view)
    , bar_(bar)
    , listName_(listName)
    , choice_(ListOrder::saved(listName, fallback)) {
    pending_.setSingleShot(true);
    pending_.setInterval(0);
    // A filled list's new rows are sorted and filtered here; a model does that itself.
    connect(&pending_, &QTimer::timeout, this, [this] { tree_ ? apply() : count(); });
    QHeaderView* header = view_.header();
    header->setSectionsClickable(true);
    header->setSortIndicatorShown(true);
    header->setSortIndicator(choice_.column, choice_.order);
    connect(header, &QHeaderView::sortIndicatorChanged, this, &ListFinder::sortBy);
    if (bar_)
        connect(bar_, &FilterBar::textChanged, this, &ListFinder::apply);
}

ListFinder* ListFinder::attach(QTreeView& view, FilterBar* bar, const QString& listName,
                               const ListOrder::Choice& fallback) {
    auto* finder = new ListFinder(view, bar, listName, fallback);
    finder->findable_ = dynamic_cast<FindableModel*>(view.model());
    if (!finder->findable_) {
        finder->proxy_ = new FindProxyModel(&view);
        finder->proxy_->setSourceModel(view.model());
        view.setModel(finder->proxy_);
        finder->findable_ = finder->proxy_;
    }
    finder->follow(*view.model());
    finder->apply();
    return finder;
}

ListFinder* ListFinder::attach(QTreeWidget& tree, FilterBar* bar, const QString& listName,
                               const ListOrder::Choice& fallback) {
    auto* finder = new ListFinder(tree, bar, listName, fallback);
    finder->tree_ = &tree;
    finder->follow(*tree.model());
    finder->apply();
    return finder;
}

void ListFinder::follow(QAbstractItemModel& model) {
    const auto later = [this] {
        if (!applying_)
            pending_.start();
    };
    connect(&model, &QAbstractItemModel::rowsInserted, this, later);
    connect(&model, &QAbstractItemModel::rowsRemoved, this, later);
    connect(&model, &QAbstractItemModel::modelReset, this, later);
}

void ListFinder::sortBy(int column, Qt::SortOrder order) {
    choice_ = {column, order};
    ListOrder::save(listName_, choice_);
    apply();
}

void ListFinder::clearSort() {
    view_.header()->setSortIndicator(-1, Qt::AscendingOrder);
}

QString ListFinder::findText() const {
    return bar_ ? bar_->text() : QString();
}

bool ListFinder::isFiltering() const {
    return !findText().trimmed().isEmpty();
}

QModelIndex ListFinder::toView(const QModelIndex& modelIndex) const {
    return proxy_ ? proxy_->mapFromSource(modelIndex) : modelIndex;
}

void ListFinder::apply() {
    pending_.stop();
    applying_ = true;
    if (tree_) {
        // Sorting takes rows out and puts them back, which shows them again: filter after.
        TreeWidgetFinding::sort(*tree_, choice_);
        const TreeWidgetFinding::Counts counts =
            TreeWidgetFinding::showMatching(*tree_, findText());
        shown_ = counts.shown;
        all_ = counts.all;
    } else {
        findable_->setFindText(findText());
        view_.model()->sort(choice_.column, choice_.order);
        shown_ = findable_->shownRowCount();
        all_ = findable_->allRowCount();
    }
    applying_ = false;
    if (bar_)
        bar_->showCount(shown_, all_);
    emit countsChanged();
}

void ListFinder::count() {
    pending_.stop();
    shown_ = findable_->shownRowCount();
    all_ = findable_->allRowCount();
    if (bar_)
        bar_->showCount(shown_, all_);
    emit countsChanged();
}

} // namespace corvane
