#pragma once

#include "devtools/SimulatorTypes.h"
#include "platform/MessageError.h"
#include "platform/ProcessRunner.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QSet>
#include <QStringList>
#include <exception>

namespace corvane {

// A simctl or xcodebuild run that failed: "simctl exited with <status>: <its error output>", or
// why it could not run.
class SimulatorServiceError : public MessageError {
public:
    enum class Case { failed, xcodeMissing };

    explicit SimulatorServiceError(const QString& message, Case kind = Case::failed)
        : MessageError(message)
        , kind_(kind) {}

    Case kind() const { return kind_; }

private:
    Case kind_;
};

// Runs simctl (through xcrun) and xcodebuild with their time limits and reads their JSON.
// Blocking; run it off the main thread. Every failure throws SimulatorServiceError.
struct SimulatorService {
    // The one wording of a missing Xcode, on the page, in the overview and on the command line.
    static inline const QString xcodeMissingText = QStringLiteral("Xcode not installed");

    const ProcessRunner* runner = &ProcessRunner::system();

    QList<SimulatorRuntime> runtimes() const;
    QList<SimulatorDevice> devices() const;
    // The SDK version each simulator platform builds against.
    QMap<SimPlatform, QString> sdkVersions() const;
    QSet<QString> installedRuntimeIDs() const;

    void shutDown(const QStringList& udids) const;
    // Runs nothing when `udids` is empty.
    void deleteDevices(const QStringList& udids) const;
    void erase(const QString& udid) const;
    void deleteRuntime(const QString& id) const;

    // The readers, public for their tests.
    static QList<SimulatorRuntime> parseRuntimes(const QByteArray& json);
    static QList<SimulatorDevice> parseDevices(const QByteArray& json);
    static QMap<SimPlatform, QString> parseSdkVersions(const QByteArray& json);
};

} // namespace corvane
