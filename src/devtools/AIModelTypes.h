#pragma once

// Models that local AI tools (LM Studio, Ollama, Hugging Face) keep on disk.

#include <QDateTime>
#include <QMap>
#include <QString>
#include <optional>

namespace corvane {

enum class AIModelSource { lmStudio, ollama, huggingFace };

// "lmStudio", "ollama", "huggingFace": the prefix of a model's id, before ":".
QString rawValue(AIModelSource source);
std::optional<AIModelSource> aiModelSourceFrom(const QString& raw);
// "LM Studio", "Ollama", "Hugging Face".
QString displayName(AIModelSource source);

struct AIModel {
    // rawValue(source) + ":" + a key of the source: "publisher/folder" for LM Studio, the name
    // Ollama knows the model by, the repository id for Hugging Face.
    QString id;
    AIModelSource source = AIModelSource::lmStudio;
    QString name;
    std::optional<QString> publisher;
    // "GGUF", "MLX" or "safetensors".
    std::optional<QString> format;
    // The model's folder, or its Ollama manifest.
    QString url;
    // Everything the model uses on disk.
    qint64 sizeBytes = 0;
    // What removing it gives back; less than sizeBytes when data files are shared.
    qint64 freesBytes = 0;
    std::optional<QDateTime> modifiedAt;
    // The download is incomplete: data files the model refers to are missing.
    bool isIncomplete = false;
    // It lies in a store this account cannot change (Ollama's system service on Linux).
    bool isReadOnly = false;
    // Ollama: the data files it refers to that are there (digest -> bytes), which other models
    // of its store may share.
    QMap<QString, qint64> dataFiles;

    bool operator==(const AIModel&) const = default;
};

} // namespace corvane
