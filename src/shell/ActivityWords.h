#pragma once

#include <QDateTime>
#include <QString>
#include <optional>

namespace corvane {

// How long ago a project last saw a commit, in the words of a list column: "Today",
// "Yesterday", "3 days ago", "5 weeks ago", "4 months ago", "2 years ago". Counted in calendar
// days of the local time zone, so a commit late yesterday evening reads "Yesterday" this morning.
// A date after `now` (a clock that was ahead) reads "Today".
QString activityWords(const QDateTime& lastCommit, const QDateTime& now);

// The same for a project's git details as the list knows them: "No commits" for a repository
// without any, and "" while git has not been asked yet.
QString activityWords(bool hasDetails, const std::optional<QDateTime>& lastCommit,
                      const QDateTime& now);

} // namespace corvane
