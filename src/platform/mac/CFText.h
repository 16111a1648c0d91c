// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/mac/CFOwner.h"

#include <QString>

namespace platform {

/// The characters of a CFString; empty for null and for an object of another type, which a file
/// that other programs write may contain.
QString textOf(CFTypeRef string);

CFOwner<CFStringRef> stringOf(const QString &text);

} // namespace platform
