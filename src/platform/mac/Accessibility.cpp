// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/mac/Accessibility.h"

#include "platform/mac/CFOwner.h"

#include <array>

#include <ApplicationServices/ApplicationServices.h>

namespace platform::Accessibility {

bool request()
{
    std::array<const void *, 1> keys = {kAXTrustedCheckOptionPrompt};
    std::array<const void *, 1> values = {kCFBooleanTrue};
    const CFOwner<CFDictionaryRef> options(
        CFDictionaryCreate(kCFAllocatorDefault, keys.data(), values.data(), keys.size(),
                           &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    return AXIsProcessTrustedWithOptions(options.get());
}

bool isAllowed()
{
    return AXIsProcessTrusted();
}

} // namespace platform::Accessibility
