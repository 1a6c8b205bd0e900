#include "apps/AppTypes.h"

#include <numeric>

namespace corvane {

QString caseName(AppSource source) {
    switch (source) {
    case AppSource::appStore:
        return QStringLiteral("appStore");
    case AppSource::homebrew:
        return QStringLiteral("homebrew");
    case AppSource::apple:
        return QStringLiteral("apple");
    case AppSource::other:
        return QStringLiteral("other");
    case AppSource::packageManager:
        return QStringLiteral("packageManager");
    case AppSource::snap:
        return QStringLiteral("snap");
    case AppSource::appImage:
        return QStringLiteral("appImage");
    }
    return {};
}

const QList<AppDataItem::Kind>& allAppDataKinds() {
    using Kind = AppDataItem::Kind;
    static const QList<Kind> kinds{Kind::applicationSupport,
                                   Kind::caches,
                                   Kind::containers,
                                   Kind::groupContainers,
                                   Kind::preferences,
                                   Kind::savedState,
                                   Kind::logs,
                                   Kind::httpStorages,
                                   Kind::webKit,
                                   Kind::launchAgents};
    return kinds;
}

namespace {

struct KindTexts {
    const char* caseName;
    const char* folder;
    const char* label;
};

KindTexts textsOf(AppDataItem::Kind kind) {
    using Kind = AppDataItem::Kind;
    switch (kind) {
    case Kind::applicationSupport:
        return {"applicationSupport", "Application Support", "Application Support"};
    case Kind::caches:
        return {"caches", "Caches", "Caches"};
    case Kind::containers:
        return {"containers", "Containers", "Container"};
    case Kind::groupContainers:
        return {"groupContainers", "Group Containers", "Group Container"};
    case Kind::preferences:
        return {"preferences", "Preferences", "Preferences"};
    case Kind::savedState:
        return {"savedState", "Saved Application State", "Saved window state"};
    case Kind::logs:
        return {"logs", "Logs", "Logs"};
    case Kind::httpStorages:
        return {"httpStorages", "HTTPStorages", "Web storage"};
    case Kind::webKit:
        return {"webKit", "WebKit", "WebKit data"};
    case Kind::launchAgents:
        return {"launchAgents", "LaunchAgents", "Launch agent"};
    case Kind::config:
        return {"config", ".config", "Configuration"};
    case Kind::data:
        return {"data", ".local/share", "Data"};
    case Kind::state:
        return {"state", ".local/state", "State"};
    }
    return {"", "", ""};
}

qint64 sumOf(const QList<AppDataItem>& items) {
    return std::accumulate(
        items.begin(), items.end(), qint64(0),
        [](qint64 sum, const AppDataItem& item) { return sum + item.sizeBytes; });
}

} // namespace

QString libraryFolder(AppDataItem::Kind kind) {
    return QString::fromLatin1(textsOf(kind).folder);
}

QString label(AppDataItem::Kind kind) {
    return QString::fromLatin1(textsOf(kind).label);
}

QString caseName(AppDataItem::Kind kind) {
    return QString::fromLatin1(textsOf(kind).caseName);
}

qint64 InstalledApp::dataBytes() const {
    return sumOf(data);
}

qint64 OrphanedAppData::sizeBytes() const {
    return sumOf(items);
}

QString caseName(AppRemovalOutcome::Method method) {
    switch (method) {
    case AppRemovalOutcome::Method::trash:
        return QStringLiteral("trash");
    case AppRemovalOutcome::Method::homebrew:
        return QStringLiteral("homebrew");
    case AppRemovalOutcome::Method::flatpak:
        return QStringLiteral("flatpak");
    case AppRemovalOutcome::Method::snap:
        return QStringLiteral("snap");
    }
    return {};
}

QString caseName(AppGone::Witness witness) {
    switch (witness) {
    case AppGone::Witness::flatpak:
        return QStringLiteral("flatpak");
    case AppGone::Witness::snap:
        return QStringLiteral("snap");
    case AppGone::Witness::seenBefore:
        return QStringLiteral("seenBefore");
    }
    return {};
}

} // namespace corvane
