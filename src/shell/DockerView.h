#pragma once

#include "devtools/DockerModel.h"
#include "shell/InventoryPage.h"

class QMenu;
class QPushButton;

namespace corvane {

// The Docker page: containers, images and volumes with their sizes and tick boxes (an item Docker
// would refuse to remove cannot be ticked, and says why), the build cache, and the buttons that
// remove for good after asking. When Docker is missing or not running, the page says so instead.
class DockerView : public InventoryPage {
    Q_OBJECT

public:
    explicit DockerView(DockerModel& model, QWidget* parent = nullptr);

    QPushButton* removeButton() const { return remove_; }
    QPushButton* selectUnusedButton() const { return selectUnused_; }
    QPushButton* startDockerButton() const { return startDocker_; }
    // Asks before removing what is ticked, then removes it.
    void confirmRemove();
    void confirmPrune();
    // The context menu of a container, image or volume: Docker keeps them inside its own machine,
    // not in folders of this one, so it copies what the docker command knows them by.
    std::unique_ptr<QMenu> objectMenu(const QModelIndex& row) const;

private:
    void showSnapshot();
    void fillSnapshot(const QString& current);
    void showState() override;

    DockerModel& model_;
    QPushButton* selectUnused_;
    QPushButton* prune_;
    QPushButton* startStop_;
    QPushButton* remove_;
    QPushButton* startDocker_;
};

} // namespace corvane
