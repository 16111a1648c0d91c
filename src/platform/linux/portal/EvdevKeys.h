// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"
#include "platform/Key.h"
#include "platform/linux/portal/PortalEvent.h"
#include "platform/linux/portal/PortalLayout.h"

#include <cstdint>
#include <optional>
#include <unordered_map>

namespace platform {

/// Finds the keys by which the portal knows what is to be pressed.
///
/// Keys with a name have one place on every keyboard, and are pressed there. Characters are left to
/// the desktop, which takes the modifiers that they need.
class EvdevKeys
{
public:
    /// The layout must outlive it.
    explicit EvdevKeys(const PortalLayout &layoutOfDesktop);

    /// The press of the key; none if there is no such key.
    std::optional<PortalEvent> press(const Key &key) const;
    /// The press of the key with that code of the Mac.
    /// Where no layout has its character, as no Russian one has Latin letters, it is pressed at its
    /// usual place: programs know the shortcuts of such a layout by position.
    std::optional<PortalEvent> press(KeyCode code) const;

private:
    const PortalLayout &layout;
    std::unordered_map<std::uint32_t, std::int32_t> places; ///< Key codes by keysym.
};

} // namespace platform
