#pragma once

// The vocabulary of gathering projects into one folder: what could move, where to, whether it
// may, and what a run did so that it can be taken back.

#include "agents/AgentModel.h"
#include "agents/RelinkReport.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <optional>

namespace corvane {

// One folder that could be gathered into the destination.
struct OrganizeCandidate {
    QString path;
    // The folder holds several projects (a folder of repositories) rather than being one.
    bool isWorkspace = false;
    // The "origin" remote's URL from the folder's ".git/config".
    std::optional<QString> gitRemote;
    // The agent with the most history in the folder.
    std::optional<AgentKind> leadingAgent;
    bool hasAgentSessions = false;
    // Added by the user by hand rather than found.
    bool isManual = false;

    bool operator==(const OrganizeCandidate&) const = default;
};

// Declaration order is the order of the layout picker.
enum class OrganizeLayout { byAgent, byOwner, flat };

const QList<OrganizeLayout>& allOrganizeLayouts();
// "byAgent", "byOwner", "flat": the form kept in the user defaults and printed by --json.
QString rawValue(OrganizeLayout layout);
// The layout of a raw value, or of the command line's "by-agent", "by-owner" (also what earlier
// versions kept in the user defaults).
std::optional<OrganizeLayout> organizeLayoutFromRaw(const QString& raw);
// "By agent", "By owner", "Flat".
QString displayName(OrganizeLayout layout);

// Whether an entry will move, and why not.
struct OrganizeStatus {
    enum class Case {
        busy,
        usedByShell,
        ready,
        alreadyOrganized,
        destinationTaken,
        duplicateDestination,
        otherDisk,
        missing
    };

    Case kind = Case::ready;
    // `busy`: the display name of the process; `usedByShell`: the profile's file name.
    QString detail;

    static OrganizeStatus of(Case kind, const QString& detail = {}) { return {kind, detail}; }
    bool operator==(const OrganizeStatus&) const = default;
};

// "busy", "usedByShell", ...: the case's name, as `corvane organize plan --json` prints it.
QString caseName(OrganizeStatus::Case kind);
// Why the entry cannot move ("it no longer exists", ...); empty for `ready`.
QString reasonText(const OrganizeStatus& status);

struct OrganizeEntry {
    OrganizeCandidate candidate;
    // The sub-folder of the destination for the layout; none under `flat`.
    std::optional<QString> group;
    QString destinationRoot;
    OrganizeStatus status;

    // destinationRoot, then the group if any, then the candidate folder's name.
    QString targetPath() const;
    // The project's name + " is listed but cannot move: " + the reason; empty when ready.
    QString reasonSentence() const;
    bool operator==(const OrganizeEntry&) const = default;
};

// What the user's shell profiles point at under the home folder.
struct ShellReferences {
    // Folders the profiles put on the search path.
    QStringList toolFolders;
    // Every referenced path -> the file name of the profile that names it (the first one read).
    QMap<QString, QString> paths;

    bool operator==(const ShellReferences&) const = default;
};

// One move, as the journal keeps it.
struct MoveRecord {
    // A move is written down before its folder moves and again before its history is relinked,
    // so that one cut short (the program killed) can be taken back exactly at the next start.
    enum class Stage { done, moving, relinking };

    QString source;
    QString destination;
    RelinkReport relink;
    // The folders the move created to hold the destination, outermost first (while `moving`:
    // those it is about to create).
    QStringList createdFolders;
    // False for a record that only relinked history.
    bool movedFolder = true;
    Stage stage = Stage::done;
    // The process carrying out a move that is not done: while it lives, the move is under way,
    // not cut short.
    qint64 process = 0;

    bool operator==(const MoveRecord&) const = default;
};

// One run of the organizer (or one single move), newest last in the journal.
struct OrganizeRun {
    QUuid id;
    QDateTime date;
    QList<MoveRecord> moves;
    // Source parents found empty after the moves and sent to the Trash.
    QStringList trashedEmptyFolders;

    bool operator==(const OrganizeRun&) const = default;
};

// One entry or move that did not go through, with the message for the user.
struct MoveFailure {
    QString source;
    QString message;

    bool operator==(const MoveFailure&) const = default;
};

} // namespace corvane
