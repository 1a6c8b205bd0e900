#pragma once
// The Security framework, as far as the _mac sources use it: static code objects and their
// signing information (CSCommon.h, SecStaticCode.h, SecCode.h, SecBase.h).

#include <CoreFoundation/CoreFoundation.h>

extern "C" {

typedef struct __SecCode const* SecStaticCodeRef;
typedef UInt32 SecCSFlags;

enum : OSStatus { errSecSuccess = 0 };
enum : SecCSFlags { kSecCSDefaultFlags = 0 };
enum : SecCSFlags {
    kSecCSInternalInformation = 1 << 0,
    kSecCSSigningInformation = 1 << 1,
    kSecCSRequirementInformation = 1 << 2,
    kSecCSDynamicInformation = 1 << 3,
    kSecCSContentInformation = 1 << 4,
};

OSStatus SecStaticCodeCreateWithPath(CFURLRef path, SecCSFlags flags, SecStaticCodeRef* staticCode);
OSStatus SecCodeCopySigningInformation(SecStaticCodeRef code, SecCSFlags flags,
                                       CFDictionaryRef* information);
extern const CFStringRef kSecCodeInfoTeamIdentifier;
extern const CFStringRef kSecCodeInfoFlags;

} // extern "C"
