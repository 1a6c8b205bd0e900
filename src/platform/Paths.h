#pragma once

#include <QString>
#include <optional>

// Path helpers shared by every subsystem. File locations are absolute path strings without a
// trailing slash (except "/" itself).
namespace corvane::Paths {

// Removes "." and ".." components, repeated and trailing slashes. No symbolic link is resolved.
QString standardized(const QString& path);

// `path` made absolute against the current folder, then standardized. No link is resolved.
QString absoluteStandardized(const QString& path);

// On macOS "/tmp" and "/var" are links into "/private"; paths that begin with "/tmp/" or "/var/"
// get the "/private" prefix so both spellings compare equal. Elsewhere the path is unchanged.
QString withPrivatePrefix(const QString& path, bool macRules);
QString withPrivatePrefix(const QString& path);

// Standardized and prefixed: the form in which paths from agent history are compared.
QString normalized(const QString& path);

// True when `path` equals `folder` or lies inside it ("/a/b" is not under "/a/bc" nor the other
// way round); false for an empty folder. A plain comparison of the strings: where links or the
// volume's case rule matter, use PathIdentity::isInside.
bool isUnder(const QString& path, const QString& folder);

// The part of `path` below `folder` ("b/c" for "/a/b/c" below "/a"); nothing when `path` is the
// folder itself or lies outside it.
std::optional<QString> pathInside(const QString& path, const QString& folder);

// `path` as people read it: "~" for `home` and "~/..." for what lies inside it, else unchanged.
QString withTilde(const QString& path, const QString& home);

// `path` with its names composed (Unicode NFC). Names compare as text, not bytes: macOS hands out
// some names decomposed (NFD, as HFS+ stores them and some calls return them) and others
// composed, and "Café" is one name either way. Compare paths that may come from different
// sources in this form.
QString composed(const QString& path);

// The last path component ("" for "/").
QString lastComponent(const QString& path);

// The folder that holds `path` ("/" for a top-level entry).
QString parentPath(const QString& path);

// `folder` + "/" + `name`, without doubling the slash after "/".
QString joined(const QString& folder, const QString& name);

} // namespace corvane::Paths
