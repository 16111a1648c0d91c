// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>
#include <type_traits>

#include <CoreFoundation/CoreFoundation.h>

namespace platform {

struct CFReleaser
{
    void operator()(CFTypeRef object) const { CFRelease(object); }
};

/// Owns one reference to a CoreFoundation object, such as those that a function with Create or Copy
/// in its name returns, and releases it; may be null.
template <typename Reference>
using CFOwner = std::unique_ptr<std::remove_pointer_t<Reference>, CFReleaser>;

} // namespace platform
