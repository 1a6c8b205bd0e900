#include "platform/InputLimits.h"

#include <QFile>

namespace corvane::InputLimits {

FileRead readFile(const QString& path, qint64 limit) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {std::nullopt, file.errorString()};
    // One byte past the limit rather than the size it reports: a file can grow while it is read,
    // and a special file reports none.
    QByteArray bytes = file.read(limit + 1);
    if (file.error() != QFileDevice::NoError)
        return {std::nullopt, file.errorString()};
    if (bytes.size() > limit) {
        return {std::nullopt,
                QStringLiteral("it is larger than %1 MB, more than such a file can be")
                    .arg(limit / (1024 * 1024))};
    }
    return {std::move(bytes), {}};
}

} // namespace corvane::InputLimits
