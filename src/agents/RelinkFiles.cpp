#include "agents/RelinkStep.h"
#include "platform/InputLimits.h"
#include "platform/Paths.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

namespace corvane::RelinkFiles {

std::optional<QString> readText(const QString& path, QString& problem) {
    const InputLimits::FileRead file = InputLimits::readFile(path);
    if (!file.bytes) {
        problem = QStringLiteral("could not be read (%1)").arg(file.problem);
        return std::nullopt;
    }
    const QByteArray& bytes = *file.bytes;
    QString text = QString::fromUtf8(bytes);
    if (text.toUtf8() != bytes) {
        problem = QStringLiteral("is not UTF-8 text");
        return std::nullopt;
    }
    return text;
}

Replaced replaceIfUnchanged(const QString& path, const QString& expected, const QString& text,
                            QString& problem) {
    if (!QDir().mkpath(Paths::parentPath(path))) {
        problem = QStringLiteral("its folder could not be made");
        return Replaced::failed;
    }
    QSaveFile file(path);
    const QByteArray bytes = text.toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        problem = file.errorString();
        file.cancelWriting();
        return Replaced::failed;
    }
    // Looked at once the new text is ready, so that only the rename follows the check.
    QFile current(path);
    if (!current.open(QIODevice::ReadOnly) || current.readAll() != expected.toUtf8()) {
        file.cancelWriting();
        return Replaced::changedMeanwhile;
    }
    if (!file.commit()) {
        problem = file.errorString();
        return Replaced::failed;
    }
    return Replaced::done;
}

bool rewrite(const QString& path, const std::function<std::optional<QString>(const QString&)>& edit,
             QString& problem) {
    // An agent rewrites its file after each message; a few tries outlast any burst of those.
    constexpr int attempts = 3;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const std::optional<QString> text = readText(path, problem);
        if (!text)
            return false;
        const std::optional<QString> edited = edit(*text);
        if (!edited)
            return false;
        switch (replaceIfUnchanged(path, *text, *edited, problem)) {
        case Replaced::done:
            return true;
        case Replaced::failed:
            problem = QStringLiteral("could not be written (%1)").arg(problem);
            return false;
        case Replaced::changedMeanwhile:
            break;
        }
    }
    problem = QStringLiteral("kept changing while it was being rewritten and was left untouched");
    return false;
}

} // namespace corvane::RelinkFiles
