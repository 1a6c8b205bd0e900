#include "agents/SessionHead.h"

#include "agents/SessionTitle.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>

namespace corvane::SessionHead {
namespace {

// The first read is smaller than a chunk: most heads hold what is looked for in their first few
// kilobytes, and copying a whole chunk of each of tens of thousands of files was most of the time
// a measurement took.
constexpr qint64 firstChunkSize = 8192;

// Parses `line` only when it holds one of `needles`: most lines are large and hold none, and a
// byte search costs far less than a parse.
std::optional<QJsonObject> parsedIfHolds(QByteArrayView line,
                                         std::initializer_list<QByteArrayView> needles) {
    if (std::none_of(needles.begin(), needles.end(),
                     [line](QByteArrayView needle) { return line.contains(needle); }))
        return std::nullopt;
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(line.toByteArray(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return document.object();
}

std::optional<QString> stringOf(const QJsonObject& line, const QString& key) {
    const QString value = line.value(key).toString();
    if (value.isEmpty())
        return std::nullopt;
    return value;
}

// Only the top-level key counts; a prompt may mention "cwd" in its text.
std::optional<QString> cwdOf(const QJsonObject& line) {
    return stringOf(line, QStringLiteral("cwd"));
}

std::optional<QString> cwdOfLine(QByteArrayView line) {
    const std::optional<QJsonObject> object = parsedIfHolds(line, {"\"cwd\""});
    return object ? cwdOf(*object) : std::nullopt;
}

// The text the user typed in a "user" line: a plain string, or the first text part. Lines the
// tool itself adds (meta lines, command wrappers such as "<command-name>", tool results) are none.
std::optional<QString> typedPrompt(const QJsonObject& line) {
    if (line.value(QStringLiteral("isMeta")).toBool())
        return std::nullopt;
    const QJsonValue content =
        line.value(QStringLiteral("message")).toObject().value(QStringLiteral("content"));
    QString text = content.toString();
    if (content.isArray()) {
        for (const QJsonValue& part : content.toArray()) {
            if (part.toObject().value(QStringLiteral("type")).toString() ==
                QStringLiteral("text")) {
                text = part.toObject().value(QStringLiteral("text")).toString();
                break;
            }
        }
    }
    text = text.trimmed();
    if (text.isEmpty() || text.startsWith(u'<'))
        return std::nullopt;
    return text;
}

// Gathers what one line says; true once nothing more is needed.
struct HeadReader {
    Head head;
    bool titleDecided = false;

    bool take(QByteArrayView line) {
        const std::optional<QJsonObject> object =
            parsedIfHolds(line, {"\"cwd\"", "\"type\":\"summary\"", "\"type\":\"user\""});
        if (object) {
            if (!head.cwd) {
                head.cwd = cwdOf(*object);
                if (head.cwd)
                    head.sessionID = stringOf(*object, QStringLiteral("sessionId"));
            }
            if (!titleDecided)
                takeTitle(*object);
        }
        return head.cwd && titleDecided;
    }

    void takeTitle(const QJsonObject& line) {
        const QString type = line.value(QStringLiteral("type")).toString();
        if (type == QStringLiteral("summary")) {
            const QString summary = line.value(QStringLiteral("summary")).toString().trimmed();
            if (!summary.isEmpty() && !head.title)
                head.title = SessionTitle::fromPrompt(summary);
        } else if (type == QStringLiteral("user")) {
            // The first prompt decides: a summary written after it belongs to a later turn.
            if (const std::optional<QString> prompt = typedPrompt(line)) {
                if (!head.title)
                    head.title = SessionTitle::fromPrompt(*prompt);
                titleDecided = true;
            }
        }
    }
};

// Hands each complete line of `buffer` from `start` to `take` until it returns true; moves
// `start` past the lines handed over.
template <typename Take>
bool takeCompleteLines(const QByteArray& buffer, qsizetype& start, Take take) {
    for (qsizetype end = buffer.indexOf('\n', start); end >= 0; end = buffer.indexOf('\n', start)) {
        const QByteArrayView line(buffer.constData() + start, end - start);
        start = end + 1;
        if (take(line))
            return true;
    }
    return false;
}

// Hands the lines of the file's head to `take` until it returns true. The last line is handed
// over too: complete at the end of the file, or cut short at the limit (and then almost always
// not valid JSON, so it yields nothing).
template <typename Take> void readHead(const QString& path, Take take) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    QByteArray buffer;
    qsizetype start = 0;
    for (qint64 size = firstChunkSize; buffer.size() < byteLimit; size = chunkSize) {
        const QByteArray chunk = file.read(std::min(size, byteLimit - buffer.size()));
        if (chunk.isEmpty())
            break;
        buffer.append(chunk);
        if (takeCompleteLines(buffer, start, take))
            return;
    }
    take(QByteArrayView(buffer).sliced(start));
}

template <typename Take> void readText(const QByteArray& text, Take take) {
    qsizetype start = 0;
    if (!takeCompleteLines(text, start, take))
        take(QByteArrayView(text).sliced(start));
}

} // namespace

std::optional<QString> firstCwdIn(const QByteArray& head) {
    std::optional<QString> cwd;
    readText(head, [&cwd](QByteArrayView line) { return (cwd = cwdOfLine(line)).has_value(); });
    return cwd;
}

std::optional<QString> firstCwd(const QString& path) {
    std::optional<QString> cwd;
    readHead(path, [&cwd](QByteArrayView line) { return (cwd = cwdOfLine(line)).has_value(); });
    return cwd;
}

Head readIn(const QByteArray& head) {
    HeadReader reader;
    readText(head, [&reader](QByteArrayView line) { return reader.take(line); });
    return reader.head;
}

Head read(const QString& path) {
    HeadReader reader;
    readHead(path, [&reader](QByteArrayView line) { return reader.take(line); });
    return reader.head;
}

} // namespace corvane::SessionHead
