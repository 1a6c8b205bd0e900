#include "scanning/FolderNames.h"

#include <QDir>

namespace corvane {

const QSet<QString>& FolderNames::in(const QString& folder) {
    auto found = cache_.find(folder);
    if (found == cache_.end()) {
        const QStringList names = QDir(folder).entryList(
            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Unsorted);
        found = cache_.insert(folder, QSet<QString>(names.cbegin(), names.cend()));
    }
    return *found;
}

} // namespace corvane
