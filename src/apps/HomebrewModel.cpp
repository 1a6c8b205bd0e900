#include "apps/HomebrewModel.h"

namespace corvane {

HomebrewModel::HomebrewModel(ToastCenter& toasts, QObject* parent)
    : InventoryModel(toasts, false, parent) {}

bool HomebrewModel::containsItem(const QString& id) const {
    return std::any_of(outdated_.begin(), outdated_.end(),
                       [&id](const BrewOutdatedItem& item) { return item.name == id; });
}

void HomebrewModel::startLoading() {
    startJob(JobKind::load,
             [this](const CancellationToken& cancellation, const MainThreadPost& post) {
                 QList<BrewOutdatedItem> items;
                 std::optional<QString> error;
                 const bool installed = BrewService::locate().has_value();
                 try {
                     items = BrewService().outdated(cancellation);
                 } catch (const BrewError& failure) {
                     error = failure.text();
                 }
                 post([this, items, error, installed] {
                     outdated_ = items;
                     loadError_ = error;
                     isInstalled_ = installed;
                     emit outdatedChanged();
                     finishLoading();
                 });
             });
}

void HomebrewModel::upgrade(const BrewOutdatedItem& item) {
    if (!beginRemoval())
        return;
    output_.clear();
    lastMessage_.clear();
    terminalCommand_.reset();
    emit outputChanged();
    startJob(JobKind::removal, [this, item](const CancellationToken& cancellation,
                                            const MainThreadPost& post) {
        std::optional<BrewError> failure;
        try {
            BrewService().upgrade(item, cancellation, [this, &post](const QString& line) {
                post([this, line] {
                    output_.append(line);
                    emit outputChanged();
                });
            });
        } catch (const BrewError& error) {
            failure = error;
        }
        post([this, item, failure] {
            lastUpgradeSucceeded_ = !failure;
            if (!failure) {
                lastMessage_ =
                    QStringLiteral("Upgraded %1 to %2").arg(item.name, item.currentVersion);
                toasts().post(lastMessage_);
            } else if (failure->kind() == BrewError::Case::needsPassword) {
                terminalCommand_ = failure->text();
                lastMessage_ = BrewService::upgradePasswordText(item);
            } else {
                lastMessage_ = failure->text();
            }
            const QList<ItemFailure> failures =
                failure ? QList<ItemFailure>{{item.name, item.name, lastMessage_}}
                        : QList<ItemFailure>();
            finishRemoval(failures);
            emit outputChanged();
            emit actionFinished();
            if (!failure)
                reload();
        });
    });
}

} // namespace corvane
