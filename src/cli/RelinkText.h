#pragma once

#include "agents/RelinkReport.h"

#include <QTextStream>

namespace corvane::cli {

// What a relink changed, store by store, then its warnings, each line after `indent`. With
// `changesOnly` the stores it left alone are not named.
void printRelinkReport(QTextStream& out, const RelinkReport& report, bool preview,
                       const QString& indent, bool changesOnly = false);

} // namespace corvane::cli
