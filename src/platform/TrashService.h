#pragma once

#include "platform/PlatformTrash.h"

#include <QHash>
#include <QList>
#include <QString>
#include <optional>

namespace corvane {

// One item that stayed where it was, and why.
struct TrashFailure {
    // The item exactly as the caller passed it, not the resolved path.
    QString url;
    QString message;

    bool operator==(const TrashFailure&) const = default;
};

// Every item of a call ends in exactly one of the two lists, in the order it was given.
struct TrashOutcome {
    QList<QString> trashed;
    QList<TrashFailure> failures;
    // Where each trashed item now is in the Trash, by the item as it was given.
    QHash<QString, TrashLocation> locations;

    void append(const TrashOutcome& other);
    bool operator==(const TrashOutcome&) const = default;
};

// The one place that moves files to the user's Trash. It refuses anything that does not really
// lie inside the folder the caller names as the allowed area, and anything the user marked Keep
// (or that holds a kept folder), whatever area of the app asks; and it never deletes: an item the
// platform will not trash stays where it is. When the Keep marks can't be read, nothing moves.
struct TrashService {
    static inline const QString refusedOutsideMessage =
        QStringLiteral("Refused: resolves outside the scanned folder");
    static inline const QString goneMessage = QStringLiteral("No longer exists");
    static inline const QString keptMessage =
        QStringLiteral("Refused: marked Keep (remove the mark first to clean it)");

    // Blocking; run it off the main thread. Never throws: every problem is a failure of its item.
    static TrashOutcome trash(const QList<QString>& urls, const QString& root,
                              const PlatformTrash& platform = PlatformTrash::system());

    // What `trash` would refuse `url` for before asking the platform (outside the area, kept, or
    // gone), or nothing when the item would be handed to the platform's Trash. Moves nothing.
    static std::optional<QString> refusal(const QString& url, const QString& root);

    // Why `path` must not be removed because of the Keep marks (it is kept, holds a kept folder,
    // or the marks can't be read), or nothing. For removals that do not go through `trash` (a
    // folder renamed into staging first, say): call it before anything moves.
    static std::optional<QString> keepRefusal(const QString& path);

    // `path` made absolute with every symbolic link resolved and "." and ".." removed; the parts
    // that do not exist are kept as written.
    static QString canonicalPath(const QString& path);
};

} // namespace corvane
