#pragma once

// What the archive's tests share: readable failure messages for its values.

#include "archive/ArchiveService.h"

#include <ostream>

namespace corvane {

inline void PrintTo(const ArchiveEvent& event, std::ostream* out) {
    static const char* const kinds[] = {"progress", "verifying", "finished", "failed"};
    *out << kinds[static_cast<int>(event.kind)] << '(' << event.copiedBytes << ", "
         << event.totalBytes << ", \"" << event.currentPath.toStdString() << "\", \""
         << event.text.toStdString() << "\")";
}

inline void PrintTo(const ArchiveCounts& counts, std::ostream* out) {
    *out << counts.files << " files / " << counts.bytes << " bytes / " << counts.topLevelEntries
         << " entries";
}

} // namespace corvane
