#pragma once

#include "agents/AgentStorageModel.h"
#include "agents/AgentsModel.h"
#include "scanning/ScanSession.h"

#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>

class QLabel;
class QMenu;
class QPushButton;
class QStackedLayout;
class QTabWidget;
class QTreeWidget;
class QTreeWidgetItem;

namespace corvane {

class AgentStorageView;

// The coding-agent history of the scanned projects: per project, each agent's sessions (title,
// when, where from) and editor workspaces, most recent first, with a note on sessions that ran
// in the folder enclosing the project. Projects without history are left out; the projects that
// saw an agent most recently come first.
class AgentsView : public QWidget {
    Q_OBJECT

public:
    static const QString introText;
    static const QString emptyText;
    static const QString noScanText;
    static const QString loadingText;

    // With `storage`, the page has a second tab: what the agents keep on disk.
    AgentsView(AgentsModel& agents, const ScanSession& session, QWidget* parent = nullptr,
               AgentStorageModel* storage = nullptr);

    QTreeWidget* tree() const { return tree_; }
    // The storage tab, when the page has one.
    AgentStorageView* storageView() const { return storageView_; }
    // Shows the storage tab (true) or the sessions (false).
    void showStorage(bool storage);
    // The state line shown instead of the tree (empty while the tree is shown).
    QString stateText() const;

    // What a row's Reveal shows (the session's file, the workspace's storage folder), and the
    // command that continues its session; empty when the row has none.
    static QString revealPath(const QTreeWidgetItem& row);
    static QString resumeCommandOf(const QTreeWidgetItem& row);
    // The row's context menu; nothing for a row without actions.
    std::unique_ptr<QMenu> menuFor(const QTreeWidgetItem& row);
    // How Reveal shows a path (the file manager by default; tests record it instead).
    void setRevealer(std::function<void(const QString&)> revealer) {
        revealer_ = std::move(revealer);
    }

private:
    void showHistory();
    void updateActions();
    void copyResumeCommand(const QTreeWidgetItem& row);

    AgentsModel& agents_;
    const ScanSession& session_;
    QTreeWidget* tree_;
    QLabel* state_;
    // What the last reading of the history could not read, each naming its file.
    QLabel* loadProblems_;
    QStackedLayout* body_;
    QPushButton* reloadButton_;
    QTabWidget* tabs_ = nullptr;
    AgentStorageView* storageView_ = nullptr;
    QPushButton* revealButton_;
    QPushButton* copyResumeButton_;
    std::function<void(const QString&)> revealer_;
    // A scan changes its projects many times a second; the tree is rebuilt once they settle.
    QTimer refreshTimer_;
};

} // namespace corvane
