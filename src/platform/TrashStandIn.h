#pragma once

#include "platform/PlatformTrash.h"

#include <QString>

namespace corvane {

// A plain folder standing in for the macOS Trash (see Locations::trashStandIn): the item, a link
// as the link, is renamed into `folder` under a free name ("name", then "name 2", ...) and the
// move is recorded as a real one is, by the resulting path and the item's identity there. The
// folder must be on the item's volume; nothing is ever copied.
TrashMove moveIntoStandIn(const QString& path, const QString& folder);

} // namespace corvane
