#include "platform/ToastCenter.h"

namespace corvane {

QUuid ToastCenter::post(const QString& message, ToastStyle style,
                        std::optional<ToastAction> action) {
    current_ = Toast{QUuid::createUuid(), message, style, std::move(action)};
    emit currentChanged();
    return current_->id;
}

void ToastCenter::dismiss(const QUuid& id) {
    if (!current_ || current_->id != id)
        return;
    current_.reset();
    emit currentChanged();
}

void ToastCenter::triggerAction(const QUuid& id) {
    if (!current_ || current_->id != id || !current_->action)
        return;
    const ToastAction action = *current_->action;
    dismiss(id);
    emit actionTriggered(action);
}

} // namespace corvane
