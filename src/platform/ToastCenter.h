#pragma once

#include <QObject>
#include <QString>
#include <QUuid>
#include <optional>

namespace corvane {

enum class ToastStyle { success, info };

// A button on a toast. Pressing it hands `command` and `argument` to whoever listens to the
// toast center for that command, so a toast stays a plain value that any model can post.
struct ToastAction {
    QString title;
    QString command;
    QString argument;

    bool operator==(const ToastAction&) const = default;
};

struct Toast {
    QUuid id;
    QString message;
    ToastStyle style = ToastStyle::info;
    std::optional<ToastAction> action;

    bool operator==(const Toast&) const = default;
};

// The one notifier that every model posts to; it holds a single current toast, and a new one
// replaces whatever is shown.
class ToastCenter : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    const std::optional<Toast>& current() const { return current_; }

    // Shows `message`, with a button when `action` is given, and returns the new toast's id.
    QUuid post(const QString& message, ToastStyle style = ToastStyle::success,
               std::optional<ToastAction> action = std::nullopt);
    // Hides the toast `id` if it is still the current one (a later toast stays).
    void dismiss(const QUuid& id);
    // The button of toast `id` was pressed: hides the toast and announces its action, once. A
    // toast that has been replaced does nothing any more.
    void triggerAction(const QUuid& id);

signals:
    void currentChanged();
    void actionTriggered(const corvane::ToastAction& action);

private:
    std::optional<Toast> current_;
};

} // namespace corvane
