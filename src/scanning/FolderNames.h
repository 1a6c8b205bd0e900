#pragma once

#include <QHash>
#include <QSet>
#include <QString>

namespace corvane {

// The entry names of folders, each listed at most once for as long as the cache lives (one
// classification, one look at git's ignored folders). Hidden entries count. A folder that cannot
// be listed has no entries, which can only make a sibling condition fail.
class FolderNames {
public:
    const QSet<QString>& in(const QString& folder);

private:
    QHash<QString, QSet<QString>> cache_;
};

} // namespace corvane
