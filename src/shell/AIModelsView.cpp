#include "shell/AIModelsView.h"

#include "platform/ByteFormat.h"
#include "shell/InventoryWidgets.h"
#include "shell/ItemContextMenu.h"

#include <QPushButton>
#include <QTreeWidget>

namespace corvane {
namespace {

enum Column { nameColumn, sizeColumn, detailColumn };

} // namespace

AIModelsView::AIModelsView(AIModelsModel& model, QWidget* parent)
    : InventoryPage(model,
                    {QStringLiteral("aiModelsView"),
                     QStringLiteral("aiModelsTree"),
                     QStringLiteral("Local AI models"),
                     QStringLiteral("aiModelsState"),
                     QStringLiteral("aiModelsFailures"),
                     {QStringLiteral("Model"), QStringLiteral("Size"), QStringLiteral("Details")},
                     360},
                    parent)
    , model_(model)
    , startOllama_(new QPushButton(QStringLiteral("Start Ollama"), this))
    , remove_(new QPushButton(QStringLiteral("Remove…"), this)) {
    ItemContextMenu::attach(
        *tree_,
        [this](const QModelIndex& row) {
            const QString id = row.siblingAtColumn(nameColumn).data(idRole).toString();
            for (const AIModel& item : model_.models()) {
                if (item.id == id)
                    return item.url;
            }
            return QString();
        },
        ItemContextMenu::keepFolders);
    remove_->setObjectName(QStringLiteral("aiModelsRemove"));
    layOut(QStringLiteral("AI models"), AIModelsModel::explanationText, {startOllama_}, {remove_});

    connect(startOllama_, &QPushButton::clicked, &model_, &AIModelsModel::startOllama);
    connect(remove_, &QPushButton::clicked, this, &AIModelsView::confirmRemove);
    connect(&model_, &AIModelsModel::modelsChanged, this, &AIModelsView::showModels);
    connect(&model_, &AIModelsModel::ollamaChanged, this, &AIModelsView::showState);
    connect(&model_, &InventoryModel::selectedIDsChanged, this, &AIModelsView::showModels);
    connect(&model_, &InventoryModel::keptChanged, this, &AIModelsView::showModels);
    showModels();
}

void AIModelsView::showModels() {
    refill([this] { fillModels(); });
}

void AIModelsView::fillModels() {
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
            // What it takes, and beside it what removing it alone gives back.
            InventoryWidgets::setSize(*row, sizeColumn, item.sizeBytes);
            row->setData(nameColumn, InventoryWidgets::freesRole, item.freesBytes);
            QStringList details{QStringLiteral("frees ") + formatBytes(item.freesBytes)};
            const std::optional<QString> holder = model_.openBy(item.id);
            if (holder)
                details.append(*holder + AIModelsModel::hasItOpenSuffix);
            else if (item.isIncomplete)
                details.append(AIModelsModel::incompleteLabel + QStringLiteral(": ") +
                               AIModelsModel::incompleteNote);
            else if (const std::optional<QString> shared = AIModelsModel::sharedText(item))
                details.append(*shared);
            const QString detail = details.join(QStringLiteral(" — "));
            row->setText(detailColumn, detail);
            row->setToolTip(detailColumn, detail);
            const bool kept = model_.isKept(item.id);
            InventoryWidgets::setTickable(*row, nameColumn, model_.selectedIDs().contains(item.id),
                                          !holder && !item.isReadOnly && !kept);
            if (kept)
                InventoryWidgets::markKept(*row, nameColumn);
        }
    }
}

void AIModelsView::showState() {
    QString state;
    if (!model_.hasLoaded())
        state = QStringLiteral("Looking for downloaded models…");
    else if (model_.models().isEmpty())
        state = AIModelsModel::emptyText;
    showStateLine(state, AIModelsModel::failuresHeading);
    const bool idle = !model_.isRemoving() && !model_.isLoading();
    remove_->setEnabled(idle && !model_.selectedIDs().isEmpty());
    startOllama_->setVisible(model_.isOllamaInstalled() && !model_.isOllamaRunning());
    startOllama_->setEnabled(!model_.isStartingOllama());
}

void AIModelsView::confirmRemove() {
    if (model_.selectedIDs().isEmpty())
        return;
    const qsizetype count = model_.selectedIDs().size();
    const QString title = QStringLiteral("Remove %1 model%2 (%3)?")
                              .arg(count)
                              .arg(count == 1 ? QString() : QStringLiteral("s"))
                              .arg(formatBytes(model_.selectedBytes()));
    ask(Change::reversible, QStringLiteral("aiModelsRemoveConfirmation"), title, title,
        QStringLiteral("LM Studio and Hugging Face models go to the Trash; Ollama removes its own "
                       "models for good. ") +
            AIModelsModel::openModelsNote,
        QStringLiteral("Remove"), [this] { model_.removeSelected(); });
}

} // namespace corvane
