#pragma once

#include "organize/OrganizeTypes.h"

#include <QString>

namespace corvane {

// The folders of the home folder that the user's shell profiles name, so that a project the
// terminal setup depends on (a tool's bin folder on PATH, a sourced script) is never moved.
namespace ShellProfile {

// The profile files read, in this order, from the home folder.
const QStringList& profileFileNames();

// Reads every profile that exists in `home`. A path is the home folder, written literally or
// as "$HOME" or "${HOME}", then "/" and a run of characters other than white space, quotes,
// backtick, ":", ";", "$", ")", "}" and backslash (a backslash escapes the next character).
ShellReferences read(const QString& home, bool macPathRules);

// The same over one profile's text, adding to `references`.
void scan(const QString& text, const QString& profileName, const QString& home, bool macPathRules,
          ShellReferences& references);

// The name of the profile that names `folder` or a path inside it, or nothing.
std::optional<QString> profileUsing(const ShellReferences& references, const QString& folder);

} // namespace ShellProfile
} // namespace corvane
