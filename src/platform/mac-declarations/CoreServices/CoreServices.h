#pragma once
// Core Services, as far as the _mac sources use it: Spotlight's metadata items (MDItem.h).

#include <CoreFoundation/CoreFoundation.h>

extern "C" {

typedef struct __MDItem* MDItemRef;

MDItemRef MDItemCreate(CFAllocatorRef allocator, CFStringRef path);
CFTypeRef MDItemCopyAttribute(MDItemRef item, CFStringRef name);
extern const CFStringRef kMDItemLastUsedDate;

} // extern "C"
