#pragma once

#include <QObject>
#include <QString>
#include <memory>
#include <optional>

namespace corvane {

class MainThreadMailbox;

// How much emptying the Trash would give back. Space moved there comes back only then, so a
// window that reclaims space says how much waits there. Measured off the main thread; a
// measurement overtaken by a newer one is dropped.
class TrashGauge : public QObject {
    Q_OBJECT

public:
    explicit TrashGauge(QString folder, QObject* parent = nullptr);
    ~TrashGauge() override;

    // Nothing until the first measurement arrives.
    const std::optional<qint64>& bytes() const { return bytes_; }
    const QString& folder() const { return folder_; }

    // Measures the Trash again, in the background; the last figure stays until then.
    void refresh();

signals:
    void changed();

private:
    QString folder_;
    std::optional<qint64> bytes_;
    quint64 generation_ = 0;
    std::shared_ptr<MainThreadMailbox> mailbox_;
};

} // namespace corvane
