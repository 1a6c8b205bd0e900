#pragma once

#include "cli/Console.h"

#include <QString>

// `corvane keep`: marks a project or an item Keep, removes the mark, or lists the marks. It goes
// through the scan session, as the window does, so the marks mean the same in both.
namespace corvane::cli {

struct KeepRequest {
    enum class Action { add, remove, list };

    Action action = Action::list;
    // The folder to mark or unmark; unused for `list`.
    QString path;
    bool json = false;
};

int runKeep(const KeepRequest& request, Console& console);

} // namespace corvane::cli
