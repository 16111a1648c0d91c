// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Linked only into the tests that stand for a system with this register.

#include "StandIn.h"

#import <Foundation/Foundation.h>

using standin::calls;
using standin::world;

@interface StandInError : NSError
@end

@implementation StandInError
- (NSString *)localizedDescription
{
    return [NSString stringWithUTF8String:world().serviceRefusal.toUtf8().constData()];
}
@end

@interface SMAppService : NSObject
@end

@implementation SMAppService

+ (id)mainAppService
{
    calls().append("mainAppService");
    return [[[SMAppService alloc] init] autorelease];
}

- (NSInteger)status
{
    return world().serviceStatus;
}

- (BOOL)change:(const char *)call to:(int)status error:(NSError **)error
{
    calls().append(call);
    if (!world().serviceRefusal.isEmpty()) {
        *error = [StandInError errorWithDomain:@"SMAppServiceErrorDomain" code:1 userInfo:nil];
        return NO;
    }
    world().serviceStatus = status;
    return YES;
}

- (BOOL)registerAndReturnError:(NSError **)error
{
    return [self change:"register" to:1 error:error];
}

- (BOOL)unregisterAndReturnError:(NSError **)error
{
    return [self change:"unregister" to:0 error:error];
}

@end
