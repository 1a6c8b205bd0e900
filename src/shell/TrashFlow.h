#pragma once

#include "platform/TrashPlan.h"

#include <functional>

class QWidget;

namespace corvane {

// Asks in a sheet over `page`'s window whether to move what `plan` lists to the Trash, and hands
// exactly that plan to `carryOut` if the user agrees, whatever has been ticked since (a scan still
// running may tick more; those wait for a sheet of their own). An empty plan asks nothing.
void confirmThenTrash(QWidget& page, const TrashPlan& plan,
                      std::function<void(const TrashPlan&)> carryOut);

} // namespace corvane
