#include "agents/TomlSyntax.h"

#include "agents/TomlKey.h"
#include "platform/InputLimits.h"

#include <QRegularExpression>
#include <QSet>
#include <QStringList>

namespace corvane::TomlSyntax {
namespace {

struct Invalid {
    QString reason;
};

// A recursive-descent reader over the whole text that throws Invalid at the first fault.
class Reader {
public:
    explicit Reader(QStringView text)
        : text_(text) {}

    void document();
    int line() const { return static_cast<int>(text_.left(pos_).count(u'\n')) + 1; }

private:
    bool atEnd() const { return pos_ >= text_.size(); }
    QChar peek(qsizetype ahead = 0) const {
        return pos_ + ahead < text_.size() ? text_[pos_ + ahead] : QChar();
    }
    bool startsWith(QStringView token) const { return text_.mid(pos_).startsWith(token); }
    [[noreturn]] static void fail(const QString& reason) { throw Invalid{reason}; }

    void spaces();
    void spacesCommentsAndNewlines();
    void endOfLine();
    QString key();
    QString simpleKey();
    QString quoted(QChar quote);
    void multiline(QStringView delimiter);
    void value();
    void array();
    void inlineTable();
    void bareValue();
    void table();
    void enter();

    QStringView text_;
    qsizetype pos_ = 0;
    // Arrays and inline tables open around the current value: the reader descends by recursion,
    // so a text of nothing but "[" must not take the stack with it.
    int depth_ = 0;
    QSet<QString> tables_;
};

void Reader::spaces() {
    while (peek() == u' ' || peek() == u'\t')
        ++pos_;
}

void Reader::spacesCommentsAndNewlines() {
    for (;;) {
        spaces();
        if (peek() == u'#') {
            while (!atEnd() && peek() != u'\n')
                ++pos_;
        } else if (peek() == u'\n') {
            ++pos_;
        } else if (peek() == u'\r' && peek(1) == u'\n') {
            pos_ += 2;
        } else {
            return;
        }
    }
}

void Reader::endOfLine() {
    spaces();
    if (peek() == u'#') {
        while (!atEnd() && peek() != u'\n')
            ++pos_;
    }
    if (peek() == u'\r' && peek(1) == u'\n')
        ++pos_;
    if (!atEnd() && peek() != u'\n')
        fail(QStringLiteral("unexpected text after a value or table header"));
}

QString Reader::quoted(QChar quote) {
    const qsizetype start = pos_++;
    while (!atEnd() && peek() != quote && peek() != u'\n') {
        if (quote == u'"' && peek() == u'\\')
            ++pos_;
        ++pos_;
    }
    if (peek() != quote)
        fail(QStringLiteral("a string is not closed"));
    ++pos_;
    const std::optional<QString> decoded = TomlKey::decoded(text_.mid(start, pos_ - start));
    if (!decoded)
        fail(QStringLiteral("a string is malformed"));
    return *decoded;
}

void Reader::multiline(QStringView delimiter) {
    const qsizetype close = text_.indexOf(delimiter, pos_ + 3);
    if (close < 0)
        fail(QStringLiteral("a multi-line string is not closed"));
    pos_ = close + 3;
    // Up to two quotes of the string's own may stand right before the closing three.
    for (int extra = 0; extra < 2 && peek() == delimiter.front(); ++extra)
        ++pos_;
}

QString Reader::simpleKey() {
    if (peek() == u'"' || peek() == u'\'')
        return quoted(peek());
    const qsizetype start = pos_;
    while ((peek().isLetterOrNumber() && peek().unicode() < 128) || peek() == u'_' ||
           peek() == u'-')
        ++pos_;
    if (pos_ == start)
        fail(QStringLiteral("a key is missing or malformed"));
    return text_.mid(start, pos_ - start).toString();
}

QString Reader::key() {
    QStringList parts;
    for (;;) {
        spaces();
        parts.append(simpleKey());
        spaces();
        if (peek() != u'.')
            return parts.join(QChar(0x1f));
        ++pos_;
    }
}

void Reader::bareValue() {
    static const QRegularExpression scalar(QStringLiteral(
        R"((?:true|false|[+-]?(?:inf|nan)|0x[0-9A-Fa-f](?:_?[0-9A-Fa-f])*|0o[0-7](?:_?[0-7])*)"
        R"(|0b[01](?:_?[01])*)"
        R"(|\d{4}-\d{2}-\d{2}(?:[Tt ]\d{2}:\d{2}(?::\d{2}(?:\.\d+)?)?(?:[Zz]|[+-]\d{2}:\d{2})?)?)"
        R"(|\d{2}:\d{2}(?::\d{2}(?:\.\d+)?)?)"
        R"(|[+-]?(?:0|[1-9](?:_?\d)*)(?:\.\d(?:_?\d)*)?(?:[eE][+-]?\d(?:_?\d)*)?))"
        R"((?=[ \t\r\n,\]}#]|$))"));
    const QRegularExpressionMatch match =
        scalar.match(text_, pos_, QRegularExpression::NormalMatch,
                     QRegularExpression::AnchorAtOffsetMatchOption);
    if (!match.hasMatch())
        fail(QStringLiteral("a value is malformed"));
    pos_ = match.capturedEnd();
}

void Reader::enter() {
    if (++depth_ > InputLimits::nestingDepth)
        fail(QStringLiteral("values nest deeper than %1 levels").arg(InputLimits::nestingDepth));
    ++pos_;
}

void Reader::array() {
    enter();
    for (;;) {
        spacesCommentsAndNewlines();
        if (peek() == u']')
            break;
        value();
        spacesCommentsAndNewlines();
        if (peek() == u',') {
            ++pos_;
            continue;
        }
        if (peek() != u']')
            fail(QStringLiteral("an array is not closed"));
        break;
    }
    ++pos_;
    --depth_;
}

void Reader::inlineTable() {
    enter();
    spaces();
    QSet<QString> keys;
    if (peek() == u'}') {
        ++pos_;
        --depth_;
        return;
    }
    for (;;) {
        const QString name = key();
        if (keys.contains(name))
            fail(QStringLiteral("a key is defined twice"));
        keys.insert(name);
        if (peek() != u'=')
            fail(QStringLiteral("a key has no value"));
        ++pos_;
        spaces();
        value();
        spaces();
        if (peek() == u'}') {
            ++pos_;
            --depth_;
            return;
        }
        if (peek() != u',')
            fail(QStringLiteral("an inline table is not closed"));
        ++pos_;
    }
}

void Reader::value() {
    if (startsWith(u"\"\"\""))
        return multiline(u"\"\"\"");
    if (startsWith(u"'''"))
        return multiline(u"'''");
    if (peek() == u'"' || peek() == u'\'') {
        quoted(peek());
        return;
    }
    if (peek() == u'[')
        return array();
    if (peek() == u'{')
        return inlineTable();
    bareValue();
}

void Reader::table() {
    const bool arrayOfTables = peek(1) == u'[';
    pos_ += arrayOfTables ? 2 : 1;
    const QString name = key();
    if (!startsWith(arrayOfTables ? u"]]" : u"]"))
        fail(QStringLiteral("a table header is not closed"));
    pos_ += arrayOfTables ? 2 : 1;
    if (!arrayOfTables) {
        if (tables_.contains(name))
            fail(QStringLiteral("a table is defined twice"));
        tables_.insert(name);
    }
}

void Reader::document() {
    if (peek() == QChar(0xFEFF)) // a byte order mark some editors write
        ++pos_;
    for (;;) {
        spacesCommentsAndNewlines();
        if (atEnd())
            return;
        if (peek() == u'[') {
            table();
        } else {
            key();
            if (peek() != u'=')
                fail(QStringLiteral("a key has no value"));
            ++pos_;
            spaces();
            value();
        }
        endOfLine();
    }
}

} // namespace

std::optional<QString> problem(QStringView text) {
    Reader reader(text);
    try {
        reader.document();
    } catch (const Invalid& invalid) {
        return QStringLiteral("line %1: %2").arg(reader.line()).arg(invalid.reason);
    }
    return std::nullopt;
}

} // namespace corvane::TomlSyntax
