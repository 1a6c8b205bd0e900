#pragma once

#include "platform/Cancellation.h"

#include <QStringList>

namespace corvane {

// Finds the app bundles installed for the user.
struct AppFinder {
    // Searched in this order: Locations::applicationsDir(), then "Applications" in the home folder.
    static QStringList applicationFolders();
    // Every bundle (extension "app") in those folders and in their subfolders one level deep
    // ("Utilities", vendor folders), with links resolved, each once, in folder order and by name.
    // A bundle is never searched for bundles inside it.
    static QStringList findBundles(const CancellationToken& cancellation = {});
};

} // namespace corvane
