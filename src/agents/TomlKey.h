#pragma once

#include <QString>
#include <optional>

// Quoted keys of TOML, as Codex writes them in its "config.toml".
namespace corvane::TomlKey {

// The value of a quoted key: a basic string ("...", with backslash escapes) or a literal one
// ('...', taken as written). Nothing when it is malformed.
std::optional<QString> decoded(QStringView quoted);

// A basic string for `text`: quotes, backslashes and control characters escaped, everything
// else as written.
QString basicString(const QString& text);

} // namespace corvane::TomlKey
