#pragma once

#include <QList>
#include <QString>
#include <optional>

namespace corvane {

// One area of the app: what the sidebar, the overview, the menus and the command line all know
// it by. Written once, in the table below; the rows' order is the sidebar's and the overview's.
struct AreaRow {
    // The key of the area everywhere: the window's place, the overview's entry, saved settings.
    QString id;
    // Its name in the sidebar, in sentence case ("Developer caches").
    QString name;
    // The picture the sidebar shows beside the name; the window turns it into an icon.
    QString iconKey;
    // Its entry on the overview, saying what it could give back; empty when it has none.
    QString overviewName;
    // The `corvane` subcommand that lists it; empty when there is none.
    QString command;

    bool hasOverviewEntry() const { return !overviewName.isEmpty(); }
    bool operator==(const AreaRow&) const = default;
};

namespace Areas {

// Every area, in the sidebar's order.
const QList<AreaRow>& all();
// The row of `id`; nothing for an id that names no area (a setting saved by an older version).
std::optional<AreaRow> find(const QString& id);
// Where `id` stands in the table, or -1.
int indexOf(const QString& id);
// The digit of the area's Ctrl shortcut: the first nine areas get 1 to 9, in order.
std::optional<int> shortcutDigit(const QString& id);
// The name as a menu writes it, each word capitalised ("Developer Caches").
QString menuTitle(const AreaRow& area);

// The ids the rest of the app names directly.
inline const QString overview = QStringLiteral("overview");
inline const QString projects = QStringLiteral("projects");

} // namespace Areas

} // namespace corvane
