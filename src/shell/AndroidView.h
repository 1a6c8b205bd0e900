#pragma once

#include "devtools/AndroidModel.h"
#include "shell/InventoryPage.h"

class QPushButton;

namespace corvane {

// The Android page: SDK packages by kind (with what each kind is for) and emulators, with their
// sizes and tick boxes; what Android Studio needs, images an emulator uses and running emulators
// cannot be ticked and say why. The ticked items go to the Trash after asking.
class AndroidView : public InventoryPage {
    Q_OBJECT

public:
    explicit AndroidView(AndroidModel& model, QWidget* parent = nullptr);

    QPushButton* trashButton() const { return trash_; }
    void confirmTrash();

private:
    void showInventory();
    void fillInventory();
    void showState() override;

    AndroidModel& model_;
    QPushButton* trash_;
};

} // namespace corvane
