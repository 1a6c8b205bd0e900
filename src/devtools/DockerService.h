#pragma once

#include "devtools/DockerTypes.h"
#include "platform/MessageError.h"
#include "platform/ProcessRunner.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <exception>
#include <optional>

namespace corvane {

class DockerServiceError : public MessageError {
public:
    enum class Case { commandFailed, notInstalled };

    static DockerServiceError commandFailed(const QString& message) {
        return {Case::commandFailed, message};
    }
    static DockerServiceError notInstalled() {
        return {Case::notInstalled, QStringLiteral("The docker command was not found.")};
    }

    Case kind() const { return case_; }

private:
    DockerServiceError(Case kind, const QString& message)
        : MessageError(message)
        , case_(kind) {}

    Case case_;
};

// Runs the docker tool (Docker Desktop's, OrbStack's or Colima's) and reads its reports. Nothing
// here asks Docker to force anything: it refuses a running container or an image in use itself,
// and that refusal is a failure of that item. Blocking; run it off the main thread.
struct DockerService {
    const ProcessRunner* runner = &ProcessRunner::system();
    // The home folder the per-user tool locations are relative to.
    QString home;

    // The first executable of "/usr/local/bin/docker", "/opt/homebrew/bin/docker",
    // "/usr/bin/docker", "/Applications/Docker.app/Contents/Resources/bin/docker",
    // ~/.docker/bin/docker and ~/.orbstack/bin/docker; CORVANE_TOOL_DOCKER wins over all.
    std::optional<QString> toolPath() const;

    DockerStatus status() const;
    // The full report, the image listing grouped into references, and the image total. Throws
    // DockerServiceError.
    DockerSnapshot snapshot() const;

    // Each item on its own (images: one "rmi" with every reference of the image, or its id when
    // untagged); a failure does not stop the others.
    DockerBatchResult removeContainers(const QStringList& ids) const;
    DockerBatchResult removeImages(const QList<DockerImage>& images) const;
    DockerBatchResult removeVolumes(const QStringList& names) const;
    // "builder prune -f"; returns the bytes it says it freed. Throws DockerServiceError.
    qint64 pruneBuildCache() const;
    void startContainer(const QString& id) const;
    void stopContainer(const QString& id) const;

    // Why an item may not be removed, in the words the screen shows, or nothing.
    static std::optional<QString> removalBlockedReason(const DockerContainer& container);
    static std::optional<QString> removalBlockedReason(const DockerImage& image);
    static std::optional<QString> removalBlockedReason(const DockerVolume& volume);

    // The readers of Docker's texts, public for their tests.
    static std::optional<qint64> parseSize(const QString& text);
    static std::optional<QDateTime> parseDate(const QString& text);
    // "Docker returned an unexpected report." when it is not one.
    static DockerSnapshot parseReport(const QByteArray& json);
    // Image id -> every repository:tag naming it.
    static QHash<QString, QStringList> parseImageReferences(const QByteArray& jsonLines);
    static std::optional<qint64> parseImageTotal(const QByteArray& jsonLines);
    static std::optional<qint64> parsePrunedBytes(const QByteArray& output);
};

} // namespace corvane
