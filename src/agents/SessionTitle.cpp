#include "agents/SessionTitle.h"

#include <QList>

namespace corvane::SessionTitle {
namespace {

QString shortened(const QString& line) {
    // Counted in characters, so a character outside the basic plane is never cut in half.
    const QList<uint> characters = line.toUcs4();
    if (characters.size() <= longestWholeTitle)
        return line;
    return QString::fromUcs4(reinterpret_cast<const char32_t*>(characters.constData()),
                             shortenedTitleLength) +
           QChar(0x2026);
}

} // namespace

std::optional<QString> fromPrompt(const QString& prompt) {
    QString text = prompt;
    const QString marker = QStringLiteral("## My request:");
    const qsizetype markerAt = text.indexOf(marker);
    if (markerAt >= 0)
        text = text.mid(markerAt + marker.size());
    for (const QString& rawLine : text.split(u'\n')) {
        const QString line = rawLine.trimmed();
        if (!line.isEmpty() && !line.startsWith(u'#'))
            return shortened(line);
    }
    return std::nullopt;
}

} // namespace corvane::SessionTitle
