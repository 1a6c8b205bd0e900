#pragma once

#include "devtools/AIModelTypes.h"
#include "platform/Cancellation.h"
#include "platform/MessageError.h"
#include "platform/ProcessRunner.h"

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <exception>
#include <optional>

namespace corvane {

// A failure of the ollama tool, in words for the user.
class OllamaError : public MessageError {
public:
    enum class Case { failed, notInstalled };
    static OllamaError failed(const QString& message) { return {Case::failed, message}; }
    static OllamaError notInstalled() {
        return {Case::notInstalled, QStringLiteral("Ollama is not installed")};
    }
    Case kind() const { return case_; }

private:
    OllamaError(Case kind, const QString& message)
        : MessageError(message)
        , case_(kind) {}
    Case case_;
};

// Finds the models of LM Studio, Ollama and Hugging Face tools, measures them and removes them:
// LM Studio and Hugging Face folders go to the Trash, Ollama models are removed by ollama itself
// so that its shared data files stay consistent.
namespace AIModelCatalog {

// Ollama's default registry host and namespace, which its model names leave out.
inline const QString ollamaDefaultHost = QStringLiteral("registry.ollama.ai");
inline const QString ollamaDefaultNamespace = QStringLiteral("library");
// Where the Linux system service keeps its models (owned by the "ollama" user).
inline const QString ollamaSystemStore = QStringLiteral("/usr/share/ollama/.ollama/models");

inline const QString notRunningMessage =
    QStringLiteral("Ollama is not running. Start it to remove models.");
inline const QString readOnlyMessage = QStringLiteral(
    "It lies in the Ollama system service's store, which this account cannot change.");

struct OllamaStore {
    QString path;
    // The system service's store: its models get ids "ollama:system:<name>".
    bool isSystem = false;
};

// The model stores that exist, from the home folder and the environment.
struct Stores {
    std::optional<QString> lmStudio;
    QList<OllamaStore> ollama;
    std::optional<QString> huggingFace;
};

// LM Studio's models folder: a "downloadsFolder" from ".lmstudio/settings.json", then from the
// settings of the home ".lmstudio-home-pointer" names, then that home's "models", then
// ".lmstudio/models". Only an existing folder is returned. A settings file that is there but
// cannot be read is added to `problems`.
std::optional<QString> lmStudioModelsFolder(const QString& home, QStringList* problems = nullptr);
// OLLAMA_MODELS (trimmed of spaces and quotes) or ".ollama/models"; may not exist.
QString ollamaModelsFolder(const QString& home);
// HF_HUB_CACHE, else HF_HOME + "hub", else ".cache/huggingface/hub"; may not exist.
QString huggingFaceHubFolder(const QString& home);
// Settings that are there but cannot be read are added to `problems`, one message each.
Stores locateStores(const QString& home, QStringList* problems = nullptr);

// "GGUF" when any file is a gguf; else "MLX" for ".mlx" weights, or for safetensors when the
// folder's name says mlx; otherwise "safetensors" with safetensors, and nothing without weights.
std::optional<QString> formatOf(const QStringList& fileNames, const QString& folderName);
// Whether the files hold model weights (".gguf", ".safetensors", ".mlx"); a folder without any
// is no model, whatever else it holds.
bool holdsWeights(const QStringList& fileNames);
// What removing `chosen` together gives back: each data file once, and an Ollama data file only
// when no model outside `chosen` in its store refers to it. `listed` is every model known.
qint64 freedBy(const QList<AIModel>& chosen, const QList<AIModel>& listed);
// The folder of the Ollama store an Ollama model's manifest lies in.
QString ollamaStoreOf(const AIModel& model);
// The name Ollama shows: "llama3.2:latest", "someuser/custom:latest",
// "hf.co/bartowski/Model-GGUF:Q4_K_M".
QString ollamaDisplayName(const QString& host, const QString& nameSpace, const QString& model,
                          const QString& tag);

// The digests an Ollama manifest refers to ("config" and "layers"), each once; nothing when it
// is not a manifest or names no digest. A digest is "sha256:" and hex, so it names a file in
// "blobs" and nothing outside it.
std::optional<QStringList> manifestDigests(const QByteArray& manifest);

QList<AIModel> listLMStudio(const QString& modelsFolder, const CancellationToken& cancellation);
// A manifest that cannot be read (or is over InputLimits::fileBytes) is added to `problems`.
QList<AIModel> listOllama(const OllamaStore& store, const CancellationToken& cancellation,
                          QStringList* problems = nullptr);
QList<AIModel> listHuggingFace(const QString& hubFolder, const CancellationToken& cancellation);
// Every model of every store, by source, then name; what could not be read is added to
// `problems`, one message each.
QList<AIModel> list(const Stores& stores, const CancellationToken& cancellation = {},
                    QStringList* problems = nullptr);

// The files and folders an app would hold open while using the model.
QStringList filesInUse(const AIModel& model);
// The store folder a model lies in (the Trash's allowed area for LM Studio and Hugging Face).
QString storeOf(const AIModel& model, const Stores& stores);

// The ollama tool: CORVANE_TOOL_OLLAMA, else the first one installed in the usual places, or
// nothing.
std::optional<QString> ollamaPath();
// Whether the Ollama server answers. Throws notInstalled.
bool isOllamaRunning(const ProcessRunner& runner = ProcessRunner::system(),
                     const CancellationToken& cancellation = {});
// The store the running Ollama server keeps `name` in, read from the data file its modelfile
// names; nothing when the server has no model of that name. Throws notInstalled, or failed
// when the answer names no data file.
std::optional<QString> ollamaServerStore(const QString& name,
                                         const ProcessRunner& runner = ProcessRunner::system(),
                                         const CancellationToken& cancellation = {});
// `ollama rm name`. Throws notInstalled, or failed with "ollama exited with N".
void removeOllamaModel(const QString& name, const ProcessRunner& runner = ProcessRunner::system(),
                       const CancellationToken& cancellation = {});

struct RemovalResult {
    QStringList removed;
    // Model id and message, for each model that stayed.
    QList<QPair<QString, QString>> failures;
    // What the removed models freed.
    qint64 freedBytes = 0;
    // How many of the removed models went to the Trash.
    qsizetype trashedCount = 0;
    qint64 trashedBytes = 0;
};

// Removes each model unless an app has it open, or, for Ollama, unless the running server keeps
// it in another store than the one listed; a batch never stops at its first failure. A dry run
// makes every check and changes nothing: `removed` then lists what a real run would remove.
RemovalResult remove(const QList<AIModel>& models, const Stores& stores,
                     const ProcessRunner& runner = ProcessRunner::system(),
                     const CancellationToken& cancellation = {}, bool dryRun = false);

} // namespace AIModelCatalog
} // namespace corvane
