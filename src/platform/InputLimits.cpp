#include "platform/InputLimits.h"

#include <QFile>

namespace corvane::InputLimits {

FileRead readFile(const QString& path, qint64 limit) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {std::nullopt, file.errorString()};
    const QString tooLarge = QStringLiteral("it is larger than %1 MB, more than such a file can be")
                                 .arg(limit / (1024 * 1024));
    // The size first, so that a huge file is never read; then piece by piece, since a file can
    // grow meanwhile and a special file reports no size at all.
    if (file.size() > limit)
        return {std::nullopt, tooLarge};
    QByteArray bytes;
    char buffer[65536];
    for (;;) {
        const qint64 count = file.read(buffer, sizeof buffer);
        if (count < 0)
            return {std::nullopt, file.errorString()};
        if (count == 0)
            break;
        bytes.append(buffer, qsizetype(count));
        if (bytes.size() > limit)
            return {std::nullopt, tooLarge};
    }
    return {std::move(bytes), {}};
}

} // namespace corvane::InputLimits
