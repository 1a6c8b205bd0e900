#include "cli/JsonOutput.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace corvane::cli {
QJsonValue orNull(const std::optional<QString>& text) {
    return text ? QJsonValue(*text) : QJsonValue(QJsonValue::Null);
}

QJsonValue isoDateOrNull(const std::optional<QDateTime>& date) {
    return date ? QJsonValue(date->toUTC().toString(Qt::ISODate)) : QJsonValue(QJsonValue::Null);
}

void printJson(Console& console, const QJsonObject& document) {
    console.out << QJsonDocument(document).toJson(QJsonDocument::Indented) << Qt::flush;
}

QJsonObject agentSessionJson(const AgentSession& session) {
    return {{QStringLiteral("agent"), rawValue(session.agent)},
            {QStringLiteral("id"), session.id},
            {QStringLiteral("desktopID"), orNull(session.desktopID)},
            {QStringLiteral("title"), orNull(session.title)},
            {QStringLiteral("cwd"), session.cwd},
            {QStringLiteral("updatedAt"), isoDateOrNull(session.updatedAt)}};
}

QJsonObject gitDetailsJson(const GitDetails& details) {
    QJsonObject object{
        {QStringLiteral("status"), details.status.caseName()},
        {QStringLiteral("branch"), orNull(details.branch)},
        {QStringLiteral("remoteURL"), orNull(details.remoteURL)},
        {QStringLiteral("repoDisplayName"), orNull(details.repoDisplayName())},
    };
    if (details.status.kind() == GitStatus::Case::dirty)
        object.insert(QStringLiteral("changedCount"), details.status.changedCount());
    if (details.status.kind() == GitStatus::Case::aheadOfRemote)
        object.insert(QStringLiteral("commits"), details.status.commits());
    object.insert(QStringLiteral("lastCommitDate"),
                  details.lastCommitDate
                      ? QJsonValue(details.lastCommitDate->toUTC().toString(Qt::ISODate))
                      : QJsonValue(QJsonValue::Null));
    QJsonArray changes;
    for (const GitChange& change : details.changes)
        changes.append(QJsonObject{{QStringLiteral("path"), change.path},
                                   {QStringLiteral("kind"), rawValue(change.kind)}});
    object.insert(QStringLiteral("changes"), changes);
    if (details.problem)
        object.insert(QStringLiteral("problem"), *details.problem);
    return object;
}

QJsonObject itemJson(const CleanableItem& item) {
    return QJsonObject{{QStringLiteral("name"), item.name},
                       {QStringLiteral("url"), item.url},
                       {QStringLiteral("kind"), rawValue(item.kind)},
                       {QStringLiteral("confidence"), rawValue(item.confidence)},
                       {QStringLiteral("restoreHint"), item.restoreHint.text.isEmpty()
                                                           ? QJsonValue(QJsonValue::Null)
                                                           : QJsonValue(item.restoreHint.text)}};
}

} // namespace corvane::cli
