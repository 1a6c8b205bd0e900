#include "devtools/RuntimeRemover.h"

#include "platform/Cancellation.h"

#include <algorithm>
#include <exception>

namespace corvane {

namespace {

// simctl's words for a runtime whose image is already being taken away.
bool isAlreadyGoing(const QString& message) {
    return message.contains(QLatin1String("no matching images"), Qt::CaseInsensitive) ||
           message.contains(QLatin1String("no runtime disk images"), Qt::CaseInsensitive);
}

QString messageOf(const std::exception& error) {
    return QString::fromUtf8(error.what());
}

} // namespace

RuntimeRemover::Result RuntimeRemover::remove(const QStringList& runtimeIDs,
                                              const QList<DeviceGroup>& devices) const {
    Result result;
    if (runtimeIDs.isEmpty())
        return result;

    QStringList booted;
    for (const DeviceGroup& group : devices)
        booted += group.bootedUdids;
    if (!booted.isEmpty()) {
        try {
            shutDown(booted);
        } catch (const CancelledError&) {
            throw;
        } catch (const std::exception&) {
            // A device that stopped by itself meanwhile refuses the shutdown; the deletions that
            // follow tell whether anything really stays.
        }
    }

    QSet<QString> removing;
    for (const QString& id : runtimeIDs) {
        try {
            deleteRuntime(id);
        } catch (const CancelledError&) {
            throw;
        } catch (const std::exception& error) {
            if (!isAlreadyGoing(messageOf(error))) {
                result.failed.insert(id, messageOf(error));
                continue;
            }
        }
        removing.insert(id);
    }

    // A device outlives a runtime that could not be deleted, and can boot again from it.
    deleteDevicesOf(devices, result);
    removing = waitUntilGone(removing);

    for (const QString& id : runtimeIDs) {
        if (result.failed.contains(id) || result.removed.contains(id) ||
            result.stillRemoving.contains(id))
            continue;
        if (removing.contains(id))
            result.stillRemoving.append(id);
        else
            result.removed.append(id);
    }
    return result;
}

void RuntimeRemover::deleteDevicesOf(const QList<DeviceGroup>& groups, Result& result) const {
    for (const DeviceGroup& group : groups) {
        const bool runtimesDeleted =
            std::none_of(group.runtimeIDs.cbegin(), group.runtimeIDs.cend(),
                         [&](const QString& id) { return result.failed.contains(id); });
        if (!runtimesDeleted || group.udids.isEmpty())
            continue;
        try {
            deleteDevices(group.udids);
            result.deletedDevices += group.udids;
        } catch (const CancelledError&) {
            throw;
        } catch (const std::exception& error) {
            for (const QString& udid : group.udids)
                result.failedDevices.insert(udid, messageOf(error));
        }
    }
}

QSet<QString> RuntimeRemover::waitUntilGone(QSet<QString> removing) const {
    // macOS takes the image away in the background; only the listing tells when it is gone.
    // The clock is the sum of the sleeps, so a test's fake sleep drives it; at least one look
    // is always taken.
    const double step = pollInterval > 0 ? pollInterval : timeout;
    double elapsed = 0;
    while (!removing.isEmpty()) {
        if (sleep)
            sleep(step);
        elapsed += step;
        try {
            const QSet<QString> installed = installedIDs();
            removing.removeIf([&](const QString& id) { return !installed.contains(id); });
        } catch (const CancelledError&) {
            throw;
        } catch (const std::exception&) {
            // The listing failed this time; the next look asks again.
        }
        if (elapsed >= timeout || step <= 0)
            break;
    }
    return removing;
}

} // namespace corvane
