// A freedesktop ".trashinfo" record, read to tell whether a Trash entry is still ours.
#include "FuzzSupport.h"
#include "platform/PlatformTrash.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corvane;
    const QString item = fuzz::scratchFile(QStringLiteral("item"), {});
    const QString info =
        fuzz::scratchFile(QStringLiteral("item.trashinfo"), fuzz::bytes(data, size));
    TrashLocation(item, info).entry(QStringLiteral("/home/me/project"));
    TrashLocation(item, info, QStringLiteral("/home/me/project"),
                  QStringLiteral("2024-01-01T00:00:00"))
        .entry(QStringLiteral("/home/me/project"));
    return 0;
}
