#pragma once

#include "platform/OverviewModel.h"
#include "shell/AppModels.h"

namespace corvane {

// The areas of the disk overview in their fixed order, each read through its model in `models`.
QList<OverviewArea> overviewAreas(AppModels& models);

} // namespace corvane
