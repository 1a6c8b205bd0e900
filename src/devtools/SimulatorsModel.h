#pragma once

#include "devtools/RuntimeRemover.h"
#include "devtools/SimulatorService.h"
#include "platform/InventoryModel.h"

#include <QMap>
#include <QSet>
#include <optional>

namespace corvane {

// The Simulators screen's model: the runtimes and devices, the SDK versions of the current Xcode,
// the ticked runtimes (nothing is ticked after a load), deletion of ticked runtimes with the
// devices that run on them, and erasing a device. Deleting is permanent; under the dry-run switch
// nothing that changes a simulator runs.
class SimulatorsModel : public InventoryModel {
    Q_OBJECT

public:
    static inline const QString explanationText = QStringLiteral(
        "Runtimes are the OS images Xcode boots simulators from. Deleting one is permanent and "
        "skips the Trash, but any runtime can be downloaded again in Xcode > Settings > "
        "Components.");

    SimulatorsModel(ToastCenter& toasts, SimulatorService service = SimulatorService(),
                    bool isDryRun = false, QObject* parent = nullptr);

    const QList<SimulatorRuntime>& runtimes() const { return runtimes_; }
    const QList<SimulatorDevice>& devices() const { return devices_; }
    const QMap<SimPlatform, QString>& sdkVersions() const { return sdkVersions_; }
    const std::optional<QString>& loadError() const { return loadError_; }
    // The load failed because there is no Xcode to ask (loadError() says so in its one wording).
    bool isXcodeMissing() const { return isXcodeMissing_; }

    // Deletable and older than the SDK of its platform (none without an SDK entry).
    bool isOlderThanSDK(const SimulatorRuntime& runtime) const;
    // The runtime matching its platform's SDK: "current Xcode SDK".
    bool isCurrentSDK(const SimulatorRuntime& runtime) const;
    // "Select N Older Than SDK".
    QString selectOlderTitle() const;
    void selectOlderThanSDK();
    // The devices that run on `runtime`.
    QList<SimulatorDevice> devicesOn(const SimulatorRuntime& runtime) const;

    // "Delete N runtime(s)" and the text the confirmation shows for the ticked runtimes.
    QString deleteConfirmationTitle() const;
    QString deleteConfirmationText() const;
    void deleteSelected();
    void erase(const QString& udid);
    const QSet<QString>& deletingRuntimeIDs() const { return deletingRuntimeIDs_; }
    const QSet<QString>& erasingDeviceIDs() const { return erasingDeviceIDs_; }

    // The result of the last deletion and the toast it gave, for the command line.
    const std::optional<RuntimeRemover::Result>& lastResult() const { return lastResult_; }
    const QString& lastMessage() const { return lastMessage_; }
    // How the next deletion waits; tests shorten it.
    void setPolling(double interval, double timeout, std::function<void(double)> sleep = {});

signals:
    void inventoryChanged();
    void busyChanged();
    void actionFinished();

protected:
    void startLoading() override;
    bool containsItem(const QString& id) const override;
    // A runtime stands for the data of the devices that boot from it: deleting it deletes them.
    QStringList pathsOfItem(const QString& id) const override;

private:
    // The ticked runtimes, in list order.
    QList<SimulatorRuntime> selectedRuntimes() const;
    // The devices that deleting `doomed` takes away with them, grouped by the runtimes that must
    // all be deleted first.
    QList<RuntimeRemover::DeviceGroup> deviceGroups(const QList<SimulatorRuntime>& doomed) const;
    QList<SimulatorDevice> devicesLosing(const QList<SimulatorRuntime>& doomed) const;
    std::optional<SimulatorDevice> device(const QString& udid) const;
    // Why a Keep mark on the device's data stops it from being erased or deleted, or nothing.
    static std::optional<QString> keepRefusal(const SimulatorDevice& device);
    // `doomed` without the runtimes whose deletion would take a kept device; each of those is
    // added to `refused`.
    QList<SimulatorRuntime> sparingKeptDevices(QList<SimulatorRuntime> doomed,
                                               QList<ItemFailure>& refused) const;
    // `refused`: the runtimes held back before the deletion started.
    void applyRemoval(const RuntimeRemover::Result& result, const QList<ItemFailure>& refused);
    // Posts the action's toast, lists its failures, lists the inventory again after a real change.
    void finishAction(const QString& message, const QList<ItemFailure>& failures);

    SimulatorService service_;
    QList<SimulatorRuntime> runtimes_;
    QList<SimulatorDevice> devices_;
    QMap<SimPlatform, QString> sdkVersions_;
    std::optional<QString> loadError_;
    bool isXcodeMissing_ = false;
    QSet<QString> deletingRuntimeIDs_;
    QSet<QString> erasingDeviceIDs_;
    std::optional<RuntimeRemover::Result> lastResult_;
    QString lastMessage_;
    double pollInterval_ = 2;
    double timeout_ = 180;
    std::function<void(double)> sleep_;
};

} // namespace corvane
