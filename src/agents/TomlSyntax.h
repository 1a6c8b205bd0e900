#pragma once

#include <QString>
#include <optional>

// Whether a text reads as TOML, for files of other programs that are edited in place: a file
// that does not parse is not understood, so it is never edited.
namespace corvane::TomlSyntax {

// The first problem met ("line 3: ..."), or nothing when `text` is valid TOML. Checks the
// syntax of keys, tables and values and that no table is defined twice; it builds nothing.
std::optional<QString> problem(QStringView text);

} // namespace corvane::TomlSyntax
