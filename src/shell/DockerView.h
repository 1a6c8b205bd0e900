#pragma once

#include "devtools/DockerModel.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QStackedLayout;
class QTreeWidget;
class QTreeWidgetItem;

namespace corvane {

// The Docker page: containers, images and volumes with their sizes and tick boxes (an item Docker
// would refuse to remove cannot be ticked, and says why), the build cache, and the buttons that
// remove for good after asking. When Docker is missing or not running, the page says so instead.
class DockerView : public QWidget {
    Q_OBJECT

public:
    explicit DockerView(DockerModel& model, QWidget* parent = nullptr);

    QTreeWidget* tree() const { return tree_; }
    QPushButton* removeButton() const { return remove_; }
    QPushButton* selectUnusedButton() const { return selectUnused_; }
    QPushButton* startDockerButton() const { return startDocker_; }
    // The line shown instead of the list (empty while the list is shown).
    QString stateText() const;
    // Asks before removing what is ticked, then removes it.
    void confirmRemove();
    void confirmPrune();

protected:
    // Docker is asked the first time the page is shown, not at start-up.
    void showEvent(QShowEvent* event) override;

private:
    void showSnapshot();
    void showState();
    void itemChanged(QTreeWidgetItem* item, int column);
    void ask(const QString& objectName, const QString& text, const QString& informative,
             const QString& acceptTitle, std::function<void()> accepted);

    DockerModel& model_;
    QTreeWidget* tree_;
    QLabel* state_;
    QLabel* failures_;
    QStackedLayout* body_;
    QPushButton* selectUnused_;
    QPushButton* prune_;
    QPushButton* startStop_;
    QPushButton* remove_;
    QPushButton* startDocker_;
    QPushButton* reload_;
    bool filling_ = false;
};

} // namespace corvane
