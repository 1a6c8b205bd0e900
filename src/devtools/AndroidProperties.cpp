#include "devtools/AndroidProperties.h"

#include "platform/InputLimits.h"

#include <QFileInfo>
#include <QList>

namespace corvane::AndroidProperties {

Properties parse(const QByteArray& text) {
    Properties properties;
    const QList<QByteArray> lines = text.split('\n');
    for (const QByteArray& raw : lines) {
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.isEmpty() || line.startsWith(u'#') || line.startsWith(u'!'))
            continue;
        const qsizetype equals = line.indexOf(u'=');
        const qsizetype colon = line.indexOf(u':');
        qsizetype at = equals;
        if (at < 0 || (colon >= 0 && colon < at))
            at = colon;
        if (at <= 0)
            continue;
        properties.insert(line.left(at).trimmed(), line.mid(at + 1).trimmed());
    }
    return properties;
}

Properties read(const QString& path, QStringList* problems) {
    if (!QFileInfo::exists(path))
        return {};
    const InputLimits::FileRead file = InputLimits::readFile(path, InputLimits::smallFileBytes);
    if (!file.bytes) {
        if (problems)
            problems->append(InputLimits::refusal(path, file.problem));
        return {};
    }
    return parse(*file.bytes);
}

} // namespace corvane::AndroidProperties
