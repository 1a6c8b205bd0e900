#include "shell/ActivityWords.h"

namespace corvane {
namespace {

QString ago(qint64 count, const char* unit) {
    return QStringLiteral("%1 %2%3 ago")
        .arg(count)
        .arg(QLatin1String(unit), count == 1 ? QString() : QStringLiteral("s"));
}

} // namespace

QString activityWords(const QDateTime& lastCommit, const QDateTime& now) {
    const qint64 days = lastCommit.toLocalTime().date().daysTo(now.toLocalTime().date());
    if (days <= 0)
        return QStringLiteral("Today");
    if (days == 1)
        return QStringLiteral("Yesterday");
    if (days < 14)
        return ago(days, "day");
    if (days < 60)
        return ago(days / 7, "week");
    if (days < 365)
        return ago(days / 30, "month");
    return ago(days / 365, "year");
}

QString activityWords(bool hasDetails, const std::optional<QDateTime>& lastCommit,
                      const QDateTime& now) {
    if (!hasDetails)
        return QString();
    if (!lastCommit)
        return QStringLiteral("No commits");
    return activityWords(*lastCommit, now);
}

} // namespace corvane
