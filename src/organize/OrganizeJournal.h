#pragma once

#include "organize/OrganizeTypes.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QUuid>
#include <functional>
#include <optional>

namespace corvane {

// Every organize run, newest last, in "organize-journal.json" in the application's support
// folder: pretty-printed with sorted keys, replaced atomically, changed under a lock so that the
// app and the command line never lose each other's runs. A journal that can't be read counts as
// empty, and it is never overwritten: before the first save it is set aside beside the new one.
class OrganizeJournal {
public:
    // How many runs are kept; only the newest is offered for undo.
    static constexpr int keptRuns = 20;

    // The journal in the application's support folder.
    OrganizeJournal();
    explicit OrganizeJournal(QString url);

    const QString& url() const { return url_; }

    // The runs, oldest first; empty when the file is missing or unreadable.
    QList<OrganizeRun> load() const;
    // The newest run, if any.
    std::optional<OrganizeRun> lastRun() const;

    // Adds `run`, or replaces the run with its id (a run is saved after each of its moves).
    // Returns an empty string on success, else the message for the user.
    QString save(const OrganizeRun& run) const;
    // Removes the run with `id`; replaces it with `remaining` when given (the moves that did not
    // go back).
    QString remove(const QUuid& id,
                   const std::optional<OrganizeRun>& remaining = std::nullopt) const;

    // The JSON forms with the journal's keys.
    static QJsonObject runJson(const OrganizeRun& run);
    static QJsonObject moveJson(const MoveRecord& move);
    static std::optional<OrganizeRun> runFromJson(const QJsonObject& object);

private:
    QString update(const std::function<void(QList<OrganizeRun>&)>& change) const;

    QString url_;
};

} // namespace corvane
