#include "devtools/AIModelTypes.h"

namespace corvane {

QString rawValue(AIModelSource source) {
    switch (source) {
    case AIModelSource::lmStudio:
        return QStringLiteral("lmStudio");
    case AIModelSource::ollama:
        return QStringLiteral("ollama");
    case AIModelSource::huggingFace:
        return QStringLiteral("huggingFace");
    }
    return {};
}

std::optional<AIModelSource> aiModelSourceFrom(const QString& raw) {
    for (AIModelSource source :
         {AIModelSource::lmStudio, AIModelSource::ollama, AIModelSource::huggingFace}) {
        if (rawValue(source) == raw)
            return source;
    }
    return std::nullopt;
}

QString displayName(AIModelSource source) {
    switch (source) {
    case AIModelSource::lmStudio:
        return QStringLiteral("LM Studio");
    case AIModelSource::ollama:
        return QStringLiteral("Ollama");
    case AIModelSource::huggingFace:
        return QStringLiteral("Hugging Face");
    }
    return {};
}

} // namespace corvane
