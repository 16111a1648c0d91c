// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"

namespace platform {

/// A desktop whose keyboard and pointer cannot be used.
class NoDesktopInput final : public DesktopInput
{
public:
    Abilities abilities() const override { return {}; }
    void press(const Key & /*key*/, const KeyModifiers & /*modifiers*/, QObject * /*context*/,
               Done done) override
    {
        done(false);
    }
    void release(const Key & /*key*/) override {}
    void type(const QString & /*text*/, QObject * /*context*/, Done done) override { done(false); }
    void moveBy(double /*dx*/, double /*dy*/) override {}
    void moveTo(const Location & /*position*/) override {}
    void press(PointerButton /*button*/) override {}
    void release(PointerButton /*button*/) override {}
    void scroll(int /*dx*/, int /*dy*/) override {}
};

} // namespace platform
