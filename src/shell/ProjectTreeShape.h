#pragma once

#include "scanning/ScanSessionTypes.h"

#include <functional>

// Narrowing and ordering the nested project list before it is shown.
namespace corvane::ProjectTreeShape {

// The projects whose name or folder holds `needle` (case aside) with everything inside them, and
// the projects above them, so that a match is always shown where it lives.
QList<ProjectNode> narrowed(const QList<ProjectNode>& nodes, const QString& needle);

// Orders every level by `less`; projects it does not tell apart keep their order.
void sortLevels(QList<ProjectNode>& nodes,
                const std::function<bool(const Project&, const Project&)>& less);

} // namespace corvane::ProjectTreeShape
