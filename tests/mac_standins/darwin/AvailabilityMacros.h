// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What Qt asks of Apple's header of this name.

#pragma once

#include <Availability.h>

#define MAC_OS_X_VERSION_MIN_REQUIRED __MAC_OS_X_VERSION_MIN_REQUIRED
#define MAC_OS_X_VERSION_MAX_ALLOWED __MAC_OS_X_VERSION_MAX_ALLOWED
