#pragma once

#include "organize/OrganizeTypes.h"
#include "platform/OwnFile.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QUuid>
#include <functional>
#include <optional>

namespace corvane {

// Every organize run, newest last, in "organize-journal.json" in the application's support
// folder: pretty-printed with sorted keys, changed as an own file (OwnFile) so that the app and
// the command line never lose each other's runs. A journal that can't be read is reported, and
// before the first save over it its bytes are kept beside it; runs this version can't read stay.
class OrganizeJournal {
public:
    // How many runs are kept; only the newest is offered for undo.
    static constexpr int keptRuns = 20;

    // The journal in the application's support folder.
    OrganizeJournal();
    explicit OrganizeJournal(QString url);

    const QString& url() const { return url_; }

    struct Contents {
        // Oldest first.
        QList<OrganizeRun> runs;
        // Why the journal could not be read, or not all of it, for the user.
        std::optional<QString> problem;
    };
    Contents read() const;
    // The runs this version reads, oldest first.
    QList<OrganizeRun> load() const { return read().runs; }
    // The newest run, if any.
    std::optional<OrganizeRun> lastRun() const;

    // Adds `run`, or replaces the run with its id (a run is saved after each of its moves).
    OwnFile::Outcome save(const OrganizeRun& run) const;
    // Removes the run with `id`; replaces it with `remaining` when given (the moves that did not
    // go back).
    OwnFile::Outcome remove(const QUuid& id,
                            const std::optional<OrganizeRun>& remaining = std::nullopt) const;

    // The JSON forms with the journal's keys.
    static QJsonObject runJson(const OrganizeRun& run);
    static QJsonObject moveJson(const MoveRecord& move);
    static std::optional<OrganizeRun> runFromJson(const QJsonObject& object);

private:
    OwnFile::Outcome update(const std::function<void(QList<OrganizeRun>&)>& change) const;
    OwnFile file() const;

    QString url_;
};

} // namespace corvane
