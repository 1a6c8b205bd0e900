// The system's own JSON files, each read by its own store: the archive catalog, the organize
// journal, the cleanup history, the Keep marks and the Claude folder ledger.
#include "FuzzSupport.h"
#include "agents/ClaudeFolderLedger.h"
#include "archive/ArchiveCatalog.h"
#include "organize/OrganizeJournal.h"
#include "platform/CleanupHistory.h"
#include "platform/KeepStore.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corvane;
    const QString path = fuzz::scratchFile(QStringLiteral("own.json"), fuzz::bytes(data, size));
    ArchiveCatalog{path}.read();
    OrganizeJournal(path).read();
    CleanupHistory(path).load();
    KeepStore(path).load();
    ClaudeFolderLedger{path}.load();
    return 0;
}
