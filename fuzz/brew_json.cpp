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
        // Homebrew gives each app's place as it installed it, inside whatever app folder the
        // user chose; only bundles are ever named.
        const auto casks =
            BrewService::parseInstalledCaskApps(input, QStringLiteral("/Applications"));
        for (auto it = casks.cbegin(); it != casks.cend(); ++it) {
            if (!it.key().endsWith(QStringLiteral(".app"), Qt::CaseInsensitive) ||
                it.value().isEmpty())
                __builtin_trap();
        }
    } catch (const corvane::BrewError&) {
    }
    return 0;
}
