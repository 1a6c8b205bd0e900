#include "agents/SessionHead.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

namespace corvane::SessionHead {
namespace {

// A cheap byte search first: most lines are large and have no "cwd" key at all.
std::optional<QString> cwdOfLine(QByteArrayView line) {
    if (!line.contains(QByteArrayView("\"cwd\"")))
        return std::nullopt;
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(line.toByteArray(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    // Only the top-level key counts; a prompt may mention "cwd" in its text.
    const QString cwd = document.object().value(QStringLiteral("cwd")).toString();
    if (cwd.isEmpty())
        return std::nullopt;
    return cwd;
}

// Looks at the complete lines of `buffer` from `start`; moves `start` past them.
std::optional<QString> scanCompleteLines(const QByteArray& buffer, qsizetype& start) {
    for (qsizetype end = buffer.indexOf('\n', start); end >= 0; end = buffer.indexOf('\n', start)) {
        const QByteArrayView line(buffer.constData() + start, end - start);
        start = end + 1;
        if (std::optional<QString> cwd = cwdOfLine(line))
            return cwd;
    }
    return std::nullopt;
}

} // namespace

std::optional<QString> firstCwdIn(const QByteArray& head) {
    qsizetype start = 0;
    if (std::optional<QString> cwd = scanCompleteLines(head, start))
        return cwd;
    return cwdOfLine(QByteArrayView(head).sliced(start));
}

std::optional<QString> firstCwd(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QByteArray buffer;
    qsizetype start = 0;
    while (buffer.size() < byteLimit) {
        const QByteArray chunk = file.read(std::min(chunkSize, byteLimit - buffer.size()));
        if (chunk.isEmpty())
            break;
        buffer.append(chunk);
        if (std::optional<QString> cwd = scanCompleteLines(buffer, start))
            return cwd;
    }
    // The last line: complete at the end of the file, cut short at the limit (and then almost
    // always not valid JSON, so it yields nothing).
    return cwdOfLine(QByteArrayView(buffer).sliced(start));
}

} // namespace corvane::SessionHead
