#pragma once

#include <QString>

namespace corvane {

// A list model that narrows its own rows to those matching a text, for a view that must keep
// the model's own indexes (instead of going through a proxy). It sorts through the model's
// `sort(column, order)`, where a column of -1 restores its own order.
class FindableModel {
public:
    // Rows of every level whose name or path contains `text` (case aside), with the rows
    // around them; an empty text shows every row.
    virtual void setFindText(const QString& text) = 0;
    // The rows on show and all rows, counted through every level.
    virtual int shownRowCount() const = 0;
    virtual int allRowCount() const = 0;

protected:
    ~FindableModel() = default;
};

} // namespace corvane
