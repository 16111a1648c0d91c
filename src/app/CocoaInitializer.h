// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>

/// Holds the host's application runtime, loaded, for as long as it lives. On a Mac that is AppKit
/// with an autorelease pool.
class CocoaInitializer
{
public:
    CocoaInitializer();
    ~CocoaInitializer();
    CocoaInitializer(const CocoaInitializer &) = delete;
    CocoaInitializer &operator=(const CocoaInitializer &) = delete;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
