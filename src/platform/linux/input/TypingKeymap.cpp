// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/TypingKeymap.h"

#include "platform/linux/input/OwnKeymap.h"

#include <array>

#include <linux/input-event-codes.h>
#include <xkbcommon/xkbcommon.h>

namespace platform {

namespace {

/// Between the kernel's key codes and those of key maps.
constexpr int keycodeOffset = 8;
/// More would be no key map of X.
constexpr std::size_t mostGroups = 4;

struct FixedKey
{
    std::uint32_t keysym = 0;
    int code = 0;
};

constexpr std::array fixedKeys = {FixedKey{XKB_KEY_Return, KEY_ENTER},
                                  FixedKey{XKB_KEY_Tab, KEY_TAB},
                                  FixedKey{XKB_KEY_space, KEY_SPACE}};

struct CodeRange
{
    int first = 0;
    int last = 0;
};

// The four rows of characters, and the additional keys of European, Brazilian and Japanese boards.
constexpr std::array characterKeys = {
    CodeRange{KEY_1, KEY_EQUAL},     CodeRange{KEY_Q, KEY_RIGHTBRACE},
    CodeRange{KEY_A, KEY_GRAVE},     CodeRange{KEY_BACKSLASH, KEY_SLASH},
    CodeRange{KEY_102ND, KEY_102ND}, CodeRange{KEY_RO, KEY_RO},
    CodeRange{KEY_YEN, KEY_YEN},
};

constexpr std::size_t keysPerGroup = [] {
    int count = 0;
    for (const CodeRange &range : characterKeys) {
        count += range.last - range.first + 1;
    }
    return static_cast<std::size_t>(count);
}();

constexpr auto keycodes = [] {
    std::array<std::uint8_t, keysPerGroup> all{};
    std::size_t at = 0;
    for (const CodeRange &range : characterKeys) {
        for (int code = range.first; code <= range.last; ++code) {
            all[at++] = static_cast<std::uint8_t>(code + keycodeOffset);
        }
    }
    return all;
}();

constexpr std::uint8_t keycodeOf(const FixedKey &key)
{
    return static_cast<std::uint8_t>(key.code + keycodeOffset);
}

QByteArray nameOf(std::uint8_t keycode)
{
    return "<K" + QByteArray::number(keycode) + '>';
}

QByteArray nameOf(std::uint32_t keysym)
{
    std::array<char, 64> name{};
    xkb_keysym_get_name(keysym, name.data(), name.size());
    return name.data();
}

QByteArray keycodeSection()
{
    QByteArray lines =
        QByteArray("xkb_keycodes \"") + OwnKeymap::name + "\" {\nminimum=8;\nmaximum=255;\n";
    const auto add = [&](std::uint8_t keycode) {
        lines += nameOf(keycode) + '=' + QByteArray::number(keycode) + ";\n";
    };
    for (const FixedKey &key : fixedKeys) {
        add(keycodeOf(key));
    }
    for (const std::uint8_t keycode : keycodes) {
        add(keycode);
    }
    return lines + "};\n";
}

constexpr const char *typeSection = "xkb_types \"typing\" {\n"
                                    "type \"ONE_LEVEL\" {\n"
                                    "modifiers=none;\n"
                                    "level_name[Level1]=\"Any\";\n"
                                    "};\n"
                                    "};\n"
                                    "xkb_compatibility \"typing\" {\n"
                                    "interpret.useModMapMods=AnyLevel;\n"
                                    "};\n";

} // namespace

const std::size_t TypingKeymap::capacity = keysPerGroup * mostGroups;

TypingKeymap::TypingKeymap(std::span<const std::uint32_t> wanted)
{
    for (const FixedKey &key : fixedKeys) {
        places[key.keysym] = {keycodeOf(key), 0};
    }
    for (const std::uint32_t keysym : wanted) {
        place(keysym);
    }
    describe();
}

std::optional<TypingKeymap::Place> TypingKeymap::placeOf(std::uint32_t keysym) const
{
    const auto found = places.find(keysym);
    return found == places.end() ? std::nullopt : std::optional(found->second);
}

std::vector<std::uint32_t> TypingKeymap::keysyms() const
{
    std::vector<std::uint32_t> all;
    for (const auto &group : groups) {
        all.insert(all.end(), group.begin(), group.end());
    }
    return all;
}

void TypingKeymap::place(std::uint32_t keysym)
{
    if (places.contains(keysym)) {
        return;
    }
    if (groups.empty() || groups.back().size() == keysPerGroup) {
        if (groups.size() == mostGroups) {
            return;
        }
        groups.emplace_back();
    }
    places[keysym] = {keycodes[groups.back().size()],
                      static_cast<std::uint32_t>(groups.size() - 1)};
    groups.back().push_back(keysym);
}

void TypingKeymap::describe()
{
    description = "xkb_keymap {\n" + keycodeSection() + typeSection + "xkb_symbols \"typing\" {\n";
    for (const FixedKey &key : fixedKeys) {
        // A key without further groups is the same in all of them.
        description += "key " + nameOf(keycodeOf(key)) + " {[" + nameOf(key.keysym) + "]};\n";
    }
    for (std::size_t key = 0; !groups.empty() && key < groups.front().size(); ++key) {
        QByteArray line;
        for (std::size_t group = 0; group < groups.size(); ++group) {
            const bool isEmpty = key >= groups[group].size();
            line +=
                (group ? ",[" : "[") + (isEmpty ? "NoSymbol" : nameOf(groups[group][key])) + ']';
        }
        description += "key " + nameOf(keycodes[key]) + " {" + line + "};\n";
    }
    description += "};\n};\n";
}

} // namespace platform
