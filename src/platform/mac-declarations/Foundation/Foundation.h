#pragma once
// Foundation, as far as the _mac.mm sources use it (objc/objc.h, NSObject.h, NSString.h,
// NSURL.h, NSError.h, NSFileManager.h). Objective-C++ only.

#include <cstddef>

#if defined(__arm64__) || defined(__aarch64__)
typedef bool BOOL;
#else
typedef signed char BOOL;
#endif
#define YES ((BOOL)1)
#define NO ((BOOL)0)
#define nil nullptr

typedef unsigned long NSUInteger;
typedef long NSInteger;

__attribute__((objc_root_class))
@interface NSObject
+ (instancetype)alloc;
- (instancetype)init;
@end

@interface NSString : NSObject
@property(readonly) NSUInteger length;
@property(readonly) const char* UTF8String;
@property(readonly) const char* fileSystemRepresentation;
@end

@interface NSURL : NSObject
+ (NSURL*)fileURLWithPath:(NSString*)path isDirectory:(BOOL)isDir;
@property(readonly, copy) NSString* path;
@property(readonly) const char* fileSystemRepresentation;
@end

typedef NSString* NSErrorDomain;

@interface NSError : NSObject
@property(readonly, copy) NSErrorDomain domain;
@property(readonly) NSInteger code;
@property(readonly, copy) NSString* localizedDescription;
@end

@interface NSFileManager : NSObject
@property(class, readonly, strong) NSFileManager* defaultManager;
- (NSString*)stringWithFileSystemRepresentation:(const char*)str length:(NSUInteger)len;
- (BOOL)trashItemAtURL:(NSURL*)url
      resultingItemURL:(NSURL* _Nullable* _Nullable)outResultingURL
                 error:(NSError**)error;
@end
