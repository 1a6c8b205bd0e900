#include "agents/OrderedJsonWriter.h"

#include <optional>

namespace corvane {
namespace {

bool hasUnpairedSurrogate(const QString& text) {
    for (qsizetype index = 0; index < text.size(); ++index) {
        const QChar unit = text[index];
        if (unit.isHighSurrogate() && index + 1 < text.size() && text[index + 1].isLowSurrogate())
            ++index;
        else if (unit.isSurrogate())
            return true;
    }
    return false;
}

} // namespace

std::optional<QByteArray> jsonStringLiteral(const QString& text) {
    if (hasUnpairedSurrogate(text))
        return std::nullopt;
    QByteArray literal = "\"";
    for (const char byte : text.toUtf8()) {
        const auto code = static_cast<unsigned char>(byte);
        switch (byte) {
        case '"':
            literal += "\\\"";
            break;
        case '\\':
            literal += "\\\\";
            break;
        case '\b':
            literal += "\\b";
            break;
        case '\f':
            literal += "\\f";
            break;
        case '\n':
            literal += "\\n";
            break;
        case '\r':
            literal += "\\r";
            break;
        case '\t':
            literal += "\\t";
            break;
        default:
            if (code < 0x20)
                literal += "\\u00" + QByteArray::number(code, 16).rightJustified(2, '0');
            else
                literal += byte;
        }
    }
    return literal + '"';
}

void OrderedJsonWriter::newline() {
    if (!indented_)
        return;
    out_ += '\n';
    out_ += QByteArray(depth_ * 4, ' ');
}

void OrderedJsonWriter::beforeValue() {
    if (afterKey_) {
        afterKey_ = false;
        return;
    }
    if (depth_ > 0) {
        if (!first_)
            out_ += ',';
        newline();
    }
    first_ = false;
}

void OrderedJsonWriter::open(char bracket) {
    beforeValue();
    out_ += bracket;
    ++depth_;
    first_ = true;
}

void OrderedJsonWriter::close(char bracket) {
    --depth_;
    if (!first_)
        newline();
    out_ += bracket;
    first_ = false;
}

void OrderedJsonWriter::beginObject() {
    open('{');
}

void OrderedJsonWriter::endObject() {
    close('}');
}

void OrderedJsonWriter::beginArray() {
    open('[');
}

void OrderedJsonWriter::endArray() {
    close(']');
}

void OrderedJsonWriter::key(const QString& name) {
    beforeValue();
    // Keys are our own field names: plain ASCII.
    out_ += jsonStringLiteral(name).value_or("\"\"");
    out_ += indented_ ? ": " : ":";
    afterKey_ = true;
}

void OrderedJsonWriter::value(const QString& text) {
    beforeValue();
    // An unpaired surrogate can't be written as UTF-8; Qt's conversion stands in U+FFFD for it.
    out_ += jsonStringLiteral(text).value_or(
        jsonStringLiteral(QString::fromUtf8(text.toUtf8())).value_or("\"\""));
}

void OrderedJsonWriter::value(int number) {
    beforeValue();
    out_ += QByteArray::number(number);
}

void OrderedJsonWriter::nullValue() {
    beforeValue();
    out_ += "null";
}

} // namespace corvane
