#pragma once

#include <QObject>
#include <QString>
#include <QUuid>
#include <optional>

namespace corvane {

enum class ToastStyle { success, info };

struct Toast {
    QUuid id;
    QString message;
    ToastStyle style = ToastStyle::info;

    bool operator==(const Toast&) const = default;
};

// The one notifier that every model posts to; it holds a single current toast, and a new one
// replaces whatever is shown.
class ToastCenter : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    const std::optional<Toast>& current() const { return current_; }

    // Shows `message` and returns the new toast's id.
    QUuid post(const QString& message, ToastStyle style = ToastStyle::success);
    // Hides the toast `id` if it is still the current one (a later toast stays).
    void dismiss(const QUuid& id);

signals:
    void currentChanged();

private:
    std::optional<Toast> current_;
};

} // namespace corvane
