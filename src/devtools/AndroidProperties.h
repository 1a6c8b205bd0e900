#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

// Java properties as the Android SDK and the emulator write them ("source.properties",
// "config.ini", an AVD's ".ini" registration).
namespace corvane::AndroidProperties {

using Properties = QHash<QString, QString>;

// "key=value" or "key = value", ":" as an alternative separator, "#" and "!" comment lines.
Properties parse(const QByteArray& text);

// The file's properties; none when it is missing or can't be read. A file there that can't be
// read (or is over InputLimits::smallFileBytes) is added to `problems`, named.
Properties read(const QString& path, QStringList* problems = nullptr);

} // namespace corvane::AndroidProperties
