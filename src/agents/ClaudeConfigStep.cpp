#include "agents/ClaudeConfigStep.h"

#include "agents/OrderedJsonWriter.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace corvane {
namespace {

struct NewEntry {
    QString key;
    QJsonValue value;
};

QString valueText(const QJsonValue& value) {
    if (value.isObject())
        return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    if (value.isArray())
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    // A scalar: Qt formats it inside an array, whose brackets are dropped.
    const QByteArray inArray = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(inArray.mid(1, inArray.size() - 2));
}

// The member as it reads inside an object: `"key":value`.
std::optional<QString> memberText(const NewEntry& entry) {
    const std::optional<QByteArray> key = jsonStringLiteral(entry.key);
    if (!key)
        return std::nullopt;
    return QString::fromUtf8(*key) + u':' + valueText(entry.value);
}

class ConfigEditor {
public:
    explicit ConfigEditor(const RelinkContext& context)
        : context_(context)
        , path_(context.locations.claudeConfig) {}

    void run();
    void removeCopies();

private:
    void warn(const QString& problem) const {
        context_.warn(QStringLiteral("Claude Code project settings: ") + problem);
    }
    QList<NewEntry> newEntries(const QJsonObject& projects) const;
    std::optional<QString> edit(const QString& text, int& added) const;
    std::optional<QString> withoutCopies(const QString& text) const;
    std::optional<QString> edited(const QString& text, const QList<NewEntry>& entries) const;

    const RelinkContext& context_;
    QString path_;
};

QList<NewEntry> ConfigEditor::newEntries(const QJsonObject& projects) const {
    QList<NewEntry> entries;
    for (auto member = projects.begin(); member != projects.end(); ++member) {
        const std::optional<QString> key = context_.move.rewritten(member.key());
        if (key && !projects.contains(*key))
            entries.append({*key, member.value()});
    }
    return entries;
}

std::optional<QString> ConfigEditor::edited(const QString& text,
                                            const QList<NewEntry>& entries) const {
    static const QRegularExpression projectsStart(QStringLiteral("\"projects\"\\s*:\\s*\\{"));
    QRegularExpressionMatchIterator matches = projectsStart.globalMatch(text);
    if (!matches.hasNext())
        return std::nullopt;
    const QRegularExpressionMatch match = matches.next();
    if (matches.hasNext())
        return std::nullopt;
    QString members;
    for (const NewEntry& entry : entries) {
        const std::optional<QString> member = memberText(entry);
        if (!member) {
            warn(QStringLiteral("could not encode the entry for ") + entry.key);
            continue;
        }
        members += *member + u',';
    }
    QString result = text;
    result.insert(match.capturedEnd(), members);
    return result;
}

void ConfigEditor::run() {
    if (!QFileInfo::exists(path_))
        return;
    int added = 0;
    QString problem;
    const bool replaced = RelinkFiles::rewrite(
        path_, [this, &added](const QString& text) { return edit(text, added); }, problem);
    if (replaced)
        context_.report.claudeProjectSettings += added;
    else if (!problem.isEmpty())
        warn(QStringLiteral("~/.claude.json ") + problem);
}

// The file with an entry for the new path beside each entry under the old one, checked by parsing
// it again; nothing when it needs no change, cannot be changed safely, or this is a preview (then
// the entries are only counted).
std::optional<QString> ConfigEditor::edit(const QString& text, int& added) const {
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (!document.isObject()) {
        warn(QStringLiteral("~/.claude.json is not valid JSON"));
        return std::nullopt;
    }
    QJsonObject expected = document.object();
    QJsonObject projects = expected.value(QStringLiteral("projects")).toObject();
    const QList<NewEntry> entries = newEntries(projects);
    if (entries.isEmpty())
        return std::nullopt;
    if (!context_.writes()) {
        context_.report.claudeProjectSettings += int(entries.size());
        return std::nullopt;
    }
    const std::optional<QString> result = edited(text, entries);
    if (!result) {
        warn(QStringLiteral("could not place the new entries safely; left untouched"));
        return std::nullopt;
    }
    added = 0;
    for (const NewEntry& entry : entries) {
        if (jsonStringLiteral(entry.key)) {
            projects.insert(entry.key, entry.value);
            ++added;
        }
    }
    if (added == 0)
        return std::nullopt;
    expected.insert(QStringLiteral("projects"), projects);
    const QJsonDocument reparsed = QJsonDocument::fromJson(result->toUtf8());
    if (!reparsed.isObject() || reparsed.object() != expected) {
        warn(QStringLiteral("in-place rewrite did not match the expected result; left untouched"));
        return std::nullopt;
    }
    return result;
}

// run() puts its members right after the opening brace of "projects", compact and each followed
// by a comma, where Claude Code itself never writes one: found there, they are the copies.
std::optional<QString> ConfigEditor::withoutCopies(const QString& text) const {
    static const QRegularExpression projectsStart(QStringLiteral("\"projects\"\\s*:\\s*\\{"));
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    const QRegularExpressionMatch match = projectsStart.match(text);
    if (!document.isObject() || !match.hasMatch())
        return std::nullopt;
    QJsonObject expected = document.object();
    QJsonObject projects = expected.value(QStringLiteral("projects")).toObject();
    QString result = text;
    for (auto member = projects.begin(); member != projects.end();) {
        const std::optional<QString> copied = context_.move.rewritten(member.key());
        const std::optional<QString> copy =
            copied ? memberText({*copied, member.value()}) : std::nullopt;
        if (!copy || projects.value(*copied) != member.value() ||
            !QStringView(result).mid(match.capturedEnd()).startsWith(*copy + u',')) {
            ++member;
            continue;
        }
        result.remove(match.capturedEnd(), copy->size() + 1);
        projects.remove(*copied);
        member = projects.begin(); // the copies lie in the order they were written
    }
    if (result == text)
        return std::nullopt;
    expected.insert(QStringLiteral("projects"), projects);
    const QJsonDocument reparsed = QJsonDocument::fromJson(result.toUtf8());
    if (!reparsed.isObject() || reparsed.object() != expected)
        return std::nullopt;
    return result;
}

void ConfigEditor::removeCopies() {
    if (!QFileInfo::exists(path_))
        return;
    QString problem;
    RelinkFiles::rewrite(
        path_, [this](const QString& text) { return withoutCopies(text); }, problem);
    if (!problem.isEmpty())
        warn(QStringLiteral("~/.claude.json ") + problem);
}

} // namespace

void ClaudeConfigStep::run(const RelinkContext& context) {
    ConfigEditor(context).run();
}

void ClaudeConfigStep::removeCopies(const RelinkContext& context) {
    if (context.writes())
        ConfigEditor(context).removeCopies();
}

} // namespace corvane
