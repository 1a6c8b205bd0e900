#pragma once

#include "devtools/AIModelsModel.h"
#include "shell/InventoryPage.h"

class QPushButton;

namespace corvane {

// The AI Models page: the models of LM Studio, Ollama and Hugging Face by source, each with what
// it takes and what removing it gives back (Ollama's shared data counted once), incomplete
// downloads, and models an app has open, which cannot be ticked. Removal asks first.
class AIModelsView : public InventoryPage {
    Q_OBJECT

public:
    explicit AIModelsView(AIModelsModel& model, QWidget* parent = nullptr);

    QPushButton* removeButton() const { return remove_; }
    QPushButton* startOllamaButton() const { return startOllama_; }
    void confirmRemove();

private:
    void showModels();
    void fillModels();
    void showState() override;

    AIModelsModel& model_;
    QPushButton* startOllama_;
    QPushButton* remove_;
};

} // namespace corvane
