#pragma once

#include <QString>

// Whether two paths lead to the same place, decided as the file system decides it: every symbolic
// link along the way resolved, and names compared with the case rules of the volume that holds
// them. Keep marks, guards and containment checks compare paths through here, never as strings,
// so that a folder reached through a link, or spelt in another case on a volume that ignores case,
// is still recognised.
namespace corvane::PathIdentity {

// `path` made absolute and standardized, with every link along it resolved from the left (so ".."
// after a link leaves the link's target, as the kernel does). The part that does not exist is
// kept as written.
QString resolved(const QString& path);

// Whether the volume holding `path` (or its nearest existing folder) treats names that differ only
// in case as the same name.
bool ignoresCase(const QString& path);

// Whether `a` and `b` lead to the same place.
bool same(const QString& a, const QString& b);

// Whether `path` leads to `folder` or to something inside it. An empty folder holds nothing.
bool isInside(const QString& path, const QString& folder);

} // namespace corvane::PathIdentity
