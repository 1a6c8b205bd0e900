// LM Studio's ".lmstudio/settings.json", which names where its models are downloaded.
#include "FuzzSupport.h"
#include "devtools/AIModelCatalog.h"

#include <QDir>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corvane;
    const QString home = fuzz::scratch().filePath(QStringLiteral("home"));
    QDir().mkpath(home + QStringLiteral("/.lmstudio"));
    fuzz::scratchFile(QStringLiteral("home/.lmstudio/settings.json"), fuzz::bytes(data, size));
    AIModelCatalog::lmStudioModelsFolder(home);
    return 0;
}
