#include "apps/AppBundle.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cstdlib>
#include <memory>
#include <plist/plist.h>

namespace corvane {

namespace {

struct PlistFree {
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<std::remove_pointer_t<plist_t>, PlistFree>;

std::optional<QString> stringValue(plist_t dict, const char* key) {
    plist_t item = plist_dict_get_item(dict, key);
    if (!item || plist_get_node_type(item) != PLIST_STRING)
        return std::nullopt;
    char* value = nullptr;
    plist_get_string_val(item, &value);
    if (!value)
        return std::nullopt;
    QString text = QString::fromUtf8(value);
    std::free(value);
    // An empty name or identifier is as good as none.
    if (text.trimmed().isEmpty())
        return std::nullopt;
    return text;
}

} // namespace

std::optional<QString> AppBundle::infoPlistPath(const QString& bundlePath) {
    const QString direct = bundlePath + QStringLiteral("/Contents/Info.plist");
    if (QFileInfo(direct).isFile())
        return direct;
    // A wrapped iPhone or iPad app keeps its plist at the top of the inner bundle.
    const QDir wrapper(bundlePath + QStringLiteral("/Wrapper"));
    const QStringList inner =
        wrapper.entryList({QStringLiteral("*.app")}, QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString& name : inner) {
        const QString path = wrapper.filePath(name) + QStringLiteral("/Info.plist");
        if (QFileInfo(path).isFile())
            return path;
    }
    return std::nullopt;
}

std::optional<BundleInfo> AppBundle::parseInfo(const QByteArray& contents) {
    if (contents.isEmpty())
        return std::nullopt;
    plist_t raw = nullptr;
    plist_from_memory(contents.constData(), uint32_t(contents.size()), &raw);
    const PlistPtr root(raw);
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT)
        return std::nullopt;
    return BundleInfo{stringValue(root.get(), "CFBundleIdentifier"),
                      stringValue(root.get(), "CFBundleDisplayName"),
                      stringValue(root.get(), "CFBundleName"),
                      stringValue(root.get(), "CFBundleShortVersionString")};
}

AppSource AppBundle::sourceOf(const QString& bundlePath, const std::optional<QString>& identifier,
                              const CaskMap& casks, std::optional<QString>* caskToken) {
    if ((identifier && identifier->startsWith(QStringLiteral("com.apple."), Qt::CaseInsensitive)) ||
        bundlePath == QStringLiteral("/System") ||
        bundlePath.startsWith(QStringLiteral("/System/")))
        return AppSource::apple;
    if (QFileInfo(bundlePath + QStringLiteral("/Contents/_MASReceipt")).exists())
        return AppSource::appStore;
    const QString fileName = QFileInfo(bundlePath).fileName();
    for (auto it = casks.cbegin(); it != casks.cend(); ++it) {
        if (it.key().compare(fileName, Qt::CaseInsensitive) == 0) {
            if (caskToken)
                *caskToken = it.value();
            return AppSource::homebrew;
        }
    }
    return AppSource::other;
}

std::optional<InstalledApp> AppBundle::read(const QString& bundlePath, const CaskMap& casks) {
    const std::optional<QString> plistPath = infoPlistPath(bundlePath);
    if (!plistPath)
        return std::nullopt;
    QFile file(*plistPath);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const std::optional<BundleInfo> info = parseInfo(file.readAll());
    if (!info)
        return std::nullopt;

    InstalledApp app;
    app.url = bundlePath;
    app.name =
        info->displayName.value_or(info->name.value_or(QFileInfo(bundlePath).completeBaseName()));
    app.bundleIdentifier = info->identifier;
    app.version = info->version;
    app.source = sourceOf(bundlePath, info->identifier, casks, &app.caskToken);
    return app;
}

} // namespace corvane
