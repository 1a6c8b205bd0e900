#pragma once

#include <QStringList>

// The Claude desktop app keeps one JSON record per session it runs through Claude Code.
namespace corvane::ClaudeDesktopRecords {

// The records ("local_*.json") anywhere under `folders`, folder by folder in the order given,
// sorted by path within each. Missing folders give nothing.
QStringList files(const QStringList& folders);

} // namespace corvane::ClaudeDesktopRecords
