#pragma once

#include "platform/OwnFile.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

namespace corvane {

// The folders the user marked Keep: whole projects or single items that no clean ever takes.
// Stored by absolute path in "keep.json" in the application's support folder, as a JSON array of
// standardized paths, sorted and without repeats:
//
//     ["/Users/me/Code/app", "/Users/me/Code/tool/vendor"]
//
// Every change goes through OwnFile (read, change and atomic replace under a lock), so the app and
// the command line never lose each other's marks. A file that cannot be read at all is never
// replaced: every change is refused with a message that says which file to fix. Entries this
// version cannot read are reported and kept; the readable marks still bind.
class KeepStore {
public:
    static inline const QString fileName = QStringLiteral("keep.json");

    // The marks in the application's support folder.
    KeepStore();
    explicit KeepStore(QString url);

    const QString& url() const { return url_; }

    struct Marks {
        // Sorted.
        QStringList paths;
        // Why the file could not be read (`paths` is empty then), or not all of it.
        std::optional<QString> error;
    };

    // The marks; none when the file does not exist.
    Marks load() const;

    // Each returns an empty string when the change is saved (or there was nothing to change),
    // else the message for the user. Paths are stored made absolute and standardized, as the
    // user reached them; they are compared by what they lead to (see below).
    QString add(const QString& path) const;
    QString remove(const QString& path) const;
    // The marks at or inside `from` move to the same places inside `to`, and a folder that was
    // kept by a kept folder around it takes a mark of its own to `to`: a moved project stays
    // kept.
    QString follow(const QString& from, const QString& to) const;

    // Whether a removal must leave the folder at `path` alone: it lies in a kept folder, or holds
    // one, which would go to the Trash with it. Compared by the folders' identity (links
    // resolved, case folded where the volume ignores it), so a folder kept through a linked path
    // is kept when reached through its real path and the other way round.
    static bool protects(const QStringList& marks, const QString& path);
    // Whether `path` lies in a kept folder (or is one), compared the same way.
    static bool isInsideKept(const QStringList& marks, const QString& path);

private:
    OwnFile file() const;
    QString update(const std::function<void(QStringList&)>& change) const;

    QString url_;
};

} // namespace corvane
