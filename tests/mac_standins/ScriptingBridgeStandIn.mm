// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "ObjectiveC.h"
#include "StandIn.h"

#import <ScriptingBridge/ScriptingBridge.h>

using standin::calls;
using standin::world;

namespace {

int liveCount = 0;

QString textOf(NSString *string)
{
    return QString::fromUtf8([string UTF8String]);
}

NSString *stringOf(const QString &text)
{
    return [NSString stringWithUTF8String:text.toUtf8().constData()];
}

} // namespace

/// No string, though it can be read like one.
@interface StandInOddName : NSObject
@end

@implementation StandInOddName
- (const char *)UTF8String
{
    return "odd";
}
@end

@interface StandInApplication : SBApplication {
    NSString *identifier;
}
@end

@implementation StandInApplication

- (id)initWithIdentifier:(NSString *)bundleIdentifier
{
    self = [super init];
    identifier = [bundleIdentifier copy];
    ++liveCount;
    return self;
}

- (void)dealloc
{
    --liveCount;
    [identifier release];
    [super dealloc];
}

- (standin::World::Application)record:(const char *)call
{
    const QString name = textOf(identifier);
    calls().append(QLatin1String(call) + u' ' + name);
    return world().applications.value(name);
}

- (BOOL)isRunning
{
    return [self record:"isRunning"].isRunning;
}

- (void)activate
{
    [self record:"activate"];
}

- (void)run
{
    if ([self record:"run"].isMute) {
        [self doesNotRecognizeSelector:_cmd];
    }
}

- (id)name
{
    const standin::World::Application application = [self record:"name"];
    if (application.isMute) {
        [self doesNotRecognizeSelector:_cmd];
    }
    return application.hasOddName ? static_cast<id>([[[StandInOddName alloc] init] autorelease])
                                  : static_cast<id>(stringOf(application.name));
}

@end

@implementation SBApplication

+ (SBApplication *)applicationWithBundleIdentifier:(NSString *)identifier
{
    const QString name = textOf(identifier);
    calls().append("applicationWithBundleIdentifier " + name);
    if (!world().applications.contains(name)) {
        return nil;
    }
    return [[[StandInApplication alloc] initWithIdentifier:identifier] autorelease];
}

- (BOOL)isRunning
{
    return NO;
}

- (void)activate
{
}

@end

namespace standin {

int liveApplications()
{
    return liveCount;
}

} // namespace standin
