#pragma once

#include "apps/LibraryMatcher.h"
#include "support/TestEnvironment.h"

#include <QByteArray>
#include <QDir>
#include <QFileInfo>
#include <QList>
#include <QPair>
#include <QString>
#include <ostream>
#include <plist/plist.h>

namespace corvane {
inline void PrintTo(const DataMatch& match, std::ostream* out) {
    *out << caseName(match.kind).toStdString() << ' ' << match.path.toStdString()
         << (match.exact ? " exact" : " possibly related");
}
} // namespace corvane

// App bundles and Library entries for the app inventory's tests.
namespace corvane::test {

using PlistKeys = QList<QPair<QString, QString>>;

// An Info.plist in XML, as a text editor or older tools write it.
inline QByteArray xmlPlist(const PlistKeys& keys) {
    QByteArray body = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                      "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                      "<plist version=\"1.0\">\n<dict>\n";
    for (const auto& [key, value] : keys)
        body += "\t<key>" + key.toUtf8() + "</key>\n\t<string>" + value.toUtf8() + "</string>\n";
    return body + "</dict>\n</plist>\n";
}

// The XML form of `keys`, padded with one more key to exactly `size` bytes.
inline QByteArray xmlPlistOfSize(PlistKeys keys, qsizetype size) {
    keys.append({QStringLiteral("Padding"), QString()});
    const qsizetype unpadded = xmlPlist(keys).size();
    keys.last().second = QString(size - unpadded, u'x');
    return xmlPlist(keys);
}

// The same keys in the binary form Xcode ships, written by libplist itself.
inline QByteArray binaryPlist(const PlistKeys& keys) {
    plist_t dict = plist_new_dict();
    for (const auto& [key, value] : keys)
        plist_dict_set_item(dict, key.toUtf8().constData(),
                            plist_new_string(value.toUtf8().constData()));
    char* data = nullptr;
    uint32_t length = 0;
    plist_to_bin(dict, &data, &length);
    const QByteArray bytes(data, qsizetype(length));
    plist_to_bin_free(data);
    plist_free(dict);
    return bytes;
}

inline PlistKeys appKeys(const QString& identifier, const QString& name,
                         const QString& version = QStringLiteral("1.0")) {
    return {{QStringLiteral("CFBundleIdentifier"), identifier},
            {QStringLiteral("CFBundleName"), name},
            {QStringLiteral("CFBundleShortVersionString"), version}};
}

// A bundle at `folder`/`fileName` whose Info.plist holds `plist`; returns its path.
inline QString makeBundle(const QString& folder, const QString& fileName, const QByteArray& plist,
                          const QByteArray& executable = "binary") {
    const QString bundle = QDir(folder).filePath(fileName);
    writeFile(bundle + QStringLiteral("/Contents/Info.plist"), plist);
    writeFile(bundle + QStringLiteral("/Contents/MacOS/") + QFileInfo(fileName).completeBaseName(),
              executable);
    return bundle;
}

// The fake home's Library, where the inventory looks.
inline QString library() {
    return fakeHome() + QStringLiteral("/Library");
}

// Writes an entry under the Library: a file, or a folder holding one file of `bytes` bytes.
inline QString libraryFile(const QString& relative, qsizetype bytes = 10) {
    const QString path = library() + QLatin1Char('/') + relative;
    writeFile(path, QByteArray(bytes, 'x'));
    return path;
}
inline QString libraryFolderWith(const QString& relative, qsizetype bytes = 10) {
    const QString path = library() + QLatin1Char('/') + relative;
    writeFile(path + QStringLiteral("/data"), QByteArray(bytes, 'x'));
    return path;
}

} // namespace corvane::test
