#pragma once

#include "archive/ArchiveTypes.h"
#include "platform/OwnFile.h"

#include <QList>
#include <QObject>
#include <functional>
#include <optional>

namespace corvane {

// The servers the user saved as archive destinations, kept in the user defaults under
// "archiveDestinations" as a JSON array. Never a password. Every change is one read, change and
// write of the stored value under a lock (OwnFile), so the app and the command line never lose
// each other's destinations; a value that can't be read is kept as
// "archive-destinations.unreadable-<date>.json" in the support folder before a new list is begun.
class DestinationsStore : public QObject {
    Q_OBJECT

public:
    static inline const QString settingsKey = QStringLiteral("archiveDestinations");
    static inline const QString defaultRemotePath = QStringLiteral("~/CorvaneArchive");

    // Loads the list (an absent value is an empty list; see problem()).
    explicit DestinationsStore(QObject* parent = nullptr);

    // The destinations this version reads, as of the last load or change.
    const QList<SavedDestination>& destinations() const { return destinations_; }
    // Why the stored list, or part of it, could not be read; or what the last change could not
    // do. For the user.
    const std::optional<QString>& problem() const { return problem_; }
    // Appends a destination of `kind` with a fresh id, empty texts and "~/CorvaneArchive" as its
    // remote path; returns its id.
    QUuid add(SavedDestination::Kind kind);
    // Replaces the destination with `destination`'s id.
    void update(const SavedDestination& destination);
    void remove(const QUuid& id);
    std::optional<SavedDestination> named(const QString& name) const;

    static QByteArray encoded(const QList<SavedDestination>& destinations);

signals:
    void destinationsChanged();

private:
    // Changes the stored list and reloads it; signals a change when something was written.
    void change(const std::function<bool(QList<SavedDestination>&)>& edit);
    void reload();
    static OwnFile file();

    QList<SavedDestination> destinations_;
    std::optional<QString> problem_;
    QString notice_;
};

} // namespace corvane
