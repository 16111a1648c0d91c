// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What Qt asks of Apple's header of this name.

#pragma once

#define __MAC_11_0 110000
#define __MAC_OS_X_VERSION_MIN_REQUIRED __MAC_11_0
#define __MAC_OS_X_VERSION_MAX_ALLOWED __MAC_11_0
