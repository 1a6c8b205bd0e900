#pragma once

#include <QString>

// Words that differ by platform, so that every page says what the user's system calls things.
namespace corvane::PlatformWords {

#ifdef Q_OS_MACOS
inline const QString revealInFileManager = QStringLiteral("Reveal in Finder");
#else
inline const QString revealInFileManager = QStringLiteral("Show in Files");
#endif
inline const QString copyPath = QStringLiteral("Copy Path");
inline const QString openInTerminal = QStringLiteral("Open in Terminal");

} // namespace corvane::PlatformWords
