// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The part of Foundation that the adapters use, for compiling them without Apple's SDK.

#pragma once

#ifdef __aarch64__
typedef bool BOOL;
#else
typedef signed char BOOL;
#endif
typedef long NSInteger;
typedef unsigned long NSUInteger;
typedef double NSTimeInterval;

typedef struct CGPoint NSPoint;

@protocol NSObject
- (instancetype)retain;
- (oneway void)release;
- (BOOL)isKindOfClass:(Class)type;
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject>
+ (instancetype)alloc;
+ (Class)class;
- (instancetype)init;
@end

@interface NSString : NSObject
+ (instancetype)stringWithUTF8String:(const char *)bytes;
@property(readonly) const char *UTF8String;
@end

@interface NSError : NSObject
@property(readonly, copy) NSString *localizedDescription;
@end

@interface NSException : NSObject
@end

@interface NSAutoreleasePool : NSObject
@end

#define nil nullptr
#define Nil nullptr

extern "C" Class NSClassFromString(NSString *name);
