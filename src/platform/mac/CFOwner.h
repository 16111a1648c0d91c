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

/// Owns one reference to a CoreFoundation object and releases it; may be null. Functions with
/// Create or Copy in their names return such references.
template <typename Reference>
using CFOwner = std::unique_ptr<std::remove_pointer_t<Reference>, CFReleaser>;

} // namespace platform
