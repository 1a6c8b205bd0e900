#include "agents/RelinkReport.h"

#include "agents/OrderedJsonWriter.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace corvane::RelinkReportJson {
namespace {

void writeList(OrderedJsonWriter& writer, const QStringList& items) {
    writer.beginArray();
    for (const QString& item : items)
        writer.value(item);
    writer.endArray();
}

void writeMove(OrderedJsonWriter& writer, const ClaudeFolderMove& move) {
    writer.beginObject();
    writer.key(QStringLiteral("from"));
    writer.value(move.from);
    writer.key(QStringLiteral("to"));
    writer.value(move.to);
    writer.key(QStringLiteral("fromPath"));
    writer.value(move.fromPath);
    writer.key(QStringLiteral("toPath"));
    writer.value(move.toPath);
    if (move.movedItems) {
        writer.key(QStringLiteral("movedItems"));
        writeList(writer, *move.movedItems);
    }
    writer.endObject();
}

void writeCount(OrderedJsonWriter& writer, const char* name, int count) {
    writer.key(QLatin1String(name));
    writer.value(count);
}

QStringList stringsOf(const QJsonValue& value) {
    QStringList strings;
    const QJsonArray array = value.toArray();
    for (const QJsonValue& item : array) {
        if (item.isString())
            strings.append(item.toString());
    }
    return strings;
}

QJsonObject moveObject(const ClaudeFolderMove& move) {
    QJsonObject object{{QStringLiteral("from"), move.from},
                       {QStringLiteral("to"), move.to},
                       {QStringLiteral("fromPath"), move.fromPath},
                       {QStringLiteral("toPath"), move.toPath}};
    if (move.movedItems)
        object.insert(QStringLiteral("movedItems"), QJsonArray::fromStringList(*move.movedItems));
    return object;
}

ClaudeFolderMove moveFromObject(const QJsonObject& object) {
    ClaudeFolderMove move;
    move.from = object.value(QStringLiteral("from")).toString();
    move.to = object.value(QStringLiteral("to")).toString();
    move.fromPath = object.value(QStringLiteral("fromPath")).toString();
    move.toPath = object.value(QStringLiteral("toPath")).toString();
    const QJsonValue items = object.value(QStringLiteral("movedItems"));
    if (items.isArray())
        move.movedItems = stringsOf(items);
    return move;
}

} // namespace

QByteArray serialized(const ClaudeFolderMove& move, bool indented) {
    OrderedJsonWriter writer(indented);
    writeMove(writer, move);
    return writer.text();
}

QByteArray serialized(const RelinkReport& report, bool indented) {
    OrderedJsonWriter writer(indented);
    writer.beginObject();
    writer.key(QStringLiteral("claudeFolderMoves"));
    writer.beginArray();
    for (const ClaudeFolderMove& move : report.claudeFolderMoves)
        writeMove(writer, move);
    writer.endArray();
    writeCount(writer, "claudeHistoryFolders", report.claudeHistoryFolders);
    writeCount(writer, "claudeDesktopSessions", report.claudeDesktopSessions);
    writeCount(writer, "claudeProjectSettings", report.claudeProjectSettings);
    writeCount(writer, "codexThreads", report.codexThreads);
    writeCount(writer, "codexProjectRoots", report.codexProjectRoots);
    writeCount(writer, "codexTrustEntries", report.codexTrustEntries);
    writer.key(QStringLiteral("warnings"));
    writeList(writer, report.warnings);
    writer.endObject();
    return writer.text();
}

QJsonObject toObject(const RelinkReport& report) {
    QJsonArray moves;
    for (const ClaudeFolderMove& move : report.claudeFolderMoves)
        moves.append(moveObject(move));
    return {{QStringLiteral("claudeFolderMoves"), moves},
            {QStringLiteral("claudeHistoryFolders"), report.claudeHistoryFolders},
            {QStringLiteral("claudeDesktopSessions"), report.claudeDesktopSessions},
            {QStringLiteral("claudeProjectSettings"), report.claudeProjectSettings},
            {QStringLiteral("codexThreads"), report.codexThreads},
            {QStringLiteral("codexProjectRoots"), report.codexProjectRoots},
            {QStringLiteral("codexTrustEntries"), report.codexTrustEntries},
            {QStringLiteral("warnings"), QJsonArray::fromStringList(report.warnings)}};
}

RelinkReport fromObject(const QJsonObject& object) {
    RelinkReport report;
    const QJsonArray moves = object.value(QStringLiteral("claudeFolderMoves")).toArray();
    for (const QJsonValue& move : moves) {
        if (move.isObject())
            report.claudeFolderMoves.append(moveFromObject(move.toObject()));
    }
    const auto count = [&object](const char* name) {
        return object.value(QLatin1String(name)).toInt(0);
    };
    report.claudeHistoryFolders = count("claudeHistoryFolders");
    report.claudeDesktopSessions = count("claudeDesktopSessions");
    report.claudeProjectSettings = count("claudeProjectSettings");
    report.codexThreads = count("codexThreads");
    report.codexProjectRoots = count("codexProjectRoots");
    report.codexTrustEntries = count("codexTrustEntries");
    report.warnings = stringsOf(object.value(QStringLiteral("warnings")));
    return report;
}

std::optional<RelinkReport> parse(const QByteArray& text) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return fromObject(document.object());
}

} // namespace corvane::RelinkReportJson
