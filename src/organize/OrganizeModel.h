#pragma once

#include "agents/AgentLocations.h"
#include "organize/OrganizeExecutor.h"
#include "organize/OrganizeTypes.h"
#include "organize/OrphanFinder.h"
#include "organize/ProcessInspector.h"
#include "platform/InventoryModel.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

// The Organize screen's model: where projects are gathered and how, the plan, the runs and
// their undo, and the agent history that lost its folder. A load finds the candidates, reads the
// shell profiles, the working processes and the agent history, and plans; a run moves the ready
// entries on a worker thread one at a time, checking for processes just before each move, and
// its outcome comes back here. Nothing runs while a run or an undo does.
class OrganizeModel : public InventoryModel {
    Q_OBJECT

public:
    // What the model works on; tests point every part at temporary folders and stand-in tools.
    struct Services {
        QString home;
        AgentLocations agentLocations;
        QString journalURL;
        const ProcessRunner* processRunner = &ProcessRunner::system();
        const PlatformTrash* trash = &PlatformTrash::system();

        // The user's home folder, agent history, journal and tools.
        static Services system();
    };

    // The user defaults keys of the two choices.
    static inline const QString destinationKey = QStringLiteral("organizeDestination");
    static inline const QString layoutKey = QStringLiteral("organizeLayout");

    // `remembersChoices`: changes of destination and layout are kept in the user defaults (the
    // app); the command line passes false and never changes them.
    OrganizeModel(ToastCenter& toasts, Services services, bool remembersChoices = true,
                  QObject* parent = nullptr);
    ~OrganizeModel() override;

    const QString& home() const { return services_.home; }
    // The remembered destination ("Code" in the home folder when none is) and layout.
    const QString& destination() const { return destination_; }
    OrganizeLayout layout() const { return layout_; }
    void setDestination(const QString& path);
    void setLayout(OrganizeLayout layout);
    // Whether a load first takes back moves cut short (on by default; off for a dry run, which
    // changes nothing).
    void setRecoversCutShortMoves(bool value) { recoversCutShortMoves_ = value; }

    // Adds a folder by hand; returns the refusal message instead when it can't be organized.
    // The folder joins the plan at the next load.
    std::optional<QString> addFolder(const QString& path);
    const QStringList& manualFolders() const { return manualFolders_; }
    void removeManualFolder(const QString& path);

    // The plan of the last load, in plan order.
    const QList<OrganizeEntry>& entries() const { return entries_; }
    QList<OrganizeEntry> readyEntries() const;
    const QList<OrphanedHistory>& orphans() const { return orphans_; }
    const QList<ProcessInspector::WorkingProcess>& processes() const { return processes_; }

    // Moves the ready entries of the plan now shown. Under the dry-run switch nothing moves and
    // the toast says what would.
    void organize();
    // Asks the running organize to stop before its next move.
    void cancelOrganize();
    bool isOrganizing() const { return isRemoving(); }
    // The move under way: its source, its number from 0 and the count.
    const QString& progressSource() const { return progressSource_; }
    int progressIndex() const { return progressIndex_; }
    int progressCount() const { return progressCount_; }

    // The outcome of the last action when it was an organize, move or relink.
    const std::optional<OrganizeExecutor::Outcome>& lastOutcome() const { return lastOutcome_; }

    // Whether the journal holds a run to undo, as of the last load or action.
    bool canUndo() const { return canUndo_; }
    // Why the journal, as of the last load, could not be read (or not all of it).
    const std::optional<QString>& journalProblem() const { return journalProblem_; }
    void undoLast();
    // The outcome of the last action when it was an undo.
    const std::optional<OrganizeExecutor::UndoOutcome>& lastUndo() const { return lastUndo_; }

    // Moves one project (the Move Project command), journaled as a run of its own.
    void moveProject(const QString& source, const QString& destination);
    // Makes the history of a folder that is gone follow the folder where it lives now.
    void relinkOrphan(const QString& missingPath, const QString& newPath);

signals:
    void choicesChanged();
    void planChanged();
    void progressChanged();
    // A run, move, relink or undo has ended; its outcome is in lastOutcome() or lastUndo().
    void actionFinished();
    void canUndoChanged();

protected:
    void startLoading() override;
    bool containsItem(const QString& id) const override;

private:
    OrganizeExecutor executor() const;
    void runAction(
        std::function<OrganizeExecutor::Outcome(const OrganizeExecutor&, const CancellationToken&,
                                                const OrganizeExecutor::Progress&)>
            action);
    void reportRecovery(const OrganizeExecutor::UndoOutcome& recovered);
    void finishAction(const QList<MoveFailure>& failures);
    void setCanUndo(bool value);

    Services services_;
    bool remembersChoices_;
    bool recoversCutShortMoves_ = true;
    QString destination_;
    OrganizeLayout layout_ = OrganizeLayout::byAgent;
    QStringList manualFolders_;
    QList<OrganizeEntry> entries_;
    QList<OrphanedHistory> orphans_;
    QList<ProcessInspector::WorkingProcess> processes_;
    ShellReferences shell_;
    QString progressSource_;
    int progressIndex_ = 0;
    int progressCount_ = 0;
    std::optional<OrganizeExecutor::Outcome> lastOutcome_;
    std::optional<OrganizeExecutor::UndoOutcome> lastUndo_;
    bool canUndo_ = false;
    std::optional<QString> journalProblem_;
    CancellationToken runCancellation_;
};

} // namespace corvane
