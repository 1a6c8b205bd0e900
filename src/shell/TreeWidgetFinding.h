#pragma once

#include "shell/ListOrder.h"

class QTreeWidget;

// Finding and sorting for the lists the pages fill row by row (QTreeWidget), by the same rules
// as the model lists: QTreeWidget's own sorting compares display texts only, so sizes would sort
// as words ("9 KB" after "10 GB").
namespace corvane::TreeWidgetFinding {

struct Counts {
    int shown = 0;
    int all = 0;
};

// Hides the rows that neither match `needle` nor sit above or below a row that does (an empty
// needle shows every row). A row matches by its first column's text, its path (`pathRole`) or,
// for rows without one, its first column's tooltip. Rows are counted as a person would: a
// heading is not a row, and rows under a counted row are part of it.
Counts showMatching(QTreeWidget& tree, const QString& needle);

// Orders the rows of every level by `choice`, headings after the rows they sit among in their
// own order; keeps what is expanded, selected and current. No column leaves the order as is.
void sort(QTreeWidget& tree, const ListOrder::Choice& choice);

} // namespace corvane::TreeWidgetFinding
