#pragma once

#include "agents/AgentsModel.h"
#include "scanning/ScanSession.h"

#include <QTimer>
#include <QWidget>

class QLabel;
class QPushButton;
class QStackedLayout;
class QTreeWidget;

namespace corvane {

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

    AgentsView(AgentsModel& agents, const ScanSession& session, QWidget* parent = nullptr);

    QTreeWidget* tree() const { return tree_; }
    // The state line shown instead of the tree (empty while the tree is shown).
    QString stateText() const;

private:
    void showHistory();

    AgentsModel& agents_;
    const ScanSession& session_;
    QTreeWidget* tree_;
    QLabel* state_;
    QStackedLayout* body_;
    QPushButton* reloadButton_;
    // A scan changes its projects many times a second; the tree is rebuilt once they settle.
    QTimer refreshTimer_;
};

} // namespace corvane
