#pragma once

#include <QString>
#include <optional>

namespace corvane::SessionTitle {

inline constexpr qsizetype longestWholeTitle = 90;
inline constexpr qsizetype shortenedTitleLength = 89;

// The title of a session that only has its first prompt: from after the prompt's
// "## My request:" marker when it has one, its first non-empty line that is not a heading, cut
// to 89 characters and "…" when it is longer than 90. Nothing when no line qualifies.
std::optional<QString> fromPrompt(const QString& prompt);

} // namespace corvane::SessionTitle
