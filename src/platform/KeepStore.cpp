#include "platform/KeepStore.h"

#include "platform/JsonFile.h"
#include "platform/Locations.h"
#include "platform/PathIdentity.h"
#include "platform/Paths.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>

namespace corvane {
namespace {

QString unreadableMessage(const QString& url) {
    return QStringLiteral("%1 could not be read as a list of folder paths. Fix or remove it; "
                          "until then no Keep mark can change.")
        .arg(url);
}

// The paths of the document, or nothing when any entry is not an absolute path: a file this
// version cannot fully read is left alone rather than rewritten without what it could not read.
std::optional<QStringList> pathsOf(const QJsonValue& document) {
    if (!document.isArray())
        return std::nullopt;
    QStringList paths;
    for (const QJsonValue& entry : document.toArray()) {
        if (!entry.isString() || !entry.toString().startsWith(u'/'))
            return std::nullopt;
        paths.append(Paths::standardized(entry.toString()));
    }
    return paths;
}

void tidy(QStringList& paths) {
    paths.sort();
    paths.removeDuplicates();
}

} // namespace

KeepStore::KeepStore()
    : KeepStore(Paths::joined(Locations::appSupportDir(), fileName)) {}

KeepStore::KeepStore(QString url)
    : url_(std::move(url)) {}

KeepStore::Marks KeepStore::load() const {
    if (!QFileInfo::exists(url_))
        return {};
    const std::optional<QJsonValue> document = JsonFile::read(url_);
    std::optional<QStringList> paths = document ? pathsOf(*document) : std::nullopt;
    if (!paths)
        return {{}, unreadableMessage(url_)};
    tidy(*paths);
    return {*paths, std::nullopt};
}

QString KeepStore::add(const QString& path) const {
    const QString mark = Paths::absoluteStandardized(path);
    return update([&mark](QStringList& paths) { paths.append(mark); });
}

QString KeepStore::remove(const QString& path) const {
    const QString mark = Paths::absoluteStandardized(path);
    // The mark goes under whichever spelling of the folder it was made.
    return update([&mark](QStringList& paths) {
        paths.removeIf([&mark](const QString& kept) {
            return kept == mark || PathIdentity::same(kept, mark);
        });
    });
}

QString KeepStore::follow(const QString& from, const QString& to) const {
    const QString source = Paths::standardized(from);
    const QString destination = Paths::standardized(to);
    return update([&](QStringList& paths) {
        for (QString& path : paths) {
            if (const std::optional<QString> inside = Paths::pathInside(path, source))
                path = Paths::joined(destination, *inside);
            else if (path == source)
                path = destination;
        }
    });
}

QString KeepStore::update(const std::function<void(QStringList&)>& change) const {
    const JsonFile::Lock lock(url_);
    if (!lock.problem().isEmpty())
        return lock.problem();
    // Read again under the lock: another process may have changed the marks meanwhile.
    Marks marks = load();
    if (marks.error)
        return *marks.error;
    const QStringList before = marks.paths;
    change(marks.paths);
    tidy(marks.paths);
    if (marks.paths == before)
        return {};
    QJsonArray array;
    for (const QString& path : std::as_const(marks.paths))
        array.append(path);
    return JsonFile::write(url_, array);
}

bool KeepStore::isInsideKept(const QStringList& marks, const QString& path) {
    return std::any_of(marks.cbegin(), marks.cend(),
                       [&path](const QString& mark) { return PathIdentity::isInside(path, mark); });
}

bool KeepStore::protects(const QStringList& marks, const QString& path) {
    return std::any_of(marks.cbegin(), marks.cend(), [&path](const QString& mark) {
        return PathIdentity::isInside(path, mark) || PathIdentity::isInside(mark, path);
    });
}

} // namespace corvane
