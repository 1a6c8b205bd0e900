#pragma once

#include "devtools/AIModelCatalog.h"
#include "devtools/AIModelTypes.h"
#include "platform/InventoryModel.h"
#include "platform/MainThreadMailbox.h"

#include <QHash>
#include <QList>
#include <QPair>
#include <QStringList>
#include <memory>
#include <optional>

namespace corvane {

// What the last removal did, as the command line reports it.
struct AIModelsResult {
    QStringList removed;
    // Model id and message, for each model that stayed.
    QList<QPair<QString, QString>> failures;
    qint64 freedBytes = 0;
    QString message;
    bool operator==(const AIModelsResult&) const = default;
};

// The AI models screen's model: the models of LM Studio, Ollama and Hugging Face with the app
// that holds each open, whether Ollama runs, the ticked model ids and their removal (LM Studio
// and Hugging Face to the Trash, Ollama through ollama itself).
class AIModelsModel : public InventoryModel {
    Q_OBJECT
    Q_PROPERTY(bool isOllamaRunning READ isOllamaRunning NOTIFY ollamaChanged)
    Q_PROPERTY(bool isStartingOllama READ isStartingOllama NOTIFY ollamaChanged)

public:
    static inline const QString explanationText = QStringLiteral(
        "Models downloaded by LM Studio, Ollama and Hugging Face tools. LM Studio and Hugging "
        "Face models go to the Trash; Ollama removes its own models permanently. Any model can "
        "be downloaded again.");
    static inline const QString lmStudioNote =
        QStringLiteral("Removing moves the model folder to the Trash.");
    static inline const QString huggingFaceNote = QStringLiteral(
        "The download cache of Python tools. Removing moves the model to the Trash.");
    static inline const QString ollamaNote =
        QStringLiteral("Ollama removes the model; data files other models share stay.");
    static inline const QString sharedSuffix =
        QStringLiteral(" in total; the rest is shared with other Ollama models and stays.");
    static inline const QString incompleteLabel = QStringLiteral("incomplete download");
    static inline const QString incompleteNote =
        QStringLiteral("Some of its data files are missing, so it cannot run. Removing it cleans "
                       "up what it holds.");
    static inline const QString notInstalledText = QStringLiteral("Ollama is not installed");
    static inline const QString notRunningText = AIModelCatalog::notRunningMessage;
    static inline const QString openModelsNote =
        QStringLiteral("A model an app has open is left alone.");
    static inline const QString hasItOpenSuffix =
        QStringLiteral(" has it open. Quit or unload it first.");
    static inline const QString trashedSuffix =
        QStringLiteral(" to the Trash; the space comes back when you empty it.");
    static inline const QString failuresHeading = QStringLiteral("Some models were not removed");
    static inline const QString folderMissingSuffix =
        QStringLiteral(": its folder could not be found.");
    static inline const QString trashFailedSuffix =
        QStringLiteral("could not be moved to the Trash");
    static inline const QString emptyText =
        QStringLiteral("No models from LM Studio, Ollama or Hugging Face on this Mac.");
    static inline const QString ollamaAppMissingText = QStringLiteral(
        "The Ollama app was not found. Start the Ollama server another way (for example "
        "`ollama serve`), then reload.");

    explicit AIModelsModel(ToastCenter& toasts, bool isDryRun = false, QObject* parent = nullptr,
                           const ProcessRunner& runner = ProcessRunner::system());
    ~AIModelsModel() override;

    // By source, then name.
    const QList<AIModel>& models() const { return models_; }
    const AIModel* model(const QString& id) const;
    // The note the screen shows for a source.
    static QString note(AIModelSource source);
    // "4.1 GB in total; the rest is shared …" for an Ollama model that shares data files, else
    // nothing.
    static std::optional<QString> sharedText(const AIModel& model);

    bool isOllamaInstalled() const { return isOllamaInstalled_; }
    bool isOllamaRunning() const { return isOllamaRunning_; }
    bool isStartingOllama() const { return isStartingOllama_; }

    // The app holding the model open when the list was loaded ("LM Studio", "ollama").
    std::optional<QString> openBy(const QString& id) const;
    const QHash<QString, QString>& openByMap() const { return openBy_; }

    // What removing the ticked models gives back.
    qint64 selectedBytes() const;
    // Removes the ticked models, each unless an app has it open.
    void removeSelected();
    // Opens the Ollama app (macOS) and waits for its server; elsewhere says how to start it.
    void startOllama();

    const std::optional<AIModelsResult>& lastResult() const { return lastResult_; }

signals:
    void modelsChanged();
    void ollamaChanged();
    // A removal has ended.
    void actionFinished();

protected:
    void startLoading() override;
    bool containsItem(const QString& id) const override;
    QStringList pathsOfItem(const QString& id) const override;

private:
    struct Loaded {
        QList<AIModel> models;
        QStringList problems;
        QHash<QString, QString> openBy;
        bool isOllamaInstalled = false;
        bool isOllamaRunning = false;
    };
    void applyLoad(const Loaded& loaded);
    void applyRemoval(const QList<AIModel>& ticked, const AIModelCatalog::RemovalResult& result);
    void finishAction(const AIModelsResult& result, const QList<ItemFailure>& failures);
    QList<AIModel> ticked() const;

    const ProcessRunner& runner_;
    QList<AIModel> models_;
    QHash<QString, QString> openBy_;
    bool isOllamaInstalled_ = false;
    bool isOllamaRunning_ = false;
    bool isStartingOllama_ = false;
    std::optional<AIModelsResult> lastResult_;
    std::shared_ptr<MainThreadMailbox> startMailbox_;
    CancellationToken startCancellation_;
};

} // namespace corvane
