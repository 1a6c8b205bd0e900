#pragma once

#include "devtools/AIModelsModel.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QStackedLayout;
class QTreeWidget;
class QTreeWidgetItem;

namespace corvane {

// The AI Models page: the models of LM Studio, Ollama and Hugging Face by source, each with what
// it takes and what removing it gives back (Ollama's shared data counted once), incomplete
// downloads, and models an app has open, which cannot be ticked. Removal asks first.
class AIModelsView : public QWidget {
    Q_OBJECT

public:
    explicit AIModelsView(AIModelsModel& model, QWidget* parent = nullptr);

    QTreeWidget* tree() const { return tree_; }
    QPushButton* removeButton() const { return remove_; }
    QPushButton* startOllamaButton() const { return startOllama_; }
    QString stateText() const;
    void confirmRemove();

protected:
    // The stores are measured the first time the page is shown, not at start-up.
    void showEvent(QShowEvent* event) override;

private:
    void showModels();
    void showState();
    void itemChanged(QTreeWidgetItem* item, int column);

    AIModelsModel& model_;
    QTreeWidget* tree_;
    QLabel* state_;
    QLabel* failures_;
    QStackedLayout* body_;
    QPushButton* reload_;
    QPushButton* startOllama_;
    QPushButton* remove_;
    bool filling_ = false;
};

} // namespace corvane
