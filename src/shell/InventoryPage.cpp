#include "shell/InventoryPage.h"

#include "shell/FilterBar.h"
#include "shell/FlowLayout.h"
#include "shell/InventoryWidgets.h"
#include "shell/ListFinder.h"
#include "shell/PageLayout.h"

#include <QLabel>
#include <QPushButton>
#include <QStackedLayout>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corvane {

InventoryPage::InventoryPage(InventoryModel& model, const Parts& parts, QWidget* parent)
    : QWidget(parent)
    , tree_(new QTreeWidget(this))
    , state_(new QLabel(this))
    , stateArea_(new QVBoxLayout)
    , inventory_(model)
    , failures_(new QLabel(this))
    , loadProblems_(new QLabel(this))
    , body_(new QStackedLayout)
    , reload_(new QPushButton(QStringLiteral("Reload"), this))
    , filter_(new FilterBar(QStringLiteral("Filter by name or path"), this))
    , nameWidth_(parts.nameWidth) {
    setObjectName(parts.pageName);
    InventoryWidgets::setUpTree(*tree_, parts.listName, parts.listAccessibleName, parts.headers,
                                parts.nameWidth);
    // The page's own order (largest first under each heading) until the user picks a column.
    ListFinder::attach(*tree_, filter_, parts.listName);
    InventoryWidgets::setUpStateLabel(*state_, parts.stateName);
    InventoryWidgets::setUpFailuresLabel(*failures_, parts.failuresName);
    InventoryWidgets::setUpFailuresLabel(*loadProblems_, QStringLiteral("loadProblems"));

    auto* stateBox = new QWidget(this);
    stateBox->setLayout(stateArea_);
    stateArea_->addStretch();
    stateArea_->addWidget(state_);
    stateArea_->addStretch();
    body_->addWidget(tree_);
    body_->addWidget(stateBox);

    connect(reload_, &QPushButton::clicked, &inventory_, &InventoryModel::reload);
    connect(tree_, &QTreeWidget::itemChanged, this, &InventoryPage::takeTick);
    for (const auto signal : {&InventoryModel::isLoadingChanged, &InventoryModel::isRemovingChanged,
                              &InventoryModel::failuresChanged})
        connect(&inventory_, signal, this, [this] { showState(); });
}

QString InventoryPage::stateText() const {
    return body_->currentWidget() == tree_ ? QString() : state_->text();
}

void InventoryPage::layOut(const QString& title, const QString& intro,
                           const QList<QPushButton*>& leading,
                           const QList<QPushButton*>& trailing) {
    auto* body = new QVBoxLayout;
    body->addWidget(filter_);
    body->addLayout(body_, 1);
    body->addWidget(loadProblems_);
    body->addWidget(failures_);
    // The buttons on the left wrap in a narrow window, so that no page holds the window wide.
    auto* leadingGroup = new QWidget(this);
    auto* leadingFlow = new FlowLayout(leadingGroup, 6, 6);
    leadingFlow->addWidget(reload_);
    for (QPushButton* button : leading)
        leadingFlow->addWidget(button);
    auto* footer = new QHBoxLayout;
    footer->addWidget(leadingGroup, 1);
    for (QPushButton* button : trailing)
        footer->addWidget(button);
    layOutPage(*this, title, intro, body, footer);
}

void InventoryPage::refill(const std::function<void()>& fill) {
    filling_ = true;
    tree_->clear();
    fill();
    tree_->expandAll();
    InventoryWidgets::fitNameColumn(*tree_, nameWidth_);
    filling_ = false;
    showState();
}

void InventoryPage::showStateLine(const QString& state, const QString& failuresHeading) {
    state_->setText(state);
    body_->setCurrentIndex(state.isEmpty() ? 0 : 1);
    reload_->setEnabled(!inventory_.isLoading());
    InventoryWidgets::showFailures(*failures_, inventory_.failures(), failuresHeading);
    InventoryWidgets::showMessages(*loadProblems_, inventory_.loadProblems(),
                                   QStringLiteral("Not everything could be read, so this list may "
                                                  "be incomplete:"));
}

void InventoryPage::ask(Change change, const QString& objectName, const QString& title,
                        const QString& question, const QString& informative,
                        const QString& acceptTitle, std::function<void()> accepted) {
    ask(change, {objectName, title, question, informative, acceptTitle, false}, tickedGroups(),
        std::move(accepted));
}

void InventoryPage::ask(Change change, const ConfirmationText& text,
                        const QList<ConfirmationGroup>& groups, std::function<void()> accepted) {
    ConfirmationText words = text;
    words.permanent = change == Change::permanent;
    ConfirmationSheet::ask(window(), words, groups, std::move(accepted));
}

QList<ConfirmationGroup> InventoryPage::tickedGroups() const {
    QList<ConfirmationGroup> groups;
    const auto add = [&groups](const QString& title, const QTreeWidgetItem& row) {
        if (row.checkState(0) != Qt::Checked)
            return;
        if (groups.isEmpty() || groups.last().title != title)
            groups.append({title, {}});
        const auto bytes = [&row](int column, int role) -> std::optional<qint64> {
            const QVariant value = row.data(column, role);
            return value.isValid() ? std::optional(value.toLongLong()) : std::nullopt;
        };
        groups.last().items.append(
            {row.text(0), row.toolTip(0),
             bytes(InventoryWidgets::sizeColumn, InventoryWidgets::bytesRole),
             bytes(0, InventoryWidgets::freesRole)});
    };
    for (int top = 0; top < tree_->topLevelItemCount(); ++top) {
        const QTreeWidgetItem* heading = tree_->topLevelItem(top);
        add(QString(), *heading);
        for (int child = 0; child < heading->childCount(); ++child)
            add(heading->text(0), *heading->child(child));
    }
    return groups;
}

void InventoryPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // A list filled while the page was hidden is fitted to the width it is shown at.
    InventoryWidgets::fitNameColumn(*tree_, nameWidth_);
    if (!inventory_.hasLoaded() && !inventory_.isLoading())
        inventory_.reload();
}

void InventoryPage::takeTick(QTreeWidgetItem* item, int column) {
    if (filling_ || column != 0)
        return;
    const QString id = item->data(0, idRole).toString();
    if (!id.isEmpty())
        inventory_.setSelected(id, item->checkState(0) == Qt::Checked);
}

} // namespace corvane
