#include "cli/JsonOutput.h"

#include <QJsonArray>

namespace corvane::cli {
QJsonValue orNull(const std::optional<QString>& text) {
    return text ? QJsonValue(*text) : QJsonValue(QJsonValue::Null);
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
    return object;
}

QJsonObject itemJson(const CleanableItem& item) {
    return QJsonObject{{QStringLiteral("name"), item.name},
                       {QStringLiteral("url"), item.url},
                       {QStringLiteral("kind"), rawValue(item.kind)},
                       {QStringLiteral("confidence"), rawValue(item.confidence)}};
}

} // namespace corvane::cli
