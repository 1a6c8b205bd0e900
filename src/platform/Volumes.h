#pragma once

#include <QString>
#include <optional>

// Which volume a path lies on, for telling a rename from a copy before anything changes.
namespace corvane::Volumes {

// The identifier of the volume holding `path` (the device number; a link is not followed), or
// nothing when `path` does not exist.
std::optional<quint64> identifier(const QString& path);

// `path` itself when it exists, else its nearest existing ancestor; the walk stops at "/".
QString nearestExisting(const QString& path);

// Whether `a` and the nearest existing folder at or above `b` are on one volume.
bool areOnSameVolume(const QString& a, const QString& b);

} // namespace corvane::Volumes
