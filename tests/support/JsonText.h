#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <gtest/gtest.h>

namespace corvane::test {

// The JSON object a command printed; a failure of the test when it is not JSON.
inline QJsonObject parsed(const QString& text) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << text.toStdString();
    return document.object();
}

} // namespace corvane::test
