#pragma once

#include "scanning/ScanModel.h"

#include <QList>
#include <QString>
#include <QtGlobal>

namespace corvane {

// What the app knows a folder of the disk map to be; everything inside a known folder is the
// same. The artifact kinds come from the artifact catalog, the rest from the places the app
// inventories.
enum class MapCategory : quint8 {
    other,
    dependencies,
    buildOutput,
    projectCache,
    virtualEnv,
    developerCache,
    agentHistory,
    aiModels,
};

// Every category, in the order a legend lists them.
const QList<MapCategory>& allMapCategories();
QString mapCategoryName(MapCategory category);
MapCategory mapCategoryOf(ArtifactKind kind);

// One step of a disk map walk, as the walking thread reports it. Folders are numbered in the
// order they are entered; the walked folder is number 0.
struct MapEvent {
    enum class Kind : quint8 {
        // A folder was listed: `folder`, inside `parent`, with `name`, `category` and the bytes
        // of its own files. Its subfolders follow.
        entered,
        // `folder` and everything in it is measured.
        left,
        // A subfolder `name` of `parent` counts nothing, because of `message`; the walk goes on.
        skipped,
    };

    Kind kind = Kind::entered;
    quint32 folder = 0;
    quint32 parent = 0;
    MapCategory category = MapCategory::other;
    qint64 fileBytes = 0;
    QString name;
    QString message;
};

using MapEvents = QList<MapEvent>;

} // namespace corvane
