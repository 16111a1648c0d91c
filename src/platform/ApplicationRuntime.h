// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>

namespace platform {

/// What the host's own application framework needs besides the toolkit: loaded by the constructor,
/// released by the destructor.
class ApplicationRuntime
{
public:
    virtual ~ApplicationRuntime() = default;
};

/// Loads the runtime; never null.
std::unique_ptr<ApplicationRuntime> loadApplicationRuntime();

} // namespace platform
