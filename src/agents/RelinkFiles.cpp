#include "agents/RelinkStep.h"
#include "platform/JsonFile.h"

#include <QFile>

namespace corvane::RelinkFiles {

std::optional<QString> readText(const QString& path, QString& problem) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        problem = QStringLiteral("could not be read (%1)").arg(file.errorString());
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        problem = QStringLiteral("could not be read (%1)").arg(file.errorString());
        return std::nullopt;
    }
    QString text = QString::fromUtf8(bytes);
    if (text.toUtf8() != bytes) {
        problem = QStringLiteral("is not UTF-8 text");
        return std::nullopt;
    }
    return text;
}

QString replace(const QString& path, const QString& text) {
    return JsonFile::writeAtomically(path, text.toUtf8());
}

} // namespace corvane::RelinkFiles
