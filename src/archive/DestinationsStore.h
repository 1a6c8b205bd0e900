#pragma once

#include "archive/ArchiveTypes.h"

#include <QList>
#include <QObject>
#include <optional>

namespace corvane {

// The servers the user saved as archive destinations, kept in the user defaults under
// "archiveDestinations" as a JSON array; every change saves the whole list. Never a password.
class DestinationsStore : public QObject {
    Q_OBJECT

public:
    static inline const QString settingsKey = QStringLiteral("archiveDestinations");
    static inline const QString defaultRemotePath = QStringLiteral("~/CorvaneArchive");

    // Loads the list (an absent or undecodable value is an empty list).
    explicit DestinationsStore(QObject* parent = nullptr);

    const QList<SavedDestination>& destinations() const { return destinations_; }
    // Appends a destination of `kind` with a fresh id, empty texts and "~/CorvaneArchive" as its
    // remote path; returns its id.
    QUuid add(SavedDestination::Kind kind);
    // Replaces the destination with `destination`'s id.
    void update(const SavedDestination& destination);
    void remove(const QUuid& id);
    std::optional<SavedDestination> named(const QString& name) const;

    static QByteArray encoded(const QList<SavedDestination>& destinations);
    static QList<SavedDestination> decoded(const QByteArray& json);

signals:
    void destinationsChanged();

private:
    void save();

    QList<SavedDestination> destinations_;
};

} // namespace corvane
