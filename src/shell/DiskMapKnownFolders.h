#pragma once

#include "scanning/DiskMapTypes.h"

#include <QHash>
#include <QString>

namespace corvane {

// The folders of `home` the app inventories, for the disk map's colours: the developer caches
// of the cache catalog, the coding agents' history and the local AI model stores. Reads the disk
// (the model stores' settings); call it off the main thread.
QHash<QString, MapCategory> diskMapKnownFolders(const QString& home);

} // namespace corvane
