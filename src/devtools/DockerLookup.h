#pragma once

#include "devtools/DockerTypes.h"

#include <QString>
#include <optional>

namespace corvane {

// What a name the user typed stands for in a listing: the item's identifier (a volume's name),
// or why it names none, or more than one.
struct DockerMatch {
    std::optional<QString> id;
    QString problem;
};

// Finds items by what the listings show, as Docker itself would: an image by one of its
// "repository:tag" names (a name without a tag means ":latest"), by its full id or a prefix that
// only it has (with or without "sha256:"); a container by a name, its id or a unique prefix; a
// volume by its name.
namespace DockerLookup {
DockerMatch image(const DockerSnapshot& snapshot, const QString& name);
DockerMatch container(const DockerSnapshot& snapshot, const QString& name);
DockerMatch volume(const DockerSnapshot& snapshot, const QString& name);
} // namespace DockerLookup

} // namespace corvane
