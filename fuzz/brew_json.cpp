// `brew outdated --json=v2` and `brew info --installed --json=v2`.
#include "FuzzSupport.h"
#include "apps/BrewService.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using corvane::BrewService;
    const QByteArray input = corvane::fuzz::bytes(data, size);
    // Output it cannot read is refused with BrewError, which the Homebrew page shows.
    try {
        BrewService::parseOutdated(input);
    } catch (const corvane::BrewError&) {
    }
    try {
        const QString appDir = QStringLiteral("/Applications");
        const auto casks = BrewService::parseInstalledCaskApps(input, appDir);
        // A cask's app is only ever looked for in the applications folder.
        for (auto it = casks.cbegin(); it != casks.cend(); ++it) {
            if (!it.key().startsWith(appDir + u'/') || it.key().contains(QStringLiteral("/../")))
                __builtin_trap();
        }
    } catch (const corvane::BrewError&) {
    }
    return 0;
}
