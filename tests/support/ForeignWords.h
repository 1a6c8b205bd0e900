#pragma once

// Finds the other platform's words in what a user of this one would read.

#include "platform/PlatformWords.h"

#include <QRegularExpression>
#include <QStringList>

namespace corvane::test {

// The foreign words in `text`, as whole words: "Terminal" is found in "Run in Terminal" but not
// in "on a terminal", "Finder" not in "AppFinder".
inline QStringList foreignWordsIn(const QString& text) {
    QStringList found;
    for (const QString& word : PlatformWords::foreignWords()) {
        QString pattern = QStringLiteral("(?<!\\w)") + QRegularExpression::escape(word);
        if (word.back().isLetterOrNumber())
            pattern += QStringLiteral("(?!\\w)");
        if (QRegularExpression(pattern).match(text).hasMatch())
            found.append(word);
    }
    return found;
}

// "word: text" for every text of `texts` that holds a foreign word, one per line.
inline QString foreignWordLines(const QStringList& texts) {
    QStringList lines;
    for (const QString& text : texts) {
        for (const QString& word : foreignWordsIn(text))
            lines.append(word + QStringLiteral(": ") + text.simplified().left(160));
    }
    lines.removeDuplicates();
    return lines.join(u'\n');
}

} // namespace corvane::test
