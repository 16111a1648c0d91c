// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/ApplicationRuntime.h"

#import <AppKit/AppKit.h>

namespace platform {
namespace {

/// Loads AppKit, and holds a pool for objects that are autoreleased outside of the event loop's own
/// pools.
class AppKitRuntime final : public ApplicationRuntime
{
public:
    AppKitRuntime()
    {
        NSApplicationLoad();
        pool = [[NSAutoreleasePool alloc] init];
    }
    ~AppKitRuntime() override { [pool release]; }
    AppKitRuntime(const AppKitRuntime &) = delete;
    AppKitRuntime &operator=(const AppKitRuntime &) = delete;

private:
    NSAutoreleasePool *pool = nil;
};

} // namespace

std::unique_ptr<ApplicationRuntime> loadApplicationRuntime()
{
    return std::make_unique<AppKitRuntime>();
}

} // namespace platform
