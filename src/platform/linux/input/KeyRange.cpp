// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/KeyRange.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "platform/linux/x11/XcbXkb.h"

namespace platform {

namespace {

constexpr std::uint16_t onlyKeysyms = XCB_XKB_MAP_PART_KEY_SYMS;
constexpr std::size_t headWords = sizeof(xcb_xkb_key_sym_map_t) / sizeof(std::uint32_t);

xcb_xkb_key_sym_map_t headOf(std::span<const std::uint32_t> words)
{
    xcb_xkb_key_sym_map_t head;
    std::memcpy(&head, words.data(), sizeof(head));
    return head;
}

/// What follows the fixed part of the reply.
std::span<const std::uint32_t> wordsOf(const xcb_xkb_get_map_reply_t *reply)
{
    constexpr std::size_t fixedWords = sizeof(xcb_xkb_get_map_reply_t) / sizeof(std::uint32_t);
    constexpr std::size_t shortestReply = 8; // The length is that of the rest.
    const std::size_t all = shortestReply + reply->length;
    const auto *first = reinterpret_cast<const std::uint32_t *>(reply);
    return std::span(first, std::max(all, fixedWords)).subspan(fixedWords);
}

} // namespace

unsigned int KeyRange::ask(xcb_connection_t *connection, std::uint16_t keyboard, std::uint8_t first,
                           std::uint8_t last)
{
    const auto count = static_cast<std::uint8_t>(last - first + 1);
    return xcb_xkb_get_map(connection, keyboard, 0, onlyKeysyms, 0, 0, first, count, 0, 0, 0, 0, 0,
                           0, 0, 0, 0, 0, 0)
        .sequence;
}

std::optional<KeyRange> KeyRange::read(const xcb_generic_reply_t *answer)
{
    const auto *reply = reinterpret_cast<const xcb_xkb_get_map_reply_t *>(answer);
    if (!reply || !(reply->present & onlyKeysyms)) {
        return std::nullopt;
    }
    KeyRange range;
    range.lowest = reply->minKeyCode;
    range.highest = reply->maxKeyCode;
    range.first = reply->firstKeySym;
    auto words = wordsOf(reply);
    for (int count = 0; count < reply->nKeySyms; ++count) {
        const std::size_t size =
            words.size() < headWords ? headWords : headWords + headOf(words).nSyms;
        if (words.size() < size) {
            return std::nullopt;
        }
        range.keys.emplace_back(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(size));
        words = words.subspan(size);
    }
    return range;
}

bool KeyRange::has(const SpareKeys::Binding &binding) const
{
    if (!contains(binding.keycode)) {
        return false;
    }
    const auto keysyms = std::span(keys[binding.keycode - first]).subspan(headWords);
    return !keysyms.empty() && keysyms.front() == binding.keysym &&
           std::ranges::all_of(keysyms, [&](std::uint32_t keysym) {
               return keysym == binding.keysym || keysym == XCB_NO_SYMBOL;
           });
}

void KeyRange::set(const SpareKeys::Binding &binding)
{
    if (!contains(binding.keycode)) {
        return;
    }
    Words &words = keys[binding.keycode - first];
    // Of the types the first one has one level in every key map.
    xcb_xkb_key_sym_map_t head{};
    const std::uint8_t count = binding.keysym ? 1 : 0;
    constexpr std::uint8_t groupCount = 0x0f;
    head.groupInfo = static_cast<std::uint8_t>((headOf(words).groupInfo & ~groupCount) | count);
    head.width = count;
    head.nSyms = count;
    words.assign(headWords + count, binding.keysym);
    std::memcpy(words.data(), &head, sizeof(head));
}

xcb_void_cookie_t KeyRange::send(xcb_connection_t *connection, std::uint16_t keyboard) const
{
    Words words;
    for (const Words &key : keys) {
        words.insert(words.end(), key.begin(), key.end());
    }
    const std::size_t keysyms = words.size() - headWords * keys.size();
    return xcb_xkb_set_map_checked(connection, keyboard, onlyKeysyms, 0, lowest, highest, 0, 0,
                                   first, static_cast<std::uint8_t>(keys.size()),
                                   static_cast<std::uint16_t>(keysyms), 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                   0, 0, 0, 0, 0, 0, 0, words.data());
}

bool KeyRange::contains(std::uint8_t keycode) const
{
    return keycode >= first && keycode < first + static_cast<int>(keys.size());
}

} // namespace platform
