#include "platform/KeepStore.h"

#include "platform/JsonFile.h"
#include "platform/Locations.h"
#include "platform/PathIdentity.h"
#include "platform/Paths.h"

#include <QJsonArray>

namespace corvane {
namespace {

bool isMark(const QJsonValue& value) {
    return value.isString() && value.toString().startsWith(u'/');
}

std::optional<QString> markFrom(const QJsonValue& value) {
    return isMark(value) ? std::optional(Paths::standardized(value.toString())) : std::nullopt;
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

OwnFile KeepStore::file() const {
    return OwnFile(url_, QStringLiteral("The Keep marks"), {OwnFile::Layout::array, {}, isMark});
}

// A file that cannot be read at all protects nothing it still holds, so it is never started
// afresh: every change is refused until the user fixes it. Entries this version does not know
// leave the readable marks binding.
KeepStore::Marks KeepStore::load() const {
    const OwnFile::Contents contents = file().load();
    if (contents.state == OwnFile::State::unreadable)
        return {{},
                *contents.problem + QStringLiteral(" Until it is fixed or removed no Keep "
                                                   "mark can change.")};
    QStringList paths = decodedRecords<QString>(contents.records, markFrom);
    tidy(paths);
    return {paths, contents.problem};
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
        // A folder that leaves a kept folder around it was kept by that one: it takes a mark of
        // its own along, or the move would have quietly unkept it.
        const bool keptAround = !paths.contains(source) && isInsideKept(paths, source);
        for (QString& path : paths) {
            if (const std::optional<QString> inside = Paths::pathInside(path, source))
                path = Paths::joined(destination, *inside);
            else if (path == source)
                path = destination;
        }
        if (keptAround && !isInsideKept(paths, destination))
            paths.append(destination);
    });
}

QString KeepStore::update(const std::function<void(QStringList&)>& change) const {
    const auto changing = [&change](QList<QJsonValue>& records) {
        QStringList paths = decodedRecords<QString>(records, markFrom);
        tidy(paths);
        const QStringList before = paths;
        change(paths);
        tidy(paths);
        if (paths == before)
            return;
        records.clear();
        for (const QString& path : std::as_const(paths))
            records.append(path);
    };
    const OwnFile::Outcome outcome = file().update(changing, OwnFile::WhenUnreadable::refuse);
    return outcome.error.isEmpty() ? QString()
                                   : outcome.error + QStringLiteral(" No Keep mark "
                                                                    "changed.");
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
