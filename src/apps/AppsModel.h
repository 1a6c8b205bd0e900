#pragma once

#include "apps/AppBundle.h"
#include "apps/AppTypes.h"
#include "platform/InventoryModel.h"
#include "platform/PlatformWords.h"

#include <QSet>
#include <functional>
#include <optional>

namespace corvane {

// The Apps screen's model: the inventory, loaded in the background, and the "Hide Small Entries"
// switch. It only lists; removing is AppRemover's.
class AppsModel : public InventoryModel {
    Q_OBJECT
    Q_PROPERTY(bool hideSmallEntries READ hideSmallEntries WRITE setHideSmallEntries NOTIFY
                   inventoryChanged)

public:
    static inline const QString explanationText =
        QStringLiteral("Every app with the data it keeps in ") +
        PlatformWords::here().appDataPlace +
        QStringLiteral(", and data left behind by apps you already deleted.");
    static inline const QString sortingText = QStringLiteral(
        "Sorted by app and data together. Data is matched by each app's identifier; folders only "
        "named like an app are marked \"possibly related\".");
    static inline const QString possiblyRelatedNote =
        QStringLiteral("Only the folder name matches the app; it may belong to something else");
    static inline const QString possiblyRelatedNotRemovableText =
        QStringLiteral("Only the name matches; it may belong to something else, so it cannot be "
                       "removed from here");
    static inline const QString leftoversText = QStringLiteral(
        "Data from apps that are no longer installed, or from an older version of an app that "
        "changed its identifier. Check before removing anything: another app or tool might still "
        "use it.");
    static inline const QString unknownDataText = QStringLiteral(
        "An installed app could not be read, so it is not known whether this data is still its "
        "own. It is not offered for removal.");
    static inline const QString preselectionText = PlatformWords::here().appDataTicked;
    static inline const QString noDataText =
        QStringLiteral("This app keeps no data in ") + PlatformWords::here().appDataPlace + u'.';
    static inline const QString neverUsedText = QStringLiteral("never opened, or not recorded");
    // "Hide Small Entries" hides leftovers under 1 MB.
    static constexpr qint64 smallEntryBytes = 1'000'000;

    using CaskMapProvider = std::function<CaskMap()>;

    explicit AppsModel(ToastCenter& toasts, bool isDryRun = false, QObject* parent = nullptr);
    ~AppsModel() override;

    const AppInventory& inventory() const { return inventory_; }
    // The leftovers the screen shows under the switch.
    QList<OrphanedAppData> visibleOrphans() const;
    bool hideSmallEntries() const { return hideSmallEntries_; }
    void setHideSmallEntries(bool on);

    // Supplies bundle names of Homebrew casks; called on the load's worker thread. Without one no
    // app is counted as Homebrew's.
    void setCaskMapProvider(CaskMapProvider provider) { caskMapProvider_ = std::move(provider); }

    // The data items ticked when the user opens `app` for removal (their urls): exact matches of
    // caches, logs and saved window state. Web storage, WebKit data and launch agents can hold
    // logins or keep a helper running, so they wait for the user like Application Support does.
    static QSet<QString> preselected(const InstalledApp& app);

    // The casks Homebrew installed, by bundle name; empty without Homebrew. The provider the app
    // and the command line use.
    static CaskMap homebrewCasks();

    // How it is known that the app of a leftover is gone: "flatpak says org.x is no longer
    // installed.", "Obsidian was listed here until 2026-11-20; its entry and program are gone."
    static QString goneText(const OrphanedAppData& orphan);
    // The sheet of an app only its owner removes (the package manager, snapd).
    static inline const QString commandRemovalText = QStringLiteral(
        "Only its package manager (or snapd) can remove it, with root's rights. Nothing is "
        "removed here: the command to run is looked up and shown. Its data stays while the app is "
        "installed; once it is gone, the data is listed under leftovers.");

    // The listed app at `url`, if any.
    const InstalledApp* app(const QString& url) const;
    // Why the app can't be removed ("Apple's apps are part of macOS and stay.", ...), or nothing.
    std::optional<QString> appRefusal(const InstalledApp& app) const;
    // Whether removing `app` only names the command that removes it (a package, a snap).
    bool isRemovedByCommand(const InstalledApp& app) const;
    // Removes the app at `appURL` and, once it is gone, its data items at `dataURLs` (each
    // checked again); under the dry-run switch every guard runs and it says what would go.
    void removeApp(const QString& appURL, const QSet<QString>& dataURLs);
    // Moves leftover items (by path) to the Trash.
    void removeLeftovers(const QStringList& urls);
    // What the last removal did.
    const std::optional<AppRemovalOutcome>& lastOutcome() const { return lastOutcome_; }
    // The toast text of the last removal.
    const QString& lastMessage() const { return lastMessage_; }

signals:
    void inventoryChanged();
    // A removal has ended.
    void actionFinished();

protected:
    void startLoading() override;
    // Ids are urls of apps and data items.
    bool containsItem(const QString& id) const override;
    QStringList pathsOfItem(const QString& id) const override;

private:
    AppInventory inventory_;
    bool hideSmallEntries_ = false;
    CaskMapProvider caskMapProvider_;
    std::optional<AppRemovalOutcome> lastOutcome_;
    QString lastMessage_;

    void finishAction(const AppRemovalOutcome& outcome, const QString& message);
};

} // namespace corvane
