// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/ApplicationRuntime.h"

namespace platform {

// The toolkit is all that a program needs here.
std::unique_ptr<ApplicationRuntime> loadApplicationRuntime()
{
    struct NothingToLoad : ApplicationRuntime
    {
    };
    return std::make_unique<NothingToLoad>();
}

} // namespace platform
