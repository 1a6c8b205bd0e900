#include "shell/AIModelsView.h"

#include "platform/ByteFormat.h"
#include "shell/InventoryWidgets.h"
#include "shell/PageLayout.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QStackedLayout>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corvane {
namespace {

enum Column { nameColumn, sizeColumn, detailColumn };
constexpr int idRole = Qt::UserRole;

} // namespace

AIModelsView::AIModelsView(AIModelsModel& model, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , tree_(new QTreeWidget(this))
    , state_(new QLabel(this))
    , failures_(new QLabel(this))
    , body_(new QStackedLayout)
    , reload_(new QPushButton(QStringLiteral("Reload"), this))
    , startOllama_(new QPushButton(QStringLiteral("Start Ollama"), this))
    , remove_(new QPushButton(QStringLiteral("Remove…"), this)) {
    setObjectName(QStringLiteral("aiModelsView"));
    InventoryWidgets::setUpTree(
        *tree_, QStringLiteral("aiModelsTree"), QStringLiteral("Local AI models"),
        {QStringLiteral("Model"), QStringLiteral("Frees"), QStringLiteral("Details")}, 360);
    InventoryWidgets::setUpStateLabel(*state_, QStringLiteral("aiModelsState"));
    InventoryWidgets::setUpFailuresLabel(*failures_, QStringLiteral("aiModelsFailures"));
    remove_->setObjectName(QStringLiteral("aiModelsRemove"));

    body_->addWidget(tree_);
    body_->addWidget(state_);
    auto* body = new QVBoxLayout;
    body->addLayout(body_, 1);
    body->addWidget(failures_);
    auto* footer = new QHBoxLayout;
    footer->addWidget(reload_);
    footer->addWidget(startOllama_);
    footer->addStretch();
    footer->addWidget(remove_);
    layOutPage(*this, QStringLiteral("AI models"), AIModelsModel::explanationText, body, footer);

    connect(reload_, &QPushButton::clicked, &model_, &AIModelsModel::reload);
    connect(startOllama_, &QPushButton::clicked, &model_, &AIModelsModel::startOllama);
    connect(remove_, &QPushButton::clicked, this, &AIModelsView::confirmRemove);
    connect(tree_, &QTreeWidget::itemChanged, this, &AIModelsView::itemChanged);
    connect(&model_, &AIModelsModel::modelsChanged, this, &AIModelsView::showModels);
    connect(&model_, &AIModelsModel::ollamaChanged, this, &AIModelsView::showState);
    connect(&model_, &InventoryModel::selectedIDsChanged, this, &AIModelsView::showModels);
    for (const auto signal : {&InventoryModel::isLoadingChanged, &InventoryModel::isRemovingChanged,
                              &InventoryModel::failuresChanged})
        connect(&model_, signal, this, &AIModelsView::showState);
    showModels();
}

void AIModelsView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!model_.hasLoaded() && !model_.isLoading())
        model_.reload();
}

QString AIModelsView::stateText() const {
    return body_->currentWidget() == tree_ ? QString() : state_->text();
}

void AIModelsView::showModels() {
    filling_ = true;
    tree_->clear();
    for (const AIModelSource source :
         {AIModelSource::lmStudio, AIModelSource::ollama, AIModelSource::huggingFace}) {
        QTreeWidgetItem* heading = nullptr;
        for (const AIModel& item : model_.models()) {
            if (item.source != source)
                continue;
            if (!heading)
                heading = InventoryWidgets::addHeading(tree_, displayName(source),
                                                       AIModelsModel::note(source));
            auto* row = new QTreeWidgetItem(heading);
            QString name = item.name;
            if (item.publisher)
                name = *item.publisher + u'/' + name;
            if (item.format)
                name += QStringLiteral("  (") + *item.format + u')';
            row->setText(nameColumn, name);
            row->setToolTip(nameColumn, item.url);
            row->setData(nameColumn, idRole, item.id);
            row->setText(sizeColumn, formatBytes(item.freesBytes));
            row->setTextAlignment(sizeColumn, Qt::AlignRight | Qt::AlignVCenter);
            QString detail;
            const std::optional<QString> holder = model_.openBy(item.id);
            if (holder)
                detail = *holder + AIModelsModel::hasItOpenSuffix;
            else if (item.isIncomplete)
                detail = AIModelsModel::incompleteLabel + QStringLiteral(": ") +
                         AIModelsModel::incompleteNote;
            else if (const std::optional<QString> shared = AIModelsModel::sharedText(item))
                detail = *shared;
            row->setText(detailColumn, detail);
            row->setToolTip(detailColumn, detail);
            InventoryWidgets::setTickable(*row, nameColumn, model_.selectedIDs().contains(item.id),
                                          !holder && !item.isReadOnly);
        }
    }
    tree_->expandAll();
    filling_ = false;
    showState();
}

void AIModelsView::itemChanged(QTreeWidgetItem* item, int column) {
    if (filling_ || column != nameColumn)
        return;
    const QString id = item->data(nameColumn, idRole).toString();
    if (!id.isEmpty())
        model_.setSelected(id, item->checkState(nameColumn) == Qt::Checked);
}

void AIModelsView::showState() {
    QString state;
    if (!model_.hasLoaded())
        state = QStringLiteral("Looking for downloaded models…");
    else if (model_.models().isEmpty())
        state = AIModelsModel::emptyText;
    state_->setText(state);
    body_->setCurrentIndex(state.isEmpty() ? 0 : 1);
    const bool idle = !model_.isRemoving() && !model_.isLoading();
    remove_->setEnabled(idle && !model_.selectedIDs().isEmpty());
    reload_->setEnabled(!model_.isLoading());
    startOllama_->setVisible(model_.isOllamaInstalled() && !model_.isOllamaRunning());
    startOllama_->setEnabled(!model_.isStartingOllama());
    InventoryWidgets::showFailures(*failures_, model_.failures(), AIModelsModel::failuresHeading);
}

void AIModelsView::confirmRemove() {
    if (model_.selectedIDs().isEmpty())
        return;
    const qsizetype count = model_.selectedIDs().size();
    const QString title = QStringLiteral("Remove %1 model%2 (%3)?")
                              .arg(count)
                              .arg(count == 1 ? QString() : QStringLiteral("s"))
                              .arg(formatBytes(model_.selectedBytes()));
    auto* box = new QMessageBox(QMessageBox::Question, title, title, QMessageBox::Cancel, window());
    box->setObjectName(QStringLiteral("aiModelsRemoveConfirmation"));
    box->setInformativeText(QStringLiteral("LM Studio and Hugging Face models go to the Trash; "
                                           "Ollama removes its own models for good. ") +
                            AIModelsModel::openModelsNote);
    QPushButton* accept = box->addButton(QStringLiteral("Remove"), QMessageBox::AcceptRole);
    box->setDefaultButton(accept);
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::buttonClicked, this, [this, accept](QAbstractButton* button) {
        if (button == accept)
            model_.removeSelected();
    });
    box->open();
}

} // namespace corvane
