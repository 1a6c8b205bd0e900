#include "platform/InputLimits.h"

#include <QFile>

namespace corvane::InputLimits {
namespace {

// "1 MB", "64 KB": the limits are whole binary units.
QString sizeText(qint64 bytes) {
    if (bytes >= 1024 * 1024 && bytes % (1024 * 1024) == 0)
        return QStringLiteral("%1 MB").arg(bytes / (1024 * 1024));
    if (bytes >= 1024 && bytes % 1024 == 0)
        return QStringLiteral("%1 KB").arg(bytes / 1024);
    return QStringLiteral("%1 bytes").arg(bytes);
}

} // namespace

FileRead readFile(const QString& path, qint64 limit) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {std::nullopt, file.errorString()};
    const QString tooLarge =
        QStringLiteral("it is larger than %1, more than such a file can be").arg(sizeText(limit));
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

Records split(const QByteArray& input, char separator, qsizetype lineLimit, qsizetype countLimit) {
    QList<QByteArray> records;
    qsizetype start = 0;
    // Each record is measured before it is copied: a huge line is refused without a copy of it.
    while (start <= input.size()) {
        qsizetype end = input.indexOf(separator, start);
        if (end < 0)
            end = input.size();
        if (const std::optional<QString> problem = tooLong(end - start, lineLimit))
            return {std::nullopt, *problem};
        // The empty rest after a last separator is no line of its own: a listing of exactly
        // `countLimit` lines, each ended, is read.
        const bool emptyRest = end == input.size() && start == end;
        if (const std::optional<QString> problem = tooManyRecords(records.size() + 1, countLimit);
            problem && !emptyRest)
            return {std::nullopt, *problem};
        records.append(input.mid(start, end - start));
        start = end + 1;
    }
    return {std::move(records), {}};
}

std::optional<QString> tooLong(qsizetype length, qsizetype lineLimit) {
    if (length <= lineLimit)
        return std::nullopt;
    return QStringLiteral("a line is longer than %1, more than such a line can be")
        .arg(sizeText(lineLimit));
}

std::optional<QString> tooManyRecords(qsizetype count, qsizetype countLimit) {
    if (count <= countLimit)
        return std::nullopt;
    return QStringLiteral("it holds more than %1 entries, more than such a listing can be")
        .arg(countLimit);
}

QString refusal(const QString& source, const QString& problem) {
    return QStringLiteral("Could not read %1: %2").arg(source, problem);
}

} // namespace corvane::InputLimits
