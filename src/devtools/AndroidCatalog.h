#pragma once

#include "devtools/AndroidTypes.h"
#include "platform/Cancellation.h"
#include "platform/PlatformTrash.h"
#include "platform/ProcessRunner.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

struct AndroidRemovalFailure {
    // The item's url, as it was passed in.
    QString url;
    QString name;
    QString message;

    bool operator==(const AndroidRemovalFailure&) const = default;
};

// Every item of a removal ends in exactly one of the two lists.
struct AndroidRemovalResult {
    // Urls of the items now in the Trash.
    QStringList removed;
    QList<AndroidRemovalFailure> failures;
    // The listed sizes of the removed items.
    qint64 freedBytes = 0;
};

// The Android SDK and the emulators (AVDs) that Android Studio keeps: where they are, what they
// hold, whether an emulator runs, and their removal to the Trash. Blocking; run it off the main
// thread.
namespace AndroidCatalog {

// What the running check reports when it cannot tell.
inline const QString lsofIncompleteText = QStringLiteral("lsof could not inspect all AVD files");
inline const QString invalidProcessIDText = QStringLiteral("lsof returned an invalid process ID");
inline const QString processChangedText =
    QStringLiteral("a process changed during inspection; try again");

// "ANDROID_HOME", else "ANDROID_SDK_ROOT", else Android Studio's default in the home folder
// ("Library/Android/sdk" on macOS, "Android/Sdk" elsewhere).
QString sdkRoot();
// "ANDROID_AVD_HOME", else ".android/avd" in the home folder.
QString avdHome();
// The ".android" folder in the home folder, which "path.rel" of a registration starts from.
QString androidUserDir();

// Lists and measures the SDK packages and the AVDs, and checks which AVDs run. An AVD whose
// check fails is listed as not running; removal checks again and refuses.
AndroidInventory inventory(const ProcessRunner& runner = ProcessRunner::system(),
                           const CancellationToken& cancellation = {});

// Whether a process named like an emulator ("emulator…", "qemu-…", "qemu") holds the AVD's disk
// images or snapshot files open. Throws AndroidCatalogError::processCheckFailed when lsof or ps
// give no clear answer.
bool isRunning(const QString& avdFolder, const ProcessRunner& runner = ProcessRunner::system());

// Why the screen cannot offer the item for removal, from what the listing knows; removal checks
// again from disk.
std::optional<QString> removalBlockedReason(const AndroidComponent& component);
std::optional<QString> removalBlockedReason(const AndroidAVD& avd);

// Moves the items to the Trash, each after it is found again on disk as listed and passes the
// guards: inside the SDK root or the AVD home, not a required package, not an image an AVD
// uses, not a running AVD. An AVD goes with its ".ini" registration. The items are first moved
// into a staging folder ".android-trash-<UUID>" beside them (one per folder they share), which
// is renamed "Android items removed by Corvane Clean <date>" and goes to the Trash as one
// folder; when the Trash refuses it, each item is moved back to where it was. A dry run makes
// every check and moves nothing: `removed` then lists what a real run would move.
AndroidRemovalResult remove(const QList<AndroidComponent>& components,
                            const QList<AndroidAVD>& avds,
                            const ProcessRunner& runner = ProcessRunner::system(),
                            const PlatformTrash& trash = PlatformTrash::system(),
                            bool dryRun = false);

} // namespace AndroidCatalog
} // namespace corvane
