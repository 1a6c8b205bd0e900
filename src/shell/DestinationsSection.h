#pragma once

#include "archive/DestinationsStore.h"
#include "platform/MainThreadMailbox.h"
#include "platform/ProcessRunner.h"

#include <QWidget>
#include <memory>

class QLabel;
class QPushButton;
class QTableWidget;

namespace corvane {

// The "Archive destinations" part of the settings: the saved SSH servers and SMB shares, edited
// in place and saved as they change, with a button that tries to log in to an SSH server.
class DestinationsSection : public QWidget {
    Q_OBJECT

public:
    static const QString explanationText;
    static const QString emptyText;

    DestinationsSection(DestinationsStore& store, QWidget* parent = nullptr,
                        const ProcessRunner& runner = ProcessRunner::system());
    ~DestinationsSection() override;

    QTableWidget* table() const { return table_; }
    QPushButton* testButton() const { return test_; }
    // The one-line result of the last connection test.
    QLabel* resultLabel() const { return result_; }
    // Tests the selected SSH destination off the main thread.
    void testSelected();

private:
    void showDestinations();
    void saveCell(int row, int column);
    void updateButtons();

    DestinationsStore& store_;
    const ProcessRunner& runner_;
    std::shared_ptr<MainThreadMailbox> mailbox_;
    QTableWidget* table_;
    QLabel* empty_;
    QLabel* result_;
    // Why the saved list, or part of it, could not be read or changed.
    QLabel* problem_;
    QPushButton* remove_;
    QPushButton* test_;
    bool showing_ = false;
};

} // namespace corvane
