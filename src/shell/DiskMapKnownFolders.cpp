#include "shell/DiskMapKnownFolders.h"

#include "agents/AgentLocations.h"
#include "devtools/AIModelCatalog.h"
#include "platform/Paths.h"
#include "scanning/GlobalCacheCatalog.h"

namespace corvane {

QHash<QString, MapCategory> diskMapKnownFolders(const QString& home) {
    QHash<QString, MapCategory> known;
    const auto add = [&known](const QString& path, MapCategory category) {
        if (!path.isEmpty())
            known.insert(Paths::standardized(path), category);
    };
    for (const GlobalCacheEntry& cache : GlobalCacheCatalog::listing(home))
        add(cache.url, MapCategory::developerCache);

    const AgentLocations agents(home);
    add(agents.claudeProjects, MapCategory::agentHistory);
    add(agents.codexHome, MapCategory::agentHistory);
    for (const QString& sessions : agents.claudeDesktopSessions)
        add(sessions, MapCategory::agentHistory);
    for (const EditorStorage& storage : agents.editorStorages)
        add(storage.url, MapCategory::agentHistory);

    const AIModelCatalog::Stores stores = AIModelCatalog::locateStores(home);
    if (stores.lmStudio)
        add(*stores.lmStudio, MapCategory::aiModels);
    for (const AIModelCatalog::OllamaStore& store : stores.ollama)
        add(store.path, MapCategory::aiModels);
    if (stores.huggingFace)
        add(*stores.huggingFace, MapCategory::aiModels);
    return known;
}

} // namespace corvane
