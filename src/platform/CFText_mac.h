#pragma once

// Text from Core Foundation. Qt's QString::fromCFString exists only in Qt's macOS builds; this
// one needs nothing but Core Foundation, so the macOS sources also compile in the Linux build's
// check against the transcribed Apple declarations.

#include <CoreFoundation/CoreFoundation.h>
#include <QString>

namespace corvane {

inline QString fromCFString(CFStringRef text) {
    if (!text)
        return {};
    const CFIndex length = CFStringGetLength(text);
    QString result(length, Qt::Uninitialized);
    CFStringGetCharacters(text, CFRangeMake(0, length), reinterpret_cast<UniChar*>(result.data()));
    return result;
}

} // namespace corvane
