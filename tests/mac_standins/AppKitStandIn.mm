// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "ObjectiveC.h"
#include "StandIn.h"

#import <AppKit/AppKit.h>

@interface VornaProbe : NSObject
@end

@implementation VornaProbe
- (void)dealloc
{
    standin::calls().append("released by the pool");
    [super dealloc];
}
@end

BOOL NSApplicationLoad(void)
{
    // An existing pool would take what loading leaves behind.
    const bool hasPool = [NSAutoreleasePool currentPool] != nil;
    standin::calls().append(hasPool ? "NSApplicationLoad in a pool" : "NSApplicationLoad");
    return YES;
}

namespace standin {

Pool::Pool() : pool([[NSAutoreleasePool alloc] init]) {}

Pool::~Pool()
{
    [static_cast<NSAutoreleasePool *>(pool) release];
}

void leaveObjectToPool()
{
    [[[VornaProbe alloc] init] autorelease];
}

} // namespace standin
