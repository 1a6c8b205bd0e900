#pragma once

#include "apps/AppTypes.h"
#include "apps/BrewStreamingRunner.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

namespace corvane {

// Homebrew's command line: what is outdated, which casks installed which apps, upgrades and cask
// uninstalls. Every call blocks a worker thread and throws BrewError.
class BrewService {
public:
    static constexpr double listTimeoutSeconds = 120;
    static constexpr double changeTimeoutSeconds = 1800;

    // Where brew is: CORVANE_TOOL_BREW, else the first of the Apple silicon, Intel and Linux
    // locations that exists; nothing when Homebrew is not installed.
    static std::optional<QString> locate();

    // `brew outdated --json=v2`.
    QList<BrewOutdatedItem> outdated(const CancellationToken& cancellation = {}) const;
    // `brew info --json=v2 --installed --cask`: the path of each bundle a cask installed → its
    // token.
    CaskMap installedCaskApps(const CancellationToken& cancellation = {}) const;
    // `brew upgrade [--cask] <name>`, each output line handed to `onLine` as it comes.
    void upgrade(const BrewOutdatedItem& item, const CancellationToken& cancellation = {},
                 const BrewStreamingRunner::LineHandler& onLine = {}) const;
    // `brew uninstall --cask -- <token>`; a token that is not a cask name is refused unrun.
    void uninstallCask(const QString& token, const CancellationToken& cancellation = {},
                       const BrewStreamingRunner::LineHandler& onLine = {}) const;

    static QStringList upgradeArguments(const BrewOutdatedItem& item);
    // "This update needs your Mac password. Run it in Terminal: brew upgrade …".
    static QString upgradePasswordText(const BrewOutdatedItem& item);

    // Throw BrewError::failed for JSON that is not what brew prints.
    static QList<BrewOutdatedItem> parseOutdated(const QByteArray& json);
    // Each "app" artifact's installed path, as the cask's record gives it: the resolved sibling
    // "target", else the inner "target", else the listed name, in `appDir` ("$APPDIR") when not
    // absolute.
    static CaskMap parseInstalledCaskApps(const QByteArray& json, const QString& appDir);
    // Lower-case letters, digits and "@+._-", not beginning with a sign: what brew names casks.
    static bool isCaskToken(const QString& token);

private:
    QByteArray run(const QStringList& arguments, double timeout,
                   const CancellationToken& cancellation,
                   const BrewStreamingRunner::LineHandler& onLine = {}) const;
};

} // namespace corvane
