#include "apps/DesktopEntry.h"

#include "platform/InputLimits.h"

#include <QHash>
#include <QStringList>

namespace corvane {

namespace {

// The value escapes of the desktop entry format: \s \n \t \r \\.
QString unescaped(const QString& value) {
    QString result;
    result.reserve(value.size());
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value.at(i);
        if (c != u'\\' || i + 1 == value.size()) {
            result += c;
            continue;
        }
        const QChar next = value.at(++i);
        switch (next.unicode()) {
        case u's':
            result += u' ';
            break;
        case u'n':
            result += u'\n';
            break;
        case u't':
            result += u'\t';
            break;
        case u'r':
            result += u'\r';
            break;
        default:
            result += next;
        }
    }
    return result;
}

// The "[Desktop Entry]" group's keys; a key given twice keeps its first value.
QHash<QString, QString> entryGroup(const QByteArray& text) {
    QHash<QString, QString> keys;
    bool inGroup = false;
    const QStringList lines = QString::fromUtf8(text).split(u'\n');
    for (const QString& raw : lines) {
        const QString line = raw.trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        if (line.startsWith(u'[')) {
            inGroup = line == QLatin1String("[Desktop Entry]");
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (!inGroup || equals <= 0)
            continue;
        const QString key = line.left(equals).trimmed();
        if (!keys.contains(key))
            keys.insert(key, unescaped(line.mid(equals + 1).trimmed()));
    }
    return keys;
}

// Exec's words: quoted words keep their spaces; a backslash escapes the next character.
QStringList words(const QString& exec) {
    QStringList result;
    QString word;
    bool quoted = false;
    bool inWord = false;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar c = exec.at(i);
        if (c == u'\\' && i + 1 < exec.size()) {
            word += exec.at(++i);
            inWord = true;
        } else if (c == u'"') {
            quoted = !quoted;
            inWord = true;
        } else if (c.isSpace() && !quoted) {
            if (inWord)
                result.append(word);
            word.clear();
            inWord = false;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (inWord)
        result.append(word);
    return result;
}

bool isTrue(const QString& value) {
    return value == QLatin1String("true");
}

} // namespace

QString DesktopEntry::programOf(const QString& exec) {
    const QStringList all = words(exec);
    qsizetype first = 0;
    if (first < all.size() &&
        (all[first] == QLatin1String("env") || all[first] == QLatin1String("/usr/bin/env"))) {
        ++first;
        while (first < all.size() && all[first].contains(u'=') && !all[first].startsWith(u'/'))
            ++first;
    }
    return first < all.size() ? all[first] : QString();
}

std::optional<DesktopEntry> DesktopEntry::parse(const QByteArray& text, const QString& path,
                                                const QString& id) {
    const QHash<QString, QString> keys = entryGroup(text);
    const QString name = keys.value(QStringLiteral("Name"));
    const bool hidden = isTrue(keys.value(QStringLiteral("Hidden")));
    // A hidden entry needs nothing else: it only says that the id is deleted.
    if (!hidden &&
        (keys.value(QStringLiteral("Type")) != QLatin1String("Application") || name.isEmpty()))
        return std::nullopt;
    DesktopEntry entry;
    entry.id = id;
    entry.path = path;
    entry.name = name;
    entry.program = programOf(keys.value(QStringLiteral("Exec")));
    entry.icon = keys.value(QStringLiteral("Icon"));
    entry.startupWMClass = keys.value(QStringLiteral("StartupWMClass"));
    entry.flatpakId = keys.value(QStringLiteral("X-Flatpak"));
    entry.snapName = keys.value(QStringLiteral("X-SnapInstanceName"));
    entry.appImageVersion = keys.value(QStringLiteral("X-AppImage-Version"));
    entry.noDisplay = isTrue(keys.value(QStringLiteral("NoDisplay")));
    entry.hidden = hidden;
    return entry;
}

std::optional<DesktopEntry> DesktopEntry::read(const QString& path, const QString& id,
                                               QString* problem) {
    // Desktop entries are a few kilobytes; a large file is not one.
    const InputLimits::FileRead file = InputLimits::readFile(path, InputLimits::smallFileBytes);
    if (!file.bytes) {
        if (problem)
            *problem = InputLimits::refusal(path, file.problem);
        return std::nullopt;
    }
    return parse(*file.bytes, path, id);
}

} // namespace corvane
