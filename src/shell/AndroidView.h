#pragma once

#include "devtools/AndroidModel.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QStackedLayout;
class QTreeWidget;
class QTreeWidgetItem;

namespace corvane {

// The Android page: SDK packages by kind (with what each kind is for) and emulators, with their
// sizes and tick boxes; what Android Studio needs, images an emulator uses and running emulators
// cannot be ticked and say why. The ticked items go to the Trash after asking.
class AndroidView : public QWidget {
    Q_OBJECT

public:
    explicit AndroidView(AndroidModel& model, QWidget* parent = nullptr);

    QTreeWidget* tree() const { return tree_; }
    QPushButton* trashButton() const { return trash_; }
    QString stateText() const;
    void confirmTrash();

protected:
    // The SDK is measured the first time the page is shown, not at start-up.
    void showEvent(QShowEvent* event) override;

private:
    void showInventory();
    void showState();
    void itemChanged(QTreeWidgetItem* item, int column);

    AndroidModel& model_;
    QTreeWidget* tree_;
    QLabel* state_;
    QLabel* failures_;
    QStackedLayout* body_;
    QPushButton* reload_;
    QPushButton* trash_;
    bool filling_ = false;
};

} // namespace corvane
