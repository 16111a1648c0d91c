// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The part of CoreFoundation that the adapters use: names, types and values of Apple's interface,
// written down from its documentation.

#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef const void *CFTypeRef;
typedef CFTypeRef CFPropertyListRef;
typedef const struct __CFAllocator *CFAllocatorRef;
typedef const struct __CFString *CFStringRef;
typedef const struct __CFNumber *CFNumberRef;
typedef const struct __CFBoolean *CFBooleanRef;
typedef const struct __CFArray *CFArrayRef;
typedef struct __CFArray *CFMutableArrayRef;
typedef const struct __CFDictionary *CFDictionaryRef;
typedef struct __CFDictionary *CFMutableDictionaryRef;
typedef const struct __CFURL *CFURLRef;
typedef struct __CFBundle *CFBundleRef;

typedef long CFIndex;
typedef unsigned long CFTypeID;
typedef unsigned short UniChar;
typedef unsigned char Boolean;
typedef unsigned int CFStringEncoding;

typedef struct
{
    CFIndex location;
    CFIndex length;
} CFRange;

// Apple's enumerations have a fixed underlying type each.
typedef unsigned long CFStringCompareFlags;
enum : CFStringCompareFlags { kCFCompareCaseInsensitive = 1 };
enum CFURLPathStyle : CFIndex { kCFURLPOSIXPathStyle = 0 };
enum CFNumberType : CFIndex { kCFNumberIntType = 9 };
enum : CFIndex { kCFNotFound = -1 };

typedef struct CFArrayCallBacks CFArrayCallBacks;
typedef struct CFDictionaryKeyCallBacks CFDictionaryKeyCallBacks;
typedef struct CFDictionaryValueCallBacks CFDictionaryValueCallBacks;
extern const CFArrayCallBacks kCFTypeArrayCallBacks;
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;
extern const CFAllocatorRef kCFAllocatorDefault;
extern const CFBooleanRef kCFBooleanTrue;

CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);

#ifdef __APPLE__
#define CFSTR(text) (reinterpret_cast<CFStringRef>(__builtin___CFStringMakeConstantString(text)))
#else
CFStringRef standInConstantString(const char *text);
#define CFSTR(text) standInConstantString(text)
#endif
CFTypeID CFStringGetTypeID(void);
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator, const UniChar *characters,
                                         CFIndex length);
CFIndex CFStringGetLength(CFStringRef string);
void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar *buffer);
CFStringEncoding CFStringGetSystemEncoding(void);
const char *CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding);
CFRange CFStringFind(CFStringRef string, CFStringRef stringToFind, CFStringCompareFlags options);

CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, const void *value);

CFTypeID CFArrayGetTypeID(void);
CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                       const CFArrayCallBacks *callBacks);
CFMutableArrayRef CFArrayCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity,
                                           CFArrayRef array);
CFIndex CFArrayGetCount(CFArrayRef array);
const void *CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);
void CFArrayAppendValue(CFMutableArrayRef array, const void *value);
void CFArrayRemoveValueAtIndex(CFMutableArrayRef array, CFIndex index);

CFTypeID CFDictionaryGetTypeID(void);
CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void **keys, const void **values,
                                   CFIndex count, const CFDictionaryKeyCallBacks *keyCallBacks,
                                   const CFDictionaryValueCallBacks *valueCallBacks);
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks *keyCallBacks,
                                                 const CFDictionaryValueCallBacks *valueCallBacks);
const void *CFDictionaryGetValue(CFDictionaryRef dictionary, const void *key);
void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void *key, const void *value);

CFBundleRef CFBundleGetMainBundle(void);
CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle);
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);

CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef applicationID);
void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value, CFStringRef applicationID);
Boolean CFPreferencesAppSynchronize(CFStringRef applicationID);

#ifdef __cplusplus
}
#endif
