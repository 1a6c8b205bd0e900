#pragma once

#include "scanning/ScanModel.h"

#include <QColor>
#include <QIcon>

namespace corvane {

// The colour that marks a git state at a glance: green when everything is committed and pushed,
// orange when work would be lost with the folder, yellow when git cannot vouch for it (no
// remote, no upstream), grey outside git.
QColor stateColor(const GitStatus& status);

// A small round badge of `stateColor`, for list rows.
QIcon stateIcon(const GitStatus& status);

} // namespace corvane
