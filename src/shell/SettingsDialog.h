#pragma once

#include "archive/DestinationsStore.h"
#include "scanning/RulesStore.h"
#include "shell/RulesModel.h"

#include <QDialog>
#include <QStyledItemDelegate>

class QTableView;
class QToolButton;

namespace corvane {

// Edits a rule's kind with a menu of the kinds a rule may give; a stored kind this version does
// not know stays in the menu so that opening it changes nothing.
class RuleKindDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override;
};

// The settings window: the custom artifact folders, each saved as soon as it is edited and used
// by the next scan, and the servers saved as archive destinations.
class SettingsDialog : public QDialog {
    Q_OBJECT

public:
    SettingsDialog(RulesStore& rules, DestinationsStore& destinations, QWidget* parent = nullptr);

    RulesModel& rulesModel() { return *model_; }
    QTableView* rulesView() const { return view_; }
    QToolButton* addButton() const { return add_; }
    QToolButton* removeButton() const { return remove_; }

private:
    void addRule();
    void removeSelectedRule();
    void updateButtons();

    RulesModel* model_;
    QTableView* view_;
    QToolButton* add_;
    QToolButton* remove_;
};

} // namespace corvane
