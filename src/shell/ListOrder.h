#pragma once

#include <QString>
#include <QVariant>

namespace corvane::ListOrder {

// What a list's rows answer so that every list finds and sorts the same way.
enum Role {
    // The value a cell sorts by (bytes, a date, a count); a cell without one sorts by its text.
    sortKeyRole = Qt::UserRole + 300,
    // The path of a row, which the filter matches as well as its name.
    pathRole,
    // A heading that groups rows: it keeps its place after the rows it sits among, and is not
    // counted as a row on show.
    headingRole,
};

// Whether a row goes before another in ascending order: by their sort keys when both have one,
// a row without a key before one with a key, otherwise by their texts as a person reads them
// ("item 9" before "item 10", case aside).
bool lessThan(const QVariant& keyA, const QString& textA, const QVariant& keyB,
              const QString& textB);

// Whether `needle` (already trimmed) is in the name or the path, case aside; an empty needle
// matches everything.
bool matches(const QString& needle, const QString& name, const QString& path);

// The column and order a list is sorted by; no column keeps the order the list was filled in.
struct Choice {
    int column = -1;
    Qt::SortOrder order = Qt::AscendingOrder;

    bool operator==(const Choice&) const = default;
};

// The choice remembered for the list named `list`, or `fallback` when none was made.
Choice saved(const QString& list, const Choice& fallback);
void save(const QString& list, const Choice& choice);

} // namespace corvane::ListOrder
