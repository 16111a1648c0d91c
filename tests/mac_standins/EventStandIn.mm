// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "QuartzStandIn.h"
#include "StandIn.h"

#import <AppKit/AppKit.h>

@interface StandInEvent : NSEvent {
@public
    CGEventRef made;
}
@end

@implementation NSEvent

+ (NSEvent *)otherEventWithType:(NSEventType)type
                       location:(NSPoint)location
                  modifierFlags:(NSEventModifierFlags)flags
                      timestamp:(NSTimeInterval)time
                   windowNumber:(NSInteger)window
                        context:(NSGraphicsContext *)context
                        subtype:(short)subtype
                          data1:(NSInteger)data1
                          data2:(NSInteger)data2
{
    StandInEvent *event = [[[StandInEvent alloc] init] autorelease];
    const bool isPlain = location.x == 0 && location.y == 0 && time == 0 && window == 0 && !context;
    event->made = standin::makeEventOfAppKit(flags, u"type %1 subtype %2 data 0x%3 %4%5"_s.arg(type)
                                                        .arg(subtype)
                                                        .arg(data1, 0, 16)
                                                        .arg(data2)
                                                        .arg(isPlain ? u""_s : u" and more"_s));
    return event;
}

- (CGEventRef)CGEvent
{
    return nullptr;
}

@end

@implementation StandInEvent

- (CGEventRef)CGEvent
{
    return made;
}

- (void)dealloc
{
    if (made != nullptr) {
        CFRelease(made);
    }
    [super dealloc];
}

@end
