#pragma once

#include "platform/Cancellation.h"

#include <QStringList>

namespace corvane {

// What a search of the Applications folders found.
struct AppFolders {
    // Every bundle, links resolved, each once, in folder order then by name.
    QStringList bundles;
    // Every folder searched (the Applications folders and the folders at any depth inside them,
    // reached through links too), links resolved: the folders whose apps may be removed.
    QStringList folders;
};

// Finds the app bundles installed for the user.
struct AppFinder {
    // Searched in this order: Locations::applicationsDir(), then "Applications" in the home folder.
    static QStringList applicationFolders();
    // Every bundle (extension "app") in those folders at any depth ("Utilities", vendor folders,
    // folders that are symbolic links to elsewhere). A bundle is never searched for bundles
    // inside it; a link back to an Applications folder or to a folder holding one is not followed.
    static AppFolders search(const CancellationToken& cancellation = {});
    static QStringList findBundles(const CancellationToken& cancellation = {});
};

} // namespace corvane
