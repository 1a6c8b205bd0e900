#include "platform/AreaCatalog.h"

#include <algorithm>

namespace corvane {

const QList<AreaRow>& Areas::all() {
    // id, name, icon, overview entry, command. A new area is one more row here, and its page.
    static const QList<AreaRow> table{
        {overview,
         QStringLiteral("Overview"),
         QStringLiteral("disk"),
         {},
         QStringLiteral("overview")},
        {projects, QStringLiteral("Projects"), QStringLiteral("folder"), QStringLiteral("Projects"),
         QStringLiteral("scan")},
        {QStringLiteral("caches"), QStringLiteral("Developer caches"), QStringLiteral("disk"),
         QStringLiteral("Developer caches"), QStringLiteral("caches")},
        {QStringLiteral("agents"), QStringLiteral("Coding agents"), QStringLiteral("info"),
         QStringLiteral("Coding agents"), QStringLiteral("agents")},
        {QStringLiteral("organize"),
         QStringLiteral("Organize"),
         QStringLiteral("link"),
         {},
         QStringLiteral("organize")},
        {QStringLiteral("archived"),
         QStringLiteral("Archived projects"),
         QStringLiteral("network"),
         {},
         QStringLiteral("archives")},
        {QStringLiteral("docker"), QStringLiteral("Docker"), QStringLiteral("computer"),
         QStringLiteral("Docker"), QStringLiteral("docker")},
        {QStringLiteral("simulators"), QStringLiteral("Simulators"), QStringLiteral("desktop"),
         QStringLiteral("Simulators"), QStringLiteral("simulators")},
        {QStringLiteral("android"), QStringLiteral("Android"), QStringLiteral("optical"),
         QStringLiteral("Android"), QStringLiteral("android")},
        {QStringLiteral("aiModels"), QStringLiteral("AI models"), QStringLiteral("details"),
         QStringLiteral("AI models"), QStringLiteral("models")},
        {QStringLiteral("apps"), QStringLiteral("Apps"), QStringLiteral("desktop"),
         QStringLiteral("App leftovers"), QStringLiteral("apps")},
        {QStringLiteral("diskMap"), QStringLiteral("Disk map"), QStringLiteral("contents"), {}, {}},
        {QStringLiteral("cleanups"),
         QStringLiteral("Cleanups"),
         QStringLiteral("trash"),
         {},
         QStringLiteral("history")},
    };
    return table;
}

int Areas::indexOf(const QString& id) {
    const QList<AreaRow>& table = all();
    const auto found = std::find_if(table.cbegin(), table.cend(),
                                    [&id](const AreaRow& area) { return area.id == id; });
    return found == table.cend() ? -1 : int(found - table.cbegin());
}

std::optional<AreaRow> Areas::find(const QString& id) {
    const int index = indexOf(id);
    return index < 0 ? std::nullopt : std::optional(all().at(index));
}

std::optional<int> Areas::shortcutDigit(const QString& id) {
    const int index = indexOf(id);
    return index >= 0 && index < 9 ? std::optional(index + 1) : std::nullopt;
}

QString Areas::menuTitle(const AreaRow& area) {
    QString title = area.name;
    for (qsizetype at = 0; at < title.size(); ++at) {
        if (at == 0 || title[at - 1] == u' ')
            title[at] = title[at].toUpper();
    }
    return title;
}

} // namespace corvane
