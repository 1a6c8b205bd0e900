#include "shell/InventoryPage.h"

#include "shell/FilterBar.h"
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
    , body_(new QStackedLayout)
    , reload_(new QPushButton(QStringLiteral("Reload"), this))
    , filter_(new FilterBar(QStringLiteral("Filter by name or path"), this)) {
    setObjectName(parts.pageName);
    InventoryWidgets::setUpTree(*tree_, parts.listName, parts.listAccessibleName, parts.headers,
                                parts.nameWidth);
    // The page's own order (largest first under each heading) until the user picks a column.
    ListFinder::attach(*tree_, filter_, parts.listName);
    InventoryWidgets::setUpStateLabel(*state_, parts.stateName);
    InventoryWidgets::setUpFailuresLabel(*failures_, parts.failuresName);

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
    body->addWidget(failures_);
    auto* footer = new QHBoxLayout;
    footer->addWidget(reload_);
    for (QPushButton* button : leading)
        footer->addWidget(button);
    footer->addStretch();
    for (QPushButton* button : trailing)
        footer->addWidget(button);
    layOutPage(*this, title, intro, body, footer);
}

void InventoryPage::refill(const std::function<void()>& fill) {
    filling_ = true;
    tree_->clear();
    fill();
    tree_->expandAll();
    filling_ = false;
    showState();
}

void InventoryPage::showStateLine(const QString& state, const QString& failuresHeading) {
    state_->setText(state);
    body_->setCurrentIndex(state.isEmpty() ? 0 : 1);
    reload_->setEnabled(!inventory_.isLoading());
    InventoryWidgets::showFailures(*failures_, inventory_.failures(), failuresHeading);
}

void InventoryPage::ask(Change change, const QString& objectName, const QString& title,
                        const QString& question, const QString& informative,
                        const QString& acceptTitle, std::function<void()> accepted) {
    const bool permanent = change == Change::permanent;
    auto* box = new QMessageBox(permanent ? QMessageBox::Warning : QMessageBox::Question, title,
                                question, QMessageBox::Cancel, window());
    box->setObjectName(objectName);
    box->setInformativeText(informative);
    QPushButton* accept = box->addButton(acceptTitle, permanent ? QMessageBox::DestructiveRole
                                                                : QMessageBox::AcceptRole);
    box->setDefaultButton(permanent ? qobject_cast<QPushButton*>(box->button(QMessageBox::Cancel))
                                    : accept);
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::buttonClicked, this,
            [accept, accepted = std::move(accepted)](QAbstractButton* button) {
                if (button == accept)
                    accepted();
            });
    box->open();
}

void InventoryPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
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
