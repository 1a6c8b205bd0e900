#pragma once

#include "agents/AgentRelinker.h"
#include "organize/OrganizeTypes.h"
#include "organize/ProcessInspector.h"
#include "platform/KeepStore.h"
#include "platform/MessageError.h"

#include <QString>
#include <exception>
#include <functional>

namespace corvane {

class ProjectMoverError : public MessageError {
public:
    // The move was refused or failed; `message` is shown to the user as it is.
    static ProjectMoverError invalid(const QString& message) { return ProjectMoverError(message); }

private:
    explicit ProjectMoverError(const QString& message)
        : MessageError(message) {}
};

// Moves one project folder by renaming it on its volume, never by copying, and makes its
// coding-agent history and its Keep marks follow it. Every check is made before anything changes.
struct ProjectMover {
    AgentRelinker relinker{AgentLocations()};
    ProcessInspector processes;
    KeepStore keepMarks;

    // Writes down what a move is about to do: called with the record at stage `moving` right
    // before the first change, and at stage `relinking` once the folder is in its new place.
    using Intent = std::function<void(const MoveRecord&)>;

    // Moves `source` to `destination` (both absolute), creating the missing folders above the
    // destination. Refuses with the exact message when the source is missing or a link, the
    // destination exists or lies in the source, the two are on different volumes, or a process
    // works inside the source. Throws ProjectMoverError.
    MoveRecord move(const QString& source, const QString& destination,
                    const Intent& intent = {}) const;

    // Takes back a move that was cut short at `record.stage`: the folder goes back, history the
    // relink had already rewritten is relinked back, and the folders made for it go when empty.
    // Throws ProjectMoverError, with the undo's messages, when that is not possible.
    void takeBack(const MoveRecord& record) const;

    // A record of history relinked from `oldPath` to `newPath` without moving any folder (the
    // folder was moved by hand earlier).
    MoveRecord relinkOnly(const QString& oldPath, const QString& newPath) const;

    // Puts the folder of `record` back (when it moved one), relinks its history and Keep marks
    // back and removes
    // the folders the move created that are empty again. Throws ProjectMoverError with
    // "Something now exists at " + source when the old place is taken, and leaves everything
    // as it is then.
    void undo(const MoveRecord& record) const;
};

} // namespace corvane
