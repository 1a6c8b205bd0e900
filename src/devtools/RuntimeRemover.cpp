#include "devtools/RuntimeRemover.h"

#include "platform/Cancellation.h"

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
                                              const QStringList& bootedDeviceIDs,
                                              const QStringList& deviceIDs) const {
    Result result;
    if (runtimeIDs.isEmpty())
        return result;

    if (!bootedDeviceIDs.isEmpty()) {
        try {
            shutDown(bootedDeviceIDs);
        } catch (const CancelledError&) {
            throw;
        } catch (const std::exception&) {
            // A device that stopped by itself meanwhile refuses the shutdown; the deletion that
            // follows tells whether any device really stays.
        }
    }
    if (!deviceIDs.isEmpty()) {
        try {
            deleteDevices(deviceIDs);
        } catch (const CancelledError&) {
            throw;
        } catch (const std::exception& error) {
            // The runtimes stay, rather than leave devices behind that can never boot again.
            const QString message =
                QStringLiteral("Its devices could not be deleted: ") + messageOf(error);
            for (const QString& id : runtimeIDs)
                result.failed.insert(id, message);
            return result;
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

} // namespace corvane
