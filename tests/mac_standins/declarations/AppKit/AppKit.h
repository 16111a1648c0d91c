// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The one function of AppKit that the adapters use.

#pragma once

#import <Foundation/Foundation.h>

#ifdef __cplusplus
extern "C"
#endif
    BOOL
    NSApplicationLoad(void);
