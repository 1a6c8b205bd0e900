#pragma once

#include "devtools/AndroidCatalog.h"
#include "platform/InventoryModel.h"

#include <QStringList>
#include <optional>

namespace corvane {

// The Android screen's model. Identifiers are paths: a package's folder, an AVD's ".avd"
// folder. Removal goes to the Trash; under the dry-run switch nothing moves.
class AndroidModel : public InventoryModel {
    Q_OBJECT

public:
    static inline const QString explanationText = QStringLiteral(
        "Emulators and SDK packages from Android Studio. Removing moves them to the Trash; "
        "Android Studio's SDK Manager can install any package again.");
    static inline const QString failuresHeading =
        QStringLiteral("Some Android items were not removed");
    static inline const QString confirmationNote = QStringLiteral(
        "Emulators lose their installed apps and data. SDK packages can be installed again from "
        "Android Studio's SDK Manager. The space comes back when you empty the Trash.");

    // What the last removal did, for the command line.
    struct Result {
        QStringList removed;
        QList<ItemFailure> failures;
        qint64 freedBytes = 0;
        QString message;
    };

    AndroidModel(ToastCenter& toasts, bool isDryRun = false,
                 const ProcessRunner& runner = ProcessRunner::system(),
                 const PlatformTrash& trash = PlatformTrash::system(), QObject* parent = nullptr);

    const AndroidInventory& inventory() const { return inventory_; }
    // The identifier of a listed item named by its path, or of an AVD by its name.
    std::optional<QString> itemID(const QString& nameOrPath) const;
    // Why the item cannot be removed (a Keep mark binds it, or Android needs it), as the screen
    // and the command line show it.
    std::optional<QString> removalBlockedReason(const QString& id) const;
    qint64 selectedBytes() const;

    void removeSelected();
    const std::optional<Result>& lastResult() const { return lastResult_; }

signals:
    void inventoryChanged();
    void actionFinished();

protected:
    void startLoading() override;
    bool containsItem(const QString& id) const override;
    QStringList pathsOfItem(const QString& id) const override;

private:
    const AndroidComponent* component(const QString& id) const;
    const AndroidAVD* avd(const QString& id) const;
    QString nameOf(const QString& id) const;
    void applyRemoval(const AndroidRemovalResult& outcome);
    void finish(Result result);

    const ProcessRunner& runner_;
    const PlatformTrash& trash_;
    AndroidInventory inventory_;
    std::optional<Result> lastResult_;
};

} // namespace corvane
