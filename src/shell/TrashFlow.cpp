#include "shell/TrashFlow.h"

#include "shell/ConfirmationSheet.h"
#include "shell/TrashConfirmation.h"

namespace corvane {

void confirmThenTrash(QWidget& page, const TrashPlan& plan,
                      std::function<void(const TrashPlan&)> carryOut) {
    if (plan.isEmpty())
        return;
    ConfirmationSheet* sheet = makeTrashConfirmation(page.window(), TrashQuestion::about(plan));
    // The plan the sheet shows is the plan carried out: a scan still running may tick more
    // items meanwhile, and those wait for a sheet of their own.
    QObject::connect(sheet, &QDialog::accepted, &page,
                     [plan, carryOut = std::move(carryOut)] { carryOut(plan); });
    sheet->open();
}

} // namespace corvane
