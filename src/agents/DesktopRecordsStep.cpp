#include "agents/DesktopRecordsStep.h"

#include "agents/ClaudeDesktopRecords.h"
#include "agents/OrderedJsonWriter.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace corvane {
namespace {

const QStringList& pathKeys() {
    static const QStringList keys{QStringLiteral("cwd"), QStringLiteral("originCwd"),
                                  QStringLiteral("gitRoot"), QStringLiteral("commonDir")};
    return keys;
}

// The text between the quotes of the path's JSON string literal, as the app writes it.
std::optional<QString> encodedInJson(const QString& path) {
    const std::optional<QByteArray> literal = jsonStringLiteral(path);
    if (!literal)
        return std::nullopt;
    return QString::fromUtf8(literal->mid(1, literal->size() - 2));
}

// What the record must read after the rewrite: the same document with the path values under
// the old path moved. The pattern finds those keys at any depth, so this does too.
QJsonValue expectedValue(const QJsonValue& value, const AgentPaths::PathMove& move) {
    if (value.isArray()) {
        QJsonArray array = value.toArray();
        for (qsizetype index = 0; index < array.size(); ++index)
            array[index] = expectedValue(array.at(index), move);
        return array;
    }
    if (!value.isObject())
        return value;
    QJsonObject object = value.toObject();
    for (auto member = object.begin(); member != object.end(); ++member) {
        const std::optional<QString> rewritten =
            member.value().isString() && pathKeys().contains(member.key())
                ? move.rewritten(member.value().toString())
                : std::nullopt;
        member.value() = rewritten ? QJsonValue(*rewritten) : expectedValue(member.value(), move);
    }
    return object;
}

class RecordRewriter {
public:
    explicit RecordRewriter(const RelinkContext& context)
        : context_(context) {}

    // Fails with a message for the whole step when the paths can't be put in a pattern.
    QString prepare();
    void rewrite(const QString& path);

private:
    std::optional<QString> edit(const QString& path, const QString& text, bool& changes) const;
    void warn(const QString& file, const QString& problem) const {
        context_.warn(QStringLiteral("Claude desktop session ") + QFileInfo(file).fileName() +
                      QStringLiteral(": ") + problem);
    }

    const RelinkContext& context_;
    QRegularExpression pattern_;
    QString encodedNew_;
};

QString RecordRewriter::prepare() {
    const std::optional<QString> encodedOld = encodedInJson(context_.move.oldPath);
    const std::optional<QString> encodedNew = encodedInJson(context_.move.newPath);
    if (!encodedOld || !encodedNew)
        return QStringLiteral("could not encode path");
    encodedNew_ = *encodedNew;
    // The lookahead ends the match at the end of the value or at a separator, so "/a/b" never
    // touches "/a/bc".
    pattern_.setPattern(QStringLiteral("(\"(?:") + pathKeys().join(u'|') +
                        QStringLiteral(")\"\\s*:\\s*\")") +
                        QRegularExpression::escape(*encodedOld) + QStringLiteral("(?=[\"/])"));
    if (!pattern_.isValid())
        return QStringLiteral("pattern error");
    return {};
}

void RecordRewriter::rewrite(const QString& path) {
    bool changes = false;
    QString problem;
    const bool replaced = RelinkFiles::rewrite(
        path, [&](const QString& text) { return edit(path, text, changes); }, problem);
    if (!replaced && !problem.isEmpty())
        return warn(path, problem);
    // A preview counts what it would change without writing.
    if (replaced || changes)
        ++context_.report.claudeDesktopSessions;
}

// The record with every path under the old one moved, checked against the document it must
// parse to; nothing when it names no such path, cannot be rewritten safely, or this is a preview
// (then `changes` says whether it would have been).
std::optional<QString> RecordRewriter::edit(const QString& path, const QString& text,
                                            bool& changes) const {
    const QJsonDocument old = QJsonDocument::fromJson(text.toUtf8());
    if (!old.isObject()) {
        warn(path, QStringLiteral("not valid JSON"));
        return std::nullopt;
    }
    const QJsonValue expected = expectedValue(old.object(), context_.move);

    QString rewritten;
    qsizetype copiedUpTo = 0;
    bool matched = false;
    QRegularExpressionMatchIterator matches = pattern_.globalMatch(text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        rewritten += QStringView(text).mid(copiedUpTo, match.capturedStart() - copiedUpTo);
        rewritten += match.captured(1) + encodedNew_;
        copiedUpTo = match.capturedEnd();
        matched = true;
    }
    if (!matched && expected == QJsonValue(old.object()))
        return std::nullopt; // nothing of this record is under the old path
    rewritten += QStringView(text).mid(copiedUpTo);

    const QJsonDocument result = QJsonDocument::fromJson(rewritten.toUtf8());
    if (!result.isObject() || QJsonValue(result.object()) != expected) {
        warn(path, QStringLiteral("in-place rewrite did not match the expected result; left "
                                  "untouched"));
        return std::nullopt;
    }
    changes = true;
    if (!context_.writes())
        return std::nullopt;
    return rewritten;
}

} // namespace

void DesktopRecordsStep::run(const RelinkContext& context) {
    const QStringList files = ClaudeDesktopRecords::files(context.locations.claudeDesktopSessions);
    if (files.isEmpty())
        return;
    RecordRewriter rewriter(context);
    const QString problem = rewriter.prepare();
    if (!problem.isEmpty()) {
        context.warn(QStringLiteral("Claude desktop sessions: ") + problem);
        return;
    }
    for (const QString& path : files)
        rewriter.rewrite(path);
}

} // namespace corvane
