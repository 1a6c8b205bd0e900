#include "apps/AppSignature.h"
#include "platform/CFText_mac.h"

#include <CoreServices/CoreServices.h>
#include <QTimeZone>
#include <Security/Security.h>

namespace corvane {

namespace {

CFURLRef bundleURL(const QString& bundlePath) {
    const QByteArray path = bundlePath.toUtf8();
    return CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.constData()), path.size(), true);
}

} // namespace

std::optional<QString> AppSignature::teamIdentifier(const QString& bundlePath) {
    CFURLRef url = bundleURL(bundlePath);
    if (!url)
        return std::nullopt;
    SecStaticCodeRef code = nullptr;
    const OSStatus created = SecStaticCodeCreateWithPath(url, kSecCSDefaultFlags, &code);
    CFRelease(url);
    if (created != errSecSuccess || !code)
        return std::nullopt;
    CFDictionaryRef info = nullptr;
    std::optional<QString> team;
    if (SecCodeCopySigningInformation(code, SecCSFlags(kSecCSSigningInformation), &info) ==
            errSecSuccess &&
        info) {
        const void* value = CFDictionaryGetValue(info, kSecCodeInfoTeamIdentifier);
        if (value && CFGetTypeID(value) == CFStringGetTypeID())
            team = fromCFString(static_cast<CFStringRef>(value));
        CFRelease(info);
    }
    CFRelease(code);
    return team;
}

std::optional<QDateTime> AppSignature::lastUsedAt(const QString& bundlePath) {
    const QByteArray path = bundlePath.toUtf8();
    CFStringRef cfPath =
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()),
                                path.size(), kCFStringEncodingUTF8, false);
    if (!cfPath)
        return std::nullopt;
    MDItemRef item = MDItemCreate(kCFAllocatorDefault, cfPath);
    CFRelease(cfPath);
    if (!item)
        return std::nullopt;
    std::optional<QDateTime> used;
    CFTypeRef value = MDItemCopyAttribute(item, kMDItemLastUsedDate);
    if (value) {
        if (CFGetTypeID(value) == CFDateGetTypeID()) {
            const CFAbsoluteTime seconds = CFDateGetAbsoluteTime(static_cast<CFDateRef>(value));
            used = QDateTime::fromMSecsSinceEpoch(
                qint64((seconds + kCFAbsoluteTimeIntervalSince1970) * 1000.0), QTimeZone::utc());
        }
        CFRelease(value);
    }
    CFRelease(item);
    return used;
}

} // namespace corvane
