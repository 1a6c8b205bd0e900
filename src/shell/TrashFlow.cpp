#include "shell/TrashFlow.h"

#include "shell/TrashConfirmation.h"

#include <QAbstractButton>
#include <QMessageBox>

namespace corvane {

void confirmThenTrash(QWidget& page, const TrashPlan& plan,
                      std::function<void(const TrashPlan&)> carryOut) {
    if (plan.isEmpty())
        return;
    QMessageBox* box = makeTrashConfirmation(page.window(), TrashQuestion::about(plan));
    QObject::connect(box, &QMessageBox::buttonClicked, &page,
                     [box, plan, carryOut = std::move(carryOut)](QAbstractButton* button) {
                         if (box->buttonRole(button) == QMessageBox::AcceptRole)
                             carryOut(plan);
                     });
    box->open();
}

} // namespace corvane
