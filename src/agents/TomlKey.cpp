#include "agents/TomlKey.h"

namespace corvane::TomlKey {
namespace {

std::optional<char32_t> simpleEscape(QChar code) {
    switch (code.unicode()) {
    case u'"':
        return U'"';
    case u'\\':
        return U'\\';
    case u'b':
        return U'\b';
    case u't':
        return U'\t';
    case u'n':
        return U'\n';
    case u'f':
        return U'\f';
    case u'r':
        return U'\r';
    case u'e':
        return U'\x1b';
    default:
        return std::nullopt;
    }
}

// Reads the escape starting after the backslash at `index`; moves `index` past it.
std::optional<char32_t> escape(QStringView body, qsizetype& index) {
    const QChar code = body[index++];
    if (const std::optional<char32_t> simple = simpleEscape(code))
        return simple;
    const qsizetype digits = code == u'x' ? 2 : code == u'u' ? 4 : code == u'U' ? 8 : 0;
    if (digits == 0 || index + digits > body.size())
        return std::nullopt;
    bool ok = false;
    const uint value = body.mid(index, digits).toUInt(&ok, 16);
    index += digits;
    if (!ok || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
        return std::nullopt;
    return static_cast<char32_t>(value);
}

} // namespace

std::optional<QString> decoded(QStringView quoted) {
    if (quoted.size() < 2 || quoted.front() != quoted.back())
        return std::nullopt;
    const QStringView body = quoted.mid(1, quoted.size() - 2);
    if (quoted.front() == u'\'')
        return body.contains(u'\'') ? std::nullopt : std::optional<QString>(body.toString());
    if (quoted.front() != u'"')
        return std::nullopt;
    QString value;
    for (qsizetype index = 0; index < body.size();) {
        const QChar unit = body[index++];
        if (unit == u'"')
            return std::nullopt;
        if (unit != u'\\') {
            value += unit;
            continue;
        }
        if (index >= body.size())
            return std::nullopt;
        const std::optional<char32_t> character = escape(body, index);
        if (!character)
            return std::nullopt;
        value += QString::fromUcs4(&*character, 1);
    }
    return value;
}

QString basicString(const QString& text) {
    QString quoted = QStringLiteral("\"");
    for (const QChar unit : text) {
        const char16_t code = unit.unicode();
        if (code == u'"' || code == u'\\')
            quoted += u'\\' + QString(unit);
        else if (code == u'\n')
            quoted += QStringLiteral("\\n");
        else if (code == u'\t')
            quoted += QStringLiteral("\\t");
        else if (code < 0x20 || code == 0x7F)
            quoted += QStringLiteral("\\u%1").arg(uint(code), 4, 16, QLatin1Char('0'));
        else
            quoted += unit;
    }
    return quoted + u'"';
}

} // namespace corvane::TomlKey
