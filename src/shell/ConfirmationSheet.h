#pragma once

#include <QDialog>
#include <QList>
#include <QString>
#include <functional>
#include <optional>

class QLabel;
class QPushButton;
class QTreeWidget;

namespace corvane {

// One thing a confirmation will take: what the user knows it by, where it is, what it occupies
// and what taking it gives back (the two differ by files shared through hard links). A figure
// that is not known is left out.
struct ConfirmationItem {
    QString name;
    QString path;
    std::optional<qint64> sizeBytes;
    std::optional<qint64> freesBytes;

    // What it gives back: its frees, else its size, else nothing.
    qint64 givesBackBytes() const { return freesBytes.value_or(sizeBytes.value_or(0)); }
    bool operator==(const ConfirmationItem&) const = default;
};

// The items of one project or area, listed under its title.
struct ConfirmationGroup {
    QString title;
    QList<ConfirmationItem> items;

    bool operator==(const ConfirmationGroup&) const = default;
};

// The words of a confirmation.
struct ConfirmationText {
    // The object name tests and accessibility find it by ("trashConfirmation").
    QString objectName;
    QString windowTitle;
    // "Move 3 items to the Trash?"
    QString question;
    // What it means: where the items go, whether they come back.
    QString explanation;
    // The button that carries it out ("Move to Trash", "Delete").
    QString acceptTitle;
    // Nothing comes back: a warning look and a destructive button.
    bool permanent = false;
};

// The question asked before anything is moved or deleted, as a sheet (window-modal) of its
// window: the question, a scrollable list of exactly what it will take grouped by project or
// area, each with its size and what it frees, and the total. Cancel is the default button, so
// Return never takes anything by accident. It deletes itself when closed.
class ConfirmationSheet : public QDialog {
    Q_OBJECT

public:
    ConfirmationSheet(QWidget* window, const ConfirmationText& text,
                      const QList<ConfirmationGroup>& groups);

    // Makes a sheet and opens it; `accepted` runs when the user chooses the accept button.
    static ConfirmationSheet* ask(QWidget* window, const ConfirmationText& text,
                                  const QList<ConfirmationGroup>& groups,
                                  std::function<void()> accepted);

    QString text() const;
    QString informativeText() const;
    // "12 items · 3.4 GB on disk · frees 1.2 GB"
    QString totalText() const;
    QTreeWidget* list() const { return list_; }
    QPushButton* acceptButton() const { return accept_; }
    QPushButton* cancelButton() const { return cancel_; }

private:
    void fillList(const QList<ConfirmationGroup>& groups);

    QLabel* question_;
    QLabel* explanation_;
    QTreeWidget* list_;
    QLabel* total_;
    QPushButton* cancel_;
    QPushButton* accept_;
};

} // namespace corvane
