#include "platform/TrashGauge.h"

#include "platform/BackgroundJobs.h"
#include "platform/MainThreadMailbox.h"
#include "platform/SizeCalculator.h"

namespace corvane {

TrashGauge::TrashGauge(QString folder, QObject* parent)
    : QObject(parent)
    , folder_(std::move(folder))
    , mailbox_(std::make_shared<MainThreadMailbox>(this)) {}

TrashGauge::~TrashGauge() {
    mailbox_->close();
}

void TrashGauge::refresh() {
    const quint64 generation = ++generation_;
    runInBackground([mailbox = mailbox_, folder = folder_, generation, this] {
        // What emptying gives back: a trashed pnpm node_modules still shares its files with
        // the store, and those blocks stay.
        const qint64 bytes = SizeCalculator::measure(folder).freesBytes;
        mailbox->post([this, bytes, generation] {
            if (generation != generation_)
                return;
            bytes_ = bytes;
            emit changed();
        });
    });
}

} // namespace corvane
