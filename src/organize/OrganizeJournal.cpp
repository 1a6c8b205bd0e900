#include "organize/OrganizeJournal.h"

#include "platform/JsonFile.h"
#include "platform/Locations.h"
#include "platform/Paths.h"

#include <QJsonArray>

namespace corvane {
namespace {

const QString fileName = QStringLiteral("organize-journal.json");

QJsonArray arrayOf(const QStringList& texts) {
    QJsonArray array;
    for (const QString& text : texts)
        array.append(text);
    return array;
}

QStringList textsOf(const QJsonValue& value) {
    QStringList texts;
    const QJsonArray array = value.toArray();
    for (const QJsonValue& entry : array) {
        if (entry.isString())
            texts.append(entry.toString());
    }
    return texts;
}

std::optional<MoveRecord> moveFromJson(const QJsonObject& object) {
    const QString source = object.value(QStringLiteral("source")).toString();
    const QString destination = object.value(QStringLiteral("destination")).toString();
    // A move without its two places could not be undone; the run it belongs to is unreadable.
    if (source.isEmpty() || destination.isEmpty())
        return std::nullopt;
    MoveRecord move;
    move.source = source;
    move.destination = destination;
    move.relink = RelinkReportJson::fromObject(object.value(QStringLiteral("relink")).toObject());
    move.createdFolders = textsOf(object.value(QStringLiteral("createdFolders")));
    move.movedFolder = object.value(QStringLiteral("movedFolder")).toBool(true);
    const QJsonValue stage = object.value(QStringLiteral("state"));
    if (stage == QStringLiteral("moving"))
        move.stage = MoveRecord::Stage::moving;
    else if (stage == QStringLiteral("relinking"))
        move.stage = MoveRecord::Stage::relinking;
    else if (!stage.isUndefined())
        return std::nullopt;
    if (move.stage != MoveRecord::Stage::done)
        move.process = object.value(QStringLiteral("process")).toInteger();
    return move;
}

std::optional<OrganizeRun> runFromValue(const QJsonValue& value) {
    return value.isObject() ? OrganizeJournal::runFromJson(value.toObject()) : std::nullopt;
}

} // namespace

OrganizeJournal::OrganizeJournal()
    : OrganizeJournal(Paths::joined(Locations::appSupportDir(), fileName)) {}

OrganizeJournal::OrganizeJournal(QString url)
    : url_(std::move(url)) {}

OwnFile OrganizeJournal::file() const {
    return OwnFile(url_, QStringLiteral("The organize journal"),
                   {OwnFile::Layout::array, {}, [](const QJsonValue& value) {
                        return runFromValue(value).has_value();
                    }});
}

OrganizeJournal::Contents OrganizeJournal::read() const {
    OwnFile::Contents contents = file().load();
    return {decodedRecords<OrganizeRun>(contents.records, runFromValue),
            std::move(contents.problem)};
}

std::optional<OrganizeRun> OrganizeJournal::lastRun() const {
    const QList<OrganizeRun> runs = load();
    if (runs.isEmpty())
        return std::nullopt;
    return runs.last();
}

OwnFile::Outcome OrganizeJournal::save(const OrganizeRun& run) const {
    return update([&](QList<OrganizeRun>& runs) {
        for (OrganizeRun& existing : runs) {
            if (existing.id == run.id) {
                existing = run;
                return;
            }
        }
        runs.append(run);
    });
}

OwnFile::Outcome OrganizeJournal::remove(const QUuid& id,
                                         const std::optional<OrganizeRun>& remaining) const {
    return update([&](QList<OrganizeRun>& runs) {
        for (qsizetype i = 0; i < runs.size(); ++i) {
            if (runs[i].id != id)
                continue;
            if (remaining)
                runs[i] = *remaining;
            else
                runs.removeAt(i);
            return;
        }
    });
}

// The runs this version reads are changed; those it can't read stay as they are, and are not
// counted among the kept runs.
OwnFile::Outcome
OrganizeJournal::update(const std::function<void(QList<OrganizeRun>&)>& change) const {
    return file().update([&change](QList<QJsonValue>& records) {
        QList<OrganizeRun> runs = decodedRecords<OrganizeRun>(records, runFromValue);
        change(runs);
        if (runs.size() > keptRuns)
            runs.remove(0, runs.size() - keptRuns);
        records.clear();
        for (const OrganizeRun& run : std::as_const(runs))
            records.append(runJson(run));
    });
}

QJsonObject OrganizeJournal::runJson(const OrganizeRun& run) {
    QJsonArray moves;
    for (const MoveRecord& move : run.moves)
        moves.append(moveJson(move));
    QJsonObject object{{QStringLiteral("id"), run.id.toString(QUuid::WithoutBraces)},
                       {QStringLiteral("moves"), moves},
                       {QStringLiteral("trashedEmptyFolders"), arrayOf(run.trashedEmptyFolders)}};
    if (run.date.isValid())
        object.insert(QStringLiteral("date"), JsonFile::secondsSinceReferenceDate(run.date));
    return object;
}

QJsonObject OrganizeJournal::moveJson(const MoveRecord& move) {
    QJsonObject object{{QStringLiteral("source"), move.source},
                       {QStringLiteral("destination"), move.destination},
                       {QStringLiteral("relink"), RelinkReportJson::toObject(move.relink)},
                       {QStringLiteral("createdFolders"), arrayOf(move.createdFolders)},
                       {QStringLiteral("movedFolder"), move.movedFolder}};
    // A finished move has no state: records written before moves had one read as finished.
    if (move.stage != MoveRecord::Stage::done) {
        object.insert(QStringLiteral("state"), move.stage == MoveRecord::Stage::moving
                                                   ? QStringLiteral("moving")
                                                   : QStringLiteral("relinking"));
        object.insert(QStringLiteral("process"), move.process);
    }
    return object;
}

std::optional<OrganizeRun> OrganizeJournal::runFromJson(const QJsonObject& object) {
    const QUuid id = QUuid::fromString(object.value(QStringLiteral("id")).toString());
    if (id.isNull())
        return std::nullopt;
    OrganizeRun run;
    run.id = id;
    const QJsonValue date = object.value(QStringLiteral("date"));
    if (date.isDouble())
        run.date = JsonFile::dateFromReferenceSeconds(date.toDouble());
    const QJsonArray moves = object.value(QStringLiteral("moves")).toArray();
    for (const QJsonValue& entry : moves) {
        std::optional<MoveRecord> move = moveFromJson(entry.toObject());
        if (!move)
            return std::nullopt;
        run.moves.append(std::move(*move));
    }
    run.trashedEmptyFolders = textsOf(object.value(QStringLiteral("trashedEmptyFolders")));
    return run;
}

} // namespace corvane
