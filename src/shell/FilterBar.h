#pragma once

#include <QWidget>

class QLineEdit;

namespace corvane {

class StatusLine;

// The filter field of a list page: typing narrows the page's lists as each key is pressed,
// Ctrl+F (Cmd+F on a Mac) puts the cursor in it while the page is on show, Escape clears it, and
// a line beside it says how many rows show while it narrows them.
class FilterBar : public QWidget {
    Q_OBJECT

public:
    explicit FilterBar(const QString& placeholder, QWidget* parent = nullptr);

    QLineEdit* field() const { return field_; }
    QString text() const;
    // "12 of 397 shown" while a filter is on, nothing otherwise.
    void showCount(int shown, int all);
    QString countText() const;

signals:
    void textChanged(const QString& text);

private:
    QLineEdit* field_;
    // Not a label: a new count repaints the line without laying out the page around the list.
    StatusLine* count_;
};

} // namespace corvane
