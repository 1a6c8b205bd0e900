#pragma once
// Core Foundation, as far as the _mac sources use it (CFBase.h, CFString.h, CFURL.h,
// CFURLEnumerator.h, CFArray.h, CFDictionary.h, CFNumber.h, CFDate.h, CFError.h).

#include <cstdint>

extern "C" {

typedef unsigned char Boolean;
typedef std::uint8_t UInt8;
typedef std::uint16_t UInt16;
typedef std::uint32_t UInt32;
typedef std::int32_t SInt32;
typedef SInt32 OSStatus;
typedef UInt16 UniChar;
typedef long CFIndex;
typedef unsigned long CFOptionFlags;
typedef unsigned long CFTypeID;
typedef double CFTimeInterval;
typedef CFTimeInterval CFAbsoluteTime;

typedef const void* CFTypeRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;
typedef struct __CFString* CFMutableStringRef;
typedef const struct __CFURL* CFURLRef;
typedef const struct __CFArray* CFArrayRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef const struct __CFBoolean* CFBooleanRef;
typedef const struct __CFNumber* CFNumberRef;
typedef const struct __CFDate* CFDateRef;
typedef struct __CFError* CFErrorRef;
typedef const struct __CFURLEnumerator* CFURLEnumeratorRef;

typedef struct {
    CFIndex location;
    CFIndex length;
} CFRange;

inline CFRange CFRangeMake(CFIndex loc, CFIndex len) {
    CFRange range;
    range.location = loc;
    range.length = len;
    return range;
}

extern const CFAllocatorRef kCFAllocatorDefault;
extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;
extern const CFTimeInterval kCFAbsoluteTimeIntervalSince1970;

void CFRelease(CFTypeRef cf);
CFTypeRef CFRetain(CFTypeRef cf);
CFTypeID CFGetTypeID(CFTypeRef cf);

// Strings
typedef UInt32 CFStringEncoding;
enum : CFStringEncoding { kCFStringEncodingUTF8 = 0x08000100 };
CFTypeID CFStringGetTypeID(void);
CFIndex CFStringGetLength(CFStringRef theString);
void CFStringGetCharacters(CFStringRef theString, CFRange range, UniChar* buffer);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef alloc, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef alloc, const UniChar* chars,
                                         CFIndex numChars);
Boolean CFStringGetFileSystemRepresentation(CFStringRef string, char* buffer, CFIndex maxBufLen);

// Booleans, numbers and dates
CFTypeID CFBooleanGetTypeID(void);
Boolean CFBooleanGetValue(CFBooleanRef boolean);
CFTypeID CFNumberGetTypeID(void);
typedef CFIndex CFNumberType;
enum : CFNumberType { kCFNumberSInt64Type = 4, kCFNumberLongLongType = 11 };
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr);
CFTypeID CFDateGetTypeID(void);
CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef theDate);

// Collections
typedef const void* (*CFArrayRetainCallBack)(CFAllocatorRef allocator, const void* value);
typedef void (*CFArrayReleaseCallBack)(CFAllocatorRef allocator, const void* value);
typedef CFStringRef (*CFArrayCopyDescriptionCallBack)(const void* value);
typedef Boolean (*CFArrayEqualCallBack)(const void* value1, const void* value2);
typedef struct {
    CFIndex version;
    CFArrayRetainCallBack retain;
    CFArrayReleaseCallBack release;
    CFArrayCopyDescriptionCallBack copyDescription;
    CFArrayEqualCallBack equal;
} CFArrayCallBacks;
extern const CFArrayCallBacks kCFTypeArrayCallBacks;
CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values, CFIndex numValues,
                         const CFArrayCallBacks* callBacks);
CFIndex CFArrayGetCount(CFArrayRef theArray);
const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx);
const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key);

// Errors
CFIndex CFErrorGetCode(CFErrorRef err);
CFStringRef CFErrorCopyDescription(CFErrorRef err);

// URLs
typedef CFIndex CFURLPathStyle;
enum : CFURLPathStyle { kCFURLPOSIXPathStyle = 0 };
CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* buffer,
                                                 CFIndex bufLen, Boolean isDirectory);
Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                         CFIndex maxBufLen);
CFStringRef CFURLCopyFileSystemPath(CFURLRef anURL, CFURLPathStyle pathStyle);
Boolean CFURLCopyResourcePropertyForKey(CFURLRef url, CFStringRef key,
                                        void* propertyValueTypeRefPtr, CFErrorRef* error);
extern const CFStringRef kCFURLIsPackageKey;
extern const CFStringRef kCFURLVolumeNameKey;
extern const CFStringRef kCFURLVolumeIsInternalKey;
extern const CFStringRef kCFURLVolumeIsBrowsableKey;
extern const CFStringRef kCFURLVolumeIsLocalKey;
extern const CFStringRef kCFURLVolumeIsReadOnlyKey;
extern const CFStringRef kCFURLVolumeIsRootFileSystemKey;

// Enumerating mounted volumes
typedef CFOptionFlags CFURLEnumeratorOptions;
enum : CFURLEnumeratorOptions {
    kCFURLEnumeratorDefaultBehavior = 0,
    kCFURLEnumeratorDescendRecursively = 1UL << 0,
    kCFURLEnumeratorSkipInvisibles = 1UL << 1,
    kCFURLEnumeratorGenerateFileReferenceURLs = 1UL << 2,
    kCFURLEnumeratorSkipPackageContents = 1UL << 3,
    kCFURLEnumeratorIncludeDirectoriesPreOrder = 1UL << 4,
    kCFURLEnumeratorIncludeDirectoriesPostOrder = 1UL << 5,
};
typedef CFIndex CFURLEnumeratorResult;
enum : CFURLEnumeratorResult {
    kCFURLEnumeratorSuccess = 1,
    kCFURLEnumeratorEnd = 2,
    kCFURLEnumeratorError = 3,
    kCFURLEnumeratorDirectoryPostOrderSuccess = 4,
};
CFURLEnumeratorRef CFURLEnumeratorCreateForMountedVolumes(CFAllocatorRef alloc,
                                                          CFURLEnumeratorOptions option,
                                                          CFArrayRef propertyKeys);
CFURLEnumeratorResult CFURLEnumeratorGetNextURL(CFURLEnumeratorRef enumerator, CFURLRef* url,
                                                CFErrorRef* error);

} // extern "C"
