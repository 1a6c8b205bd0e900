#include "devtools/OverviewAreas.h"

#include "platform/AreaCatalog.h"
#include "platform/ByteFormat.h"
#include "platform/CheckedSum.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

namespace corvane {
namespace {

// Starts a load of `model` unless it has one or runs one.
void loadOnce(InventoryModel& model) {
    if (!model.hasLoaded() && !model.isLoading())
        model.reload();
}

template <typename Model> bool isSettled(const Model& model) {
    return model.hasLoaded() && !model.isLoading();
}

// The scan's reclaimable and ticked totals, worked out again only after the session announced a
// change: the overview looks a few times a second for as long as the app runs, and with hard
// links counted a total is not a plain sum.
class ProjectTotals {
public:
    static std::shared_ptr<ProjectTotals> following(ScanSession& session) {
        auto totals = std::make_shared<ProjectTotals>(session);
        for (const auto signal :
             {&ScanSession::projectsChanged, &ScanSession::itemsByProjectChanged,
              &ScanSession::sizeByItemChanged, &ScanSession::selectedItemIDsChanged,
              &ScanSession::keptPathsChanged})
            QObject::connect(&session, signal, &session, [weak = std::weak_ptr(totals)] {
                if (const auto live = weak.lock())
                    live->current_.reset();
            });
        return totals;
    }

    explicit ProjectTotals(const ScanSession& session)
        : session_(session) {}

    qint64 reclaimable() { return current().first; }
    qint64 ticked() { return current().second; }

private:
    const std::pair<qint64, qint64>& current() {
        if (!current_)
            current_ = {session_.reclaimableBytes(), session_.selectedBytes()};
        return *current_;
    }

