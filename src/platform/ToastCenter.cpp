#include "platform/ToastCenter.h"

namespace corvane {

QUuid ToastCenter::post(const QString& message, ToastStyle style) {
    current_ = Toast{QUuid::createUuid(), message, style};
    emit currentChanged();
    return current_->id;
}

void ToastCenter::dismiss(const QUuid& id) {
    if (!current_ || current_->id != id)
        return;
    current_.reset();
    emit currentChanged();
}

} // namespace corvane
