// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"

#include <functional>
#include <utility>

namespace platform {

/// A desktop whose keyboard and pointer cannot be used.
class NoDesktopInput final : public DesktopInput
{
public:
    NoDesktopInput() = default;
    /// Calls back at each attempt to use them; releases are none.
    explicit NoDesktopInput(std::function<void()> wasTried) : tried(std::move(wasTried)) {}

    Abilities abilities() const override { return {}; }
    void press(const Key & /*key*/, const KeyModifiers & /*modifiers*/, QObject * /*context*/,
               Done done) override
    {
        tried();
        done(false);
    }
    void release(const Key & /*key*/) override {}
    void type(const QString & /*text*/, QObject * /*context*/, Done done) override
    {
        tried();
        done(false);
    }
    void moveBy(double /*dx*/, double /*dy*/) override { tried(); }
    void moveTo(const Location & /*position*/) override { tried(); }
    void press(PointerButton /*button*/) override { tried(); }
    void release(PointerButton /*button*/) override {}
    void scroll(int /*dx*/, int /*dy*/) override { tried(); }

private:
    std::function<void()> tried = [] {};
};

} // namespace platform
