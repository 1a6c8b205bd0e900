#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace corvane {

// Writes JSON text with members in the order they are given. Strings keep non-ASCII letters as
// UTF-8 and slashes unescaped. The caller keeps the calls balanced.
class OrderedJsonWriter {
public:
    explicit OrderedJsonWriter(bool indented)
        : indented_(indented) {}

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    void key(const QString& name);
    void value(const QString& text);
    void value(int number);
    void nullValue();

    QByteArray text() const { return indented_ ? out_ + '\n' : out_; }

private:
    void beforeValue();
    void open(char bracket);
    void close(char bracket);
    void newline();

    bool indented_;
    QByteArray out_;
    int depth_ = 0;
    bool first_ = true;
    bool afterKey_ = false;
};

// The JSON string literal of `text`, quotes included; nothing when `text` holds an unpaired
// surrogate, which has no UTF-8 form.
std::optional<QByteArray> jsonStringLiteral(const QString& text);

} // namespace corvane
