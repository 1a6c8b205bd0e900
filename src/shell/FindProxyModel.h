#pragma once

#include "shell/FindableModel.h"

#include <QSortFilterProxyModel>

namespace corvane {

// Finds and sorts the rows of any list model by the shared rules of ListOrder: a row shows when
// its name (the first column) or its path matches, or a row above or below it does; columns
// sort by their sort keys, or by their text.
class FindProxyModel : public QSortFilterProxyModel, public FindableModel {
    Q_OBJECT

public:
    explicit FindProxyModel(QObject* parent = nullptr);

    void setFindText(const QString& text) override;
    int shownRowCount() const override;
    int allRowCount() const override;

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    QString needle_;
};

} // namespace corvane
