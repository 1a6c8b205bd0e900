#pragma once

#include <QByteArray>
#include <QString>
#include <exception>

namespace corvane {

// An error whose message is written for the user and shown as it is. The errors of the services
// derive from it and add the case their callers branch on.
class MessageError : public std::exception {
public:
    explicit MessageError(const QString& message)
        : message_(message)
        , utf8_(message.toUtf8()) {}

    const QString& message() const { return message_; }
    const char* what() const noexcept override { return utf8_.constData(); }

private:
    QString message_;
    QByteArray utf8_;
};

} // namespace corvane
