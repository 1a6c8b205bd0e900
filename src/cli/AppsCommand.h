#pragma once

#include "cli/Console.h"

#include <string>
#include <vector>

// `corvane apps remove` and `corvane apps leftovers remove`, callable with a console a test
// answers for.
namespace corvane::cli {

struct AppsRemoveOptions {
    std::vector<std::string> targets;
    std::vector<std::string> data;
    bool defaultData = false;
    bool dryRun = false;
    bool yes = false;
    bool json = false;
};

// Removes the app the one target names (its path, or a name only one app has).
int runAppsRemove(const AppsRemoveOptions& options, Console& console);
// Moves the leftovers the targets name (identifiers or item paths) to the Trash.
int runLeftoversRemove(const AppsRemoveOptions& options, Console& console);

} // namespace corvane::cli