    const ScanSession& session_;
    std::optional<std::pair<qint64, qint64>> current_;
};

// The area's whole size beside what it could give back, when the guards keep some of it.
QString inAll(qint64 couldGo, qint64 whole) {
    return whole > couldGo ? formatBytes(whole) + QStringLiteral(" in all") : QString();
}

qint64 dockerWhole(const DockerSnapshot& snapshot) {
    qint64 images = 0;
    for (const DockerImage& image : snapshot.images)
        images = checkedSum(images, image.uniqueBytes);
    // Docker's own total counts the layers images share once, which their unique sizes leave out.
    qint64 total = checkedSum(std::max(snapshot.imageTotalBytes.value_or(0), images),
                              snapshot.buildCache.totalBytes);
    for (const DockerContainer& container : snapshot.containers)
        total = checkedSum(total, container.sizeBytes);
    for (const DockerVolume& volume : snapshot.volumes)
        total = checkedSum(total, volume.sizeBytes);
    return total;
}

qint64 androidWhole(const AndroidInventory& inventory) {
    qint64 total = 0;
    for (const AndroidComponent& component : inventory.components)
        total = checkedSum(total, component.sizeBytes);
    for (const AndroidAVD& avd : inventory.avds)
        total = checkedSum(total, avd.sizeBytes);
    return total;
}

} // namespace

qint64 OverviewFigures::docker(const DockerSnapshot& snapshot) {
    qint64 total = snapshot.buildCache.reclaimableBytes;
    for (const DockerImage& image : snapshot.images) {
        if (!DockerService::removalBlockedReason(image))
            total = checkedSum(total, image.uniqueBytes);
    }
    for (const DockerContainer& container : snapshot.containers) {
        if (!DockerService::removalBlockedReason(container))
            total = checkedSum(total, container.sizeBytes);
    }
    for (const DockerVolume& volume : snapshot.volumes) {
        if (!DockerService::removalBlockedReason(volume))
            total = checkedSum(total, volume.sizeBytes);
    }
    return total;
}

qint64 OverviewFigures::aiModels(const QList<AIModel>& models,
                                 const QHash<QString, QString>& openBy) {
    QList<AIModel> removable;
    for (const AIModel& model : models) {
        if (!model.isReadOnly && !openBy.contains(model.id))
            removable.append(model);
    }
    return AIModelCatalog::freedBy(removable, models);
}

qint64 OverviewFigures::android(const AndroidInventory& inventory) {
    qint64 total = 0;
    for (const AndroidComponent& component : inventory.components) {
        if (!AndroidCatalog::removalBlockedReason(component))
            total = checkedSum(total, component.sizeBytes);
    }
    for (const AndroidAVD& avd : inventory.avds) {
        if (!AndroidCatalog::removalBlockedReason(avd))
            total = checkedSum(total, avd.sizeBytes);
    }
    return total;
}

qint64 OverviewFigures::agents(const AgentStore& store) {
    return store.reclaimableBytes();
}

namespace {

// What each area with an entry on the overview reads from its model, by area id; the names and
// the order come from the table of areas.
QList<OverviewArea> figures(const OverviewSources& sources) {
    // Copied into every reader: the references it holds outlive the areas.
    const OverviewSources m = sources;
    const std::shared_ptr<ProjectTotals> totals = ProjectTotals::following(m.session);
    return {
        {Areas::projects,
         {},
         [] {},
         [m, totals]() -> std::optional<qint64> {
             if (!m.session.rootURL() || m.session.isScanning())
                 return std::nullopt;
             return totals->reclaimable();
         },
         [m] { return m.session.rootURL() ? QString() : QStringLiteral("No folder scanned yet"); },
         [totals] {
             const qint64 ticked = totals->ticked();
             return ticked > 0 ? formatBytes(ticked) + QStringLiteral(" ticked") : QString();
         }},
        {QStringLiteral("caches"),
         {},
         [m] { loadOnce(m.caches); },
         [m]() -> std::optional<qint64> {
             return isSettled(m.caches) ? std::optional<qint64>(m.caches.removableBytes())
                                        : std::nullopt;
         },
         [] { return QString(); }},
        {QStringLiteral("simulators"),
         {},
         [m] { loadOnce(m.simulators); },
         [m]() -> std::optional<qint64> {
             if (!isSettled(m.simulators) || m.simulators.loadError())
                 return std::nullopt;
             qint64 total = 0;
             for (const SimulatorRuntime& runtime : m.simulators.runtimes())
                 total += runtime.isDeletable ? runtime.sizeBytes : 0;
             for (const SimulatorDevice& device : m.simulators.devices())
                 total += device.dataSizeBytes;
             return total;
         },
         [m] {
             if (!isSettled(m.simulators) || !m.simulators.loadError())
                 return QString();
             return m.simulators.isXcodeMissing() ? SimulatorService::xcodeMissingText
                                                  : QStringLiteral("Simulators did not answer");
         }},
        {QStringLiteral("docker"),
         {},
         [m] { loadOnce(m.docker); },
         [m]() -> std::optional<qint64> {
             if (!isSettled(m.docker) || !m.docker.snapshot())
                 return std::nullopt;
             return OverviewFigures::docker(*m.docker.snapshot());
         },
         [m] {
             if (!isSettled(m.docker) || !m.docker.status())
                 return QString();
             switch (m.docker.status()->kind) {
             case DockerStatus::Case::notInstalled:
                 return QStringLiteral("Docker not installed");
             case DockerStatus::Case::notRunning:
                 return QStringLiteral("Docker not running");
             case DockerStatus::Case::running:
                 break;
             }
             return m.docker.loadError() ? QStringLiteral("Docker did not answer") : QString();
         },
         [m] {
             if (!isSettled(m.docker) || !m.docker.snapshot())
                 return QString();
             const DockerSnapshot& snapshot = *m.docker.snapshot();
             return inAll(OverviewFigures::docker(snapshot), dockerWhole(snapshot));
         }},
        {QStringLiteral("aiModels"),
         {},
         [m] { loadOnce(m.aiModels); },
         [m]() -> std::optional<qint64> {
             if (!isSettled(m.aiModels))
                 return std::nullopt;
             return OverviewFigures::aiModels(m.aiModels.models(), m.aiModels.openByMap());
         },
         [] { return QString(); },
         [m] {
             if (!isSettled(m.aiModels))
                 return QString();
             const QList<AIModel>& models = m.aiModels.models();
             return inAll(OverviewFigures::aiModels(models, m.aiModels.openByMap()),
                          AIModelCatalog::freedBy(models, models));
         }},
        {QStringLiteral("android"),
         {},
         [m] { loadOnce(m.android); },
         [m]() -> std::optional<qint64> {
             if (!isSettled(m.android))
                 return std::nullopt;
             return OverviewFigures::android(m.android.inventory());
         },
         [] { return QString(); },
         [m] {
             if (!isSettled(m.android))
                 return QString();
             return inAll(OverviewFigures::android(m.android.inventory()),
                          androidWhole(m.android.inventory()));
         }},
        {QStringLiteral("apps"),
         {},
         [m] { loadOnce(m.apps); },
         [m]() -> std::optional<qint64> {
             if (!isSettled(m.apps))
                 return std::nullopt;
             qint64 total = 0;
             for (const OrphanedAppData& orphan : m.apps.inventory().orphans)
                 total += orphan.sizeBytes();
             return total;
         },
         [] { return QString(); }},
        {QStringLiteral("agents"),
         {},
         [m] { loadOnce(m.agentStorage); },
         [m]() -> std::optional<qint64> {
             return isSettled(m.agentStorage)
                        ? std::optional<qint64>(OverviewFigures::agents(m.agentStorage.store()))
                        : std::nullopt;
         },
         [] { return QString(); },
         [m] {
             if (!isSettled(m.agentStorage))
                 return QString();
             return inAll(OverviewFigures::agents(m.agentStorage.store()),
                          m.agentStorage.store().totalBytes());
         }},
    };
}

} // namespace

QList<OverviewArea> overviewAreas(const OverviewSources& sources) {
    QList<OverviewArea> known = figures(sources);
    QList<OverviewArea> areas;
    for (const AreaRow& row : Areas::all()) {
        const auto figure =
            std::find_if(known.begin(), known.end(),
                         [&row](const OverviewArea& area) { return area.id == row.id; });
        if (!row.hasOverviewEntry() || figure == known.end())
            continue;
        figure->name = row.overviewName;
        areas.append(std::move(*figure));
    }
    return areas;
}

} // namespace corvane
