#pragma once

#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>

namespace corvane {

// Deletes simulator runtimes and waits for the system to finish: macOS removes a runtime's disk
// image in the background, so a runtime counts as removed only once it is no longer listed. The
// operations are handed in, so that tests drive the polling with a clock of their own.
struct RuntimeRemover {
    enum class Phase { failed, removing, removed };

    // Devices that boot from the runtimes named: they go only once every one of those runtimes
    // was deleted, so that a runtime that stays keeps its devices.
    struct DeviceGroup {
        QStringList runtimeIDs;
        QStringList udids;
        QStringList bootedUdids;
    };

    struct Result {
        QStringList removed;
        QStringList stillRemoving;
        // Runtime id -> the error text.
        QMap<QString, QString> failed;
        // Every device deleted, also those of a runtime macOS is still removing.
        QStringList deletedDevices;
        // Device udid -> the error text.
        QMap<QString, QString> failedDevices;

        bool operator==(const Result&) const = default;
    };

    std::function<void(const QStringList& udids)> shutDown;
    std::function<void(const QStringList& udids)> deleteDevices;
    // Throws std::exception (its what() is the message) when the deletion fails.
    std::function<void(const QString& runtimeID)> deleteRuntime;
    std::function<QSet<QString>()> installedIDs;
    std::function<void(double seconds)> sleep;
    double pollInterval = 2;
    double timeout = 180;

    // Shuts down the booted devices of the groups, deletes each runtime ("no matching images" and
    // "no runtime disk images" are not failures: the runtime is already going), deletes the
    // devices of each group whose runtimes were all deleted, then polls until no runtime is left
    // or the time is up.
    Result remove(const QStringList& runtimeIDs, const QList<DeviceGroup>& devices = {}) const;

private:
    void deleteDevicesOf(const QList<DeviceGroup>& groups, Result& result) const;
    QSet<QString> waitUntilGone(QSet<QString> removing) const;
};

} // namespace corvane
