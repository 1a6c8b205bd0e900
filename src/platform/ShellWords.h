#pragma once

#include <QString>

namespace corvane {

// `text` as one word of a POSIX shell command line: in single quotes, each "'" written as "'\''".
inline QString shellQuoted(const QString& text) {
    QString quoted = text;
    quoted.replace(u'\'', QStringLiteral("'\\''"));
    return u'\'' + quoted + u'\'';
}

} // namespace corvane
