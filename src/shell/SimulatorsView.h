#pragma once

#include "devtools/SimulatorsModel.h"
#include "shell/InventoryPage.h"

class QPushButton;

namespace corvane {

// The Simulators page: the runtimes with their sizes, the SDK they stand against and tick boxes
// for the deletable ones, the devices with their data, and the buttons that delete runtimes (with
// the devices on them) or erase a device, for good, after asking.
class SimulatorsView : public InventoryPage {
    Q_OBJECT

public:
    explicit SimulatorsView(SimulatorsModel& model, QWidget* parent = nullptr);

    QPushButton* deleteButton() const { return delete_; }
    QPushButton* selectOlderButton() const { return selectOlder_; }
    void confirmDelete();
    // Asks before erasing the device with `udid`, then erases it.
    void confirmErase(const QString& udid);

private:
    void showInventory();
    void fillInventory();
    void showState() override;

    SimulatorsModel& model_;
    QPushButton* selectOlder_;
    QPushButton* erase_;
    QPushButton* delete_;
};

} // namespace corvane
