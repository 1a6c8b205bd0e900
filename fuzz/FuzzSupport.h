#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>

// What the fuzz targets share: the input as Qt bytes, and a scratch folder for readers that only
// take a path.
namespace corvane::fuzz {

inline QByteArray bytes(const uint8_t* data, size_t size) {
    return QByteArray(reinterpret_cast<const char*>(data), qsizetype(size));
}

inline const QTemporaryDir& scratch() {
    static const QTemporaryDir folder;
    return folder;
}

// Writes the input to `name` inside the scratch folder and returns its path.
inline QString scratchFile(const QString& name, const QByteArray& contents) {
    const QString path = scratch().filePath(name);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(contents);
    return path;
}

} // namespace corvane::fuzz
