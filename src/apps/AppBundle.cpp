#include "apps/AppBundle.h"

#include "platform/InputLimits.h"
#include "platform/PathIdentity.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStringDecoder>
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
    // By pointer and length: a string with a NUL byte inside (written as "&#0;" or raw) makes
    // plist_get_string_val abort the process on its length check.
    uint64_t length = 0;
    const char* value = plist_get_string_ptr(item, &length);
    if (!value || length > uint64_t(InputLimits::fileBytes))
        return std::nullopt;
    const QByteArray bytes(value, qsizetype(length));
    // No name or identifier holds a NUL; one that does is not read as its first part.
    if (bytes.contains('\0'))
        return std::nullopt;
    QString text = QString::fromUtf8(bytes);
    // An empty name or identifier is as good as none.
    if (text.trimmed().isEmpty())
        return std::nullopt;
    return text;
}

// An XML property list as UTF-8 without a byte-order mark, which is all libplist reads: editors
// and some build tools write UTF-16, with or without a mark, or put a mark before UTF-8.
QByteArray asPlainUtf8(const QByteArray& contents) {
    if (contents.startsWith("bplist"))
        return contents;
    std::optional<QStringConverter::Encoding> encoding =
        QStringConverter::encodingForData(contents);
    if (!encoding && contents.size() >= 2) {
        // UTF-16 without a mark still begins with "<" next to a zero byte.
        if (contents.at(0) == '<' && contents.at(1) == 0)
            encoding = QStringConverter::Utf16LE;
        else if (contents.at(0) == 0 && contents.at(1) == '<')
            encoding = QStringConverter::Utf16BE;
    }
    if (!encoding || *encoding == QStringConverter::Latin1)
        return contents;
    QStringDecoder decode(*encoding);
    QString text = decode(contents);
    if (decode.hasError())
        return contents;
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    // The declaration must no longer claim the encoding the text was in.
    static const QRegularExpression declared(QStringLiteral("encoding=\"[^\"]*\""),
                                             QRegularExpression::CaseInsensitiveOption);
    const qsizetype declarationEnd = text.indexOf(QStringLiteral("?>"));
    if (text.startsWith(QStringLiteral("<?xml")) && declarationEnd > 0)
        text.replace(
            0, declarationEnd,
            text.left(declarationEnd).replace(declared, QStringLiteral("encoding=\"UTF-8\"")));
    return text.toUtf8();
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

std::optional<BundleInfo> AppBundle::parseInfo(const QByteArray& raw) {
    const QByteArray contents = asPlainUtf8(raw);
    if (contents.isEmpty())
        return std::nullopt;
    plist_t parsed = nullptr;
    plist_from_memory(contents.constData(), uint32_t(contents.size()), &parsed);
    const PlistPtr root(parsed);
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT)
        return std::nullopt;
    return BundleInfo{stringValue(root.get(), "CFBundleIdentifier"),
                      stringValue(root.get(), "CFBundleDisplayName"),
                      stringValue(root.get(), "CFBundleName"),
                      stringValue(root.get(), "CFBundleShortVersionString")};
}

std::optional<BundleInfo> AppBundle::readInfo(const QString& plistPath, QString* problem) {
    const auto refuse = [&](const QString& why) -> std::optional<BundleInfo> {
        if (problem)
            *problem = InputLimits::refusal(plistPath, why);
        return std::nullopt;
    };
    // An Info.plist holds some kilobytes, the largest some hundred; a larger file is no app's.
    const InputLimits::FileRead file =
        InputLimits::readFile(plistPath, InputLimits::smallFileBytes);
    if (!file.bytes)
        return refuse(file.problem);
    std::optional<BundleInfo> info = parseInfo(*file.bytes);
    if (!info)
        return refuse(QStringLiteral("it is not a property list of an app"));
    return info;
}

AppSource AppBundle::sourceOf(const QString& bundlePath, const std::optional<QString>& identifier,
                              const CaskMap& casks, std::optional<QString>* caskToken) {
    if ((identifier && identifier->startsWith(QStringLiteral("com.apple."), Qt::CaseInsensitive)) ||
        bundlePath == QStringLiteral("/System") ||
        bundlePath.startsWith(QStringLiteral("/System/")))
        return AppSource::apple;
    if (QFileInfo(bundlePath + QStringLiteral("/Contents/_MASReceipt")).exists())
        return AppSource::appStore;
    for (auto it = casks.cbegin(); it != casks.cend(); ++it) {
        if (PathIdentity::same(it.key(), bundlePath)) {
            if (caskToken)
                *caskToken = it.value();
            return AppSource::homebrew;
        }
    }
    return AppSource::other;
}

std::optional<InstalledApp> AppBundle::read(const QString& bundlePath, const CaskMap& casks,
                                            QString* problem) {
    const std::optional<QString> plistPath = infoPlistPath(bundlePath);
    if (!plistPath)
        return std::nullopt;
    const std::optional<BundleInfo> info = readInfo(*plistPath, problem);
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
