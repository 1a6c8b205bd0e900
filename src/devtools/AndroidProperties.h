#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

// Java properties as the Android SDK and the emulator write them ("source.properties",
// "config.ini", an AVD's ".ini" registration).
namespace corvane::AndroidProperties {

using Properties = QHash<QString, QString>;

// "key=value" or "key = value", ":" as an alternative separator, "#" and "!" comment lines.
Properties parse(const QByteArray& text);

// The file's properties; none when it can't be read.
Properties read(const QString& path);

} // namespace corvane::AndroidProperties
