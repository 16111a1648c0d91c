// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The part of Quartz event services and of the accessibility interface that the adapters use:
// names, types and values of Apple's interface, written down from its documentation.

#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct __CGEvent *CGEventRef;
typedef struct __CGEventSource *CGEventSourceRef;
typedef uint16_t CGKeyCode;
typedef double CGFloat;

typedef struct CGPoint
{
    CGFloat x;
    CGFloat y;
} CGPoint;

typedef uint64_t CGEventFlags;
enum : CGEventFlags {
    kCGEventFlagMaskShift = 0x00020000,
    kCGEventFlagMaskControl = 0x00040000,
    kCGEventFlagMaskAlternate = 0x00080000,
    kCGEventFlagMaskCommand = 0x00100000,
};

enum CGEventTapLocation : uint32_t { kCGHIDEventTap = 0, kCGSessionEventTap = 1 };

enum CGEventSourceStateID : int32_t { kCGEventSourceStateHIDSystemState = 1 };

enum CGMouseButton : uint32_t {
    kCGMouseButtonLeft = 0,
    kCGMouseButtonRight = 1,
    kCGMouseButtonCenter = 2,
};

enum CGEventType : uint32_t {
    kCGEventLeftMouseDown = 1,
    kCGEventLeftMouseUp = 2,
    kCGEventRightMouseDown = 3,
    kCGEventRightMouseUp = 4,
    kCGEventMouseMoved = 5,
    kCGEventLeftMouseDragged = 6,
    kCGEventRightMouseDragged = 7,
    kCGEventOtherMouseDown = 25,
    kCGEventOtherMouseUp = 26,
    kCGEventOtherMouseDragged = 27,
};

enum CGScrollEventUnit : uint32_t { kCGScrollEventUnitPixel = 0, kCGScrollEventUnitLine = 1 };

enum CGEventField : uint32_t { kCGMouseEventClickState = 1 };

CGEventRef CGEventCreate(CGEventSourceRef source);
CGPoint CGEventGetLocation(CGEventRef event);
CGEventRef CGEventCreateKeyboardEvent(CGEventSourceRef source, CGKeyCode key, bool isDown);
CGEventRef CGEventCreateMouseEvent(CGEventSourceRef source, CGEventType type, CGPoint position,
                                   CGMouseButton button);
CGEventRef CGEventCreateScrollWheelEvent2(CGEventSourceRef source, CGScrollEventUnit units,
                                          uint32_t wheelCount, int32_t wheel1, int32_t wheel2,
                                          int32_t wheel3);
void CGEventKeyboardSetUnicodeString(CGEventRef event, unsigned long length, const UniChar *text);
void CGEventSetIntegerValueField(CGEventRef event, CGEventField field, int64_t value);
void CGEventSetFlags(CGEventRef event, CGEventFlags flags);
void CGEventPost(CGEventTapLocation tap, CGEventRef event);
CGEventSourceRef CGEventSourceCreate(CGEventSourceStateID state);

extern const CFStringRef kAXTrustedCheckOptionPrompt;
Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef options);
Boolean AXIsProcessTrusted(void);

#ifdef __cplusplus
}
#endif
