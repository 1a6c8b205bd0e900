#pragma once

#include "devtools/SimulatorsModel.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QStackedLayout;
class QTreeWidget;
class QTreeWidgetItem;

namespace corvane {

// The Simulators page: the runtimes with their sizes, the SDK they stand against and tick boxes
// for the deletable ones, the devices with their data, and the buttons that delete runtimes (with
// the devices on them) or erase a device, for good, after asking.
class SimulatorsView : public QWidget {
    Q_OBJECT

public:
    explicit SimulatorsView(SimulatorsModel& model, QWidget* parent = nullptr);

    QTreeWidget* tree() const { return tree_; }
    QPushButton* deleteButton() const { return delete_; }
    QPushButton* selectOlderButton() const { return selectOlder_; }
    QString stateText() const;
    void confirmDelete();
    // Asks before erasing the device with `udid`, then erases it.
    void confirmErase(const QString& udid);

protected:
    // The tools are asked the first time the page is shown, not at start-up.
    void showEvent(QShowEvent* event) override;

private:
    void showInventory();
    void showState();
    void itemChanged(QTreeWidgetItem* item, int column);

    SimulatorsModel& model_;
    QTreeWidget* tree_;
    QLabel* state_;
    QLabel* failures_;
    QStackedLayout* body_;
    QPushButton* selectOlder_;
    QPushButton* erase_;
    QPushButton* delete_;
    QPushButton* reload_;
    bool filling_ = false;
};

} // namespace corvane
