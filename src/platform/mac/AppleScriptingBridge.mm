// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/ScriptingBridge.h"

#import <Foundation/Foundation.h>
#import <ScriptingBridge/ScriptingBridge.h>

/// Commands of most applications' scripting dictionaries; the bridge adds them to its objects at
/// run time.
@interface SBApplication (StandardSuite)
- (void)run;
- (NSString *)name;
@end

namespace platform {
namespace {

/// An application whose dictionary lacks a command throws, which is not reported. The pool takes
/// what the bridge autoreleases.
template <typename Command> void silently(Command command)
{
    @autoreleasepool {
        @try {
            command();
        } @catch (NSException *) {
        }
    }
}

QString textOf(NSString *string)
{
    return [string isKindOfClass:[NSString class]] ? QString::fromUtf8([string UTF8String])
                                                   : QString();
}

/// Owns a reference to the bridge's object.
class BridgedApplication final : public ScriptableApplication
{
public:
    explicit BridgedApplication(SBApplication *object) : application([object retain]) {}
    ~BridgedApplication() override { [application release]; }
    BridgedApplication(const BridgedApplication &) = delete;
    BridgedApplication &operator=(const BridgedApplication &) = delete;

    bool isRunning() override
    {
        bool answer = false;
        silently([&] { answer = [application isRunning]; });
        return answer;
    }

    void activate() override
    {
        silently([&] { [application activate]; });
    }

    void run() override
    {
        silently([&] { [application run]; });
    }

    QString name() override
    {
        QString answer;
        silently([&] { answer = textOf([application name]); });
        return answer;
    }

private:
    SBApplication *application;
};

class AppleScriptingBridge final : public ScriptingBridge
{
public:
    std::unique_ptr<ScriptableApplication>
    applicationWithBundleIdentifier(const QString &identifier) override
    {
        std::unique_ptr<ScriptableApplication> found;
        silently([&] {
            NSString *name = [NSString stringWithUTF8String:identifier.toUtf8().constData()];
            SBApplication *object = [SBApplication applicationWithBundleIdentifier:name];
            if (object != nil) {
                found = std::make_unique<BridgedApplication>(object);
            }
        });
        return found;
    }
};

} // namespace

std::unique_ptr<ScriptingBridge> makeScriptingBridge()
{
    return std::make_unique<AppleScriptingBridge>();
}

} // namespace platform
