#include "shell/SettingsDialog.h"

#include "platform/UpdateCheck.h"
#include "scanning/ScanWording.h"
#include "shell/DestinationsSection.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

namespace corvane {

QWidget* RuleKindDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&,
                                        const QModelIndex& index) const {
    auto* menu = new QComboBox(parent);
    for (const ArtifactKind kind : RulesModel::offeredKinds())
        menu->addItem(ScanWording::kindWords(kind), rawValue(kind));
    const QString stored = index.data(Qt::EditRole).toString();
    if (menu->findData(stored) < 0)
        menu->addItem(ruleKindWords(stored), stored);
    // A choice is saved at once, not when the editor loses focus.
    connect(menu, &QComboBox::activated, this, [this, menu] {
        auto* self = const_cast<RuleKindDelegate*>(this);
        emit self->commitData(menu);
    });
    return menu;
}

void RuleKindDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
    auto* menu = static_cast<QComboBox*>(editor);
    menu->setCurrentIndex(menu->findData(index.data(Qt::EditRole).toString()));
}

void RuleKindDelegate::setModelData(QWidget* editor, QAbstractItemModel* model,
                                    const QModelIndex& index) const {
    model->setData(index, static_cast<QComboBox*>(editor)->currentData(), Qt::EditRole);
}

SettingsDialog::SettingsDialog(RulesStore& rules, DestinationsStore& destinations, QWidget* parent)
    : QDialog(parent)
    , model_(new RulesModel(rules, this))
    , view_(new QTableView(this))
    , add_(new QToolButton(this))
    , remove_(new QToolButton(this)) {
    setObjectName(QStringLiteral("settings"));
    setWindowTitle(QStringLiteral("Settings"));
    auto* heading = new QLabel(QStringLiteral("Custom artifact folders"), this);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    auto* explanation = new QLabel(
        QStringLiteral("Folder names to offer in your projects besides the ones Corvane Clean "
                       "knows. A high-confidence name is offered as safe wherever it appears; "
                       "otherwise only when git ignores the folder. Rules apply from the next "
                       "scan."),
        this);
    explanation->setWordWrap(true);
    explanation->setForegroundRole(QPalette::PlaceholderText);

    view_->setObjectName(QStringLiteral("rulesView"));
    view_->setAccessibleName(QStringLiteral("Custom rules"));
    view_->setModel(model_);
    view_->setItemDelegateForColumn(RulesModel::kindColumn, new RuleKindDelegate(view_));
    view_->setSelectionBehavior(QAbstractItemView::SelectRows);
    view_->setSelectionMode(QAbstractItemView::SingleSelection);
    view_->verticalHeader()->hide();
    view_->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 10);
    view_->setShowGrid(false);
    view_->setAlternatingRowColors(true);
    view_->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                           QAbstractItemView::SelectedClicked);
    view_->horizontalHeader()->setSectionResizeMode(RulesModel::nameColumn, QHeaderView::Stretch);
    view_->horizontalHeader()->setSectionResizeMode(RulesModel::kindColumn,
                                                    QHeaderView::ResizeToContents);
    view_->horizontalHeader()->setSectionResizeMode(RulesModel::highConfidenceColumn,
                                                    QHeaderView::ResizeToContents);
    view_->horizontalHeader()->setMinimumSectionSize(120);

    add_->setText(QStringLiteral("+"));
    add_->setToolTip(QStringLiteral("Add a folder name"));
    remove_->setText(QStringLiteral("−"));
    remove_->setToolTip(QStringLiteral("Remove the selected folder name"));
    connect(add_, &QToolButton::clicked, this, &SettingsDialog::addRule);
    connect(remove_, &QToolButton::clicked, this, &SettingsDialog::removeSelectedRule);
    connect(view_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &SettingsDialog::updateButtons);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    auto* editRow = new QHBoxLayout;
    editRow->setSpacing(0);
    editRow->addWidget(add_);
    editRow->addWidget(remove_);
    editRow->addStretch();
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addWidget(explanation);
    layout->addWidget(view_, 1);
    layout->addLayout(editRow);
    layout->addSpacing(12);
    layout->addWidget(new DestinationsSection(destinations, this), 1);
    auto* updates = new QCheckBox(QStringLiteral("Check for updates once a day"), this);
    updates->setObjectName(QStringLiteral("checksForUpdates"));
    updates->setChecked(UpdateSettings::checksForUpdates());
    connect(updates, &QCheckBox::toggled, this, &UpdateSettings::setChecksForUpdates);
    layout->addWidget(updates);
    layout->addWidget(buttons);
    resize(620, 600);
    updateButtons();
}

void SettingsDialog::addRule() {
    const int row = model_->addRule();
    const QModelIndex name = model_->index(row, RulesModel::nameColumn);
    view_->setCurrentIndex(name);
    view_->edit(name);
}

void SettingsDialog::removeSelectedRule() {
    const QModelIndexList rows = view_->selectionModel()->selectedRows();
    if (!rows.isEmpty())
        model_->removeRule(rows.first().row());
    updateButtons();
}

void SettingsDialog::updateButtons() {
    remove_->setEnabled(view_->selectionModel()->hasSelection());
}

} // namespace corvane
