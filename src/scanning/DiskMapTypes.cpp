#include "scanning/DiskMapTypes.h"

namespace corvane {

const QList<MapCategory>& allMapCategories() {
    static const QList<MapCategory> categories{
        MapCategory::dependencies, MapCategory::buildOutput,    MapCategory::projectCache,
        MapCategory::virtualEnv,   MapCategory::developerCache, MapCategory::agentHistory,
        MapCategory::aiModels,     MapCategory::other};
    return categories;
}

QString mapCategoryName(MapCategory category) {
    switch (category) {
    case MapCategory::dependencies:
        return QStringLiteral("Dependencies");
    case MapCategory::buildOutput:
        return QStringLiteral("Build output");
    case MapCategory::projectCache:
        return QStringLiteral("Project caches");
    case MapCategory::virtualEnv:
        return QStringLiteral("Virtual environments");
    case MapCategory::developerCache:
        return QStringLiteral("Developer caches");
    case MapCategory::agentHistory:
        return QStringLiteral("Agent history");
    case MapCategory::aiModels:
        return QStringLiteral("AI models");
    case MapCategory::other:
        break;
    }
    return QStringLiteral("Other");
}

MapCategory mapCategoryOf(ArtifactKind kind) {
    switch (kind) {
    case ArtifactKind::dependencies:
        return MapCategory::dependencies;
    case ArtifactKind::buildOutput:
        return MapCategory::buildOutput;
    case ArtifactKind::cache:
        return MapCategory::projectCache;
    case ArtifactKind::virtualEnv:
        return MapCategory::virtualEnv;
    case ArtifactKind::wholeProject:
    case ArtifactKind::unknown:
        break;
    }
    return MapCategory::other;
}

} // namespace corvane
