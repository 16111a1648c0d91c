// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The part of the Scripting Bridge that the adapters use, from its documentation.

#pragma once

#import <Foundation/Foundation.h>

@interface SBApplication : NSObject
+ (SBApplication *)applicationWithBundleIdentifier:(NSString *)identifier;
- (BOOL)isRunning;
- (void)activate;
@end
