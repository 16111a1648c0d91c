// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/mac/AppService.h"

#include "messages/Messages.h"

#include <QCoreApplication>

#import <Foundation/Foundation.h>

/// The part of SMAppService that is needed. It is declared here because the header is part of the
/// SDK only since macOS 13, and the program runs on earlier systems too.
@protocol VornaAppService
+ (id<VornaAppService>)mainAppService;
- (NSInteger)status;
- (BOOL)registerAndReturnError:(NSError **)error;
- (BOOL)unregisterAndReturnError:(NSError **)error;
@end

namespace platform {
namespace {

// The values of `status`.
enum Status : NSInteger { NotRegistered = 0, Enabled = 1, RequiresApproval = 2, NotFound = 3 };

Class serviceClass()
{
    return NSClassFromString(@"SMAppService");
}

bool isRegistered(NSInteger status)
{
    return status == Enabled || status == RequiresApproval;
}

void warn(NSError *error)
{
    const char *reason = [[error localizedDescription] UTF8String];
    Messages::warning(
        {QCoreApplication::translate(
             "SessionStart", "VornaServer cannot change whether it starts at logon (%1). Change "
                             "it in the system's settings under General, Login Items.")
             .arg(QString::fromUtf8(reason))});
}

void change(id<VornaAppService> service, bool enable)
{
    NSError *error = nil;
    const BOOL isDone = enable ? [service registerAndReturnError:&error]
                               : [service unregisterAndReturnError:&error];
    if (!isDone) {
        warn(error);
    }
}

} // namespace

bool AppService::isAvailable()
{
    return serviceClass() != Nil;
}

/// The system takes the path from the running bundle.
void AppService::setEnabled(bool enable, const QString & /*applicationPath*/)
{
    @autoreleasepool {
        id<VornaAppService> service =
            [static_cast<Class<VornaAppService>>(serviceClass()) mainAppService];
        if (service != nil && isRegistered([service status]) != enable) {
            change(service, enable);
        }
    }
}

} // namespace platform
