// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/mac/MediaKeyEvent.h"

#import <AppKit/AppKit.h>

namespace platform {
namespace {

/// Of IOKit's <hidsystem/IOLLEvent.h> and <hidsystem/ev_keymap.h>: the events of special keys, and
/// what their data says in its third byte.
constexpr short auxiliaryButtons = 8;
constexpr int keyDown = 0xA;
constexpr int keyUp = 0xB;

} // namespace

/// Quartz has no function for events of this type, so AppKit makes them.
CFOwner<CGEventRef> makeMediaKeyEvent(int number, EventFlags flags, bool isDown)
{
    const int state = (isDown ? keyDown : keyUp) << 8;
    CFOwner<CGEventRef> owned;
    @autoreleasepool {
        NSEvent *event = [NSEvent otherEventWithType:NSEventTypeSystemDefined
                                            location:NSPoint {}
                                       modifierFlags:flags | static_cast<EventFlags>(state)
                                           timestamp:0
                                        windowNumber:0
                                             context:nil
                                             subtype:auxiliaryButtons
                                               data1:(number << 16) | state
                                               data2:-1];
        CGEventRef made = [event CGEvent];
        if (made != nullptr) {
            CFRetain(made); // The pool releases what AppKit returns.
            owned.reset(made);
        }
    }
    return owned;
}

} // namespace platform
