#include "shell/ProjectTreeShape.h"

#include "shell/ListOrder.h"

#include <algorithm>

namespace corvane::ProjectTreeShape {

QList<ProjectNode> narrowed(const QList<ProjectNode>& nodes, const QString& needle) {
    QList<ProjectNode> kept;
    for (const ProjectNode& node : nodes) {
        if (ListOrder::matches(needle, node.project.name, node.project.url)) {
            kept.append(node);
            continue;
        }
        if (!node.children)
            continue;
        QList<ProjectNode> children = narrowed(*node.children, needle);
        if (children.isEmpty())
            continue;
        ProjectNode around = node;
        around.children = std::move(children);
        kept.append(std::move(around));
    }
    return kept;
}

void sortLevels(QList<ProjectNode>& nodes,
                const std::function<bool(const Project&, const Project&)>& less) {
    std::stable_sort(
        nodes.begin(), nodes.end(),
        [&less](const ProjectNode& a, const ProjectNode& b) { return less(a.project, b.project); });
    for (ProjectNode& node : nodes) {
        if (node.children)
            sortLevels(*node.children, less);
    }
}

} // namespace corvane::ProjectTreeShape
