#pragma once

#include "apps/BrewService.h"
#include "platform/InventoryModel.h"

#include <QList>
#include <QStringList>
#include <optional>

namespace corvane {

// The Homebrew section's model: the outdated formulae and casks, and one upgrade at a time with
// brew's output as it comes. An upgrade that needs the Mac password is stopped at once and the
// Terminal command to run instead is kept.
class HomebrewModel : public InventoryModel {
    Q_OBJECT

public:
    explicit HomebrewModel(ToastCenter& toasts, QObject* parent = nullptr);

    const QList<BrewOutdatedItem>& outdated() const { return outdated_; }
    // "Homebrew is not installed." or why listing failed; nothing when the list is current.
    const std::optional<QString>& loadError() const { return loadError_; }
    bool isInstalled() const { return isInstalled_; }

    void upgrade(const BrewOutdatedItem& item);
    bool isUpgrading() const { return isRemoving(); }
    // Brew's lines of the running or last upgrade.
    const QStringList& output() const { return output_; }
    // What the last upgrade came to, in words for the user.
    const QString& lastMessage() const { return lastMessage_; }
    // Set when the last upgrade needs the Mac password: the command to run in Terminal.
    const std::optional<QString>& terminalCommand() const { return terminalCommand_; }
    bool lastUpgradeSucceeded() const { return lastUpgradeSucceeded_; }

signals:
    void outdatedChanged();
    void outputChanged();
    void actionFinished();

protected:
    void startLoading() override;
    bool containsItem(const QString& id) const override;

private:
    QList<BrewOutdatedItem> outdated_;
    std::optional<QString> loadError_;
    bool isInstalled_ = false;
    QStringList output_;
    QString lastMessage_;
    std::optional<QString> terminalCommand_;
    bool lastUpgradeSucceeded_ = false;
};

} // namespace corvane
