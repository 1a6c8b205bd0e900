#pragma once

#include "apps/AppsModel.h"
#include "apps/HomebrewModel.h"

#include <QDialog>
#include <QWidget>

class QCheckBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace corvane {

// Asks which of an app's data goes with it: exact matches can be ticked (caches, logs and window
// state are, to start with), "possibly related" folders cannot, and say why. For an app only its
// owner removes (`byCommand`), it says that nothing goes and offers to show the command.
class AppRemovalSheet : public QDialog {
    Q_OBJECT

public:
    // The data items in `kept` are listed but cannot be ticked: a Keep mark binds them. Nothing of
    // an app removed `byCommand` goes from here.
    AppRemovalSheet(const InstalledApp& app, bool byCommand, QWidget* parent,
                    const QSet<QString>& kept = {});

    QTreeWidget* dataList() const { return list_; }
    // The data items ticked now.
    QSet<QString> tickedData() const;

private:
    QTreeWidget* list_;
};

// The Apps page: every app with the data it keeps, largest first, the leftovers of deleted apps,
// and Homebrew's outdated formulae and casks with their upgrades.
class AppsView : public QWidget {
    Q_OBJECT

public:
    AppsView(AppsModel& apps, HomebrewModel& homebrew, QWidget* parent = nullptr);

    QTreeWidget* tree() const { return tree_; }
    QTreeWidget* outdatedList() const { return outdated_; }
    QPlainTextEdit* brewOutput() const { return output_; }
    QLabel* brewMessage() const { return brewMessage_; }
    // What the last removal could not do, and the commands to run.
    QLabel* failuresLabel() const { return failures_; }
    // Opens the removal sheet for the app at `url`.
    AppRemovalSheet* openRemovalSheet(const QString& url);
    // Asks, listing them, to move the ticked leftovers to the Trash.
    void confirmLeftoversRemoval();

protected:
    // Apps are measured the first time the page is shown, not at start-up.
    void showEvent(QShowEvent* event) override;

private:
    void showInventory();
    void showBrew();
    void showState();
    // Data an unreadable bundle may own: shown, never offered for removal.
    void showUnknownData();

    AppsModel& apps_;
    HomebrewModel& homebrew_;
    QTreeWidget* tree_;
    QLabel* state_;
    QLabel* failures_;
    QCheckBox* hideSmall_;
    QPushButton* removeApp_;
    QPushButton* removeLeftovers_;
    QTreeWidget* outdated_;
    QPushButton* upgrade_;
    QPlainTextEdit* output_;
    QLabel* brewMessage_;
    bool filling_ = false;
};

} // namespace corvane
