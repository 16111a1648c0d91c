// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"
#include "platform/Key.h"
#include "platform/linux/portal/EvdevKeys.h"
#include "platform/linux/portal/PortalOutbox.h"

#include <map>
#include <utility>
#include <variant>
#include <vector>

namespace platform {

/// Presses the keys of a desktop through its portal. What the user's own keyboard holds is not
/// known here, so it stays in effect.
class PortalKeyboard
{
public:
    /// Both must outlive it.
    PortalKeyboard(PortalOutbox &outboxOfPortal, const PortalLayout &layoutOfDesktop)
        : outbox(outboxOfPortal)
        , layout(layoutOfDesktop)
        , keys(layoutOfDesktop)
    {
    }

    /// While the key is down, of the modifiers that are held here exactly these are in effect.
    /// False if there is no such key, or if it cannot be posted.
    bool press(const Key &key, const KeyModifiers &modifiers);
    bool press(KeyCode code, EventFlags flags);
    /// Releases it and what was pressed for it; nothing if it is not down.
    void release(const Key &key);
    void release(KeyCode code);

    /// Whether a layout has that character.
    bool has(char32_t character) const { return layout.keysymOf(character).has_value(); }
    /// Types a character, without any modifier that is held here. False if no layout has it.
    bool tap(char32_t character);

    /// The session has ended, and nothing is down any more.
    void forget();

private:
    using Name = std::variant<Key, KeyCode>;
    struct HeldKey
    {
        Name name;
        std::vector<PortalEvent> presses;
    };

    bool pressNamed(const Name &name, const std::optional<PortalEvent> &key,
                    const KeyModifiers &modifiers);
    void releaseNamed(const Name &name);
    bool pressPlace(const Key &key, const PortalLayout::Place &place, KeyModifiers modifiers);
    bool down(const PortalEvent &press);
    void up(PortalEvent press);
    void liftModifiersExcept(const std::vector<PortalEvent> &wanted);
    std::vector<PortalEvent> pressesOf(const KeyModifiers &modifiers) const;

    PortalOutbox &outbox;
    const PortalLayout &layout;
    EvdevKeys keys;
    std::vector<HeldKey> held;
    /// How often each key of `held` is down. The desktop counts once.
    std::map<std::pair<PortalEvent::Kind, std::int32_t>, int> counts;
};

} // namespace platform
