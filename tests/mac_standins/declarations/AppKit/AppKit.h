// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The part of AppKit that the adapters use: names, types and values of Apple's interface, written
// down from its documentation.

#pragma once

#include <ApplicationServices/ApplicationServices.h>

#import <Foundation/Foundation.h>

#ifdef __cplusplus
extern "C"
#endif
    BOOL
    NSApplicationLoad(void);

typedef NSUInteger NSEventModifierFlags;
enum NSEventType : NSUInteger { NSEventTypeSystemDefined = 14 };

@class NSGraphicsContext;

@interface NSEvent : NSObject
+ (NSEvent *)otherEventWithType:(NSEventType)type
                       location:(NSPoint)location
                  modifierFlags:(NSEventModifierFlags)flags
                      timestamp:(NSTimeInterval)time
                   windowNumber:(NSInteger)window
                        context:(NSGraphicsContext *)context
                        subtype:(short)subtype
                          data1:(NSInteger)data1
                          data2:(NSInteger)data2;
- (CGEventRef)CGEvent;
@end
