#pragma once

#include "agents/RelinkStep.h"

namespace corvane {

// Rewrites the folders named in the Claude desktop app's session records ("local_*.json") in
// place: only the path values change, every other byte of the record stays as it was.
struct DesktopRecordsStep {
    static void run(const RelinkContext& context);
};

} // namespace corvane
