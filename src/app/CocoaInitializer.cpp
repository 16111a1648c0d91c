// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/CocoaInitializer.h"

#include "platform/ApplicationRuntime.h"

struct CocoaInitializer::Private
{
    std::unique_ptr<platform::ApplicationRuntime> runtime = platform::loadApplicationRuntime();
};

CocoaInitializer::CocoaInitializer() : d(std::make_unique<Private>()) {}

CocoaInitializer::~CocoaInitializer() = default;
