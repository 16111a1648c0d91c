// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/WlrootsTypist.h"

#include "platform/linux/input/NamedKeySymbols.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace platform {

namespace {

/// A program that gets a new key map needs some time for it; these bytes are what could be typed
/// in three milliseconds.
constexpr int costOfKeymap = 1000;
/// So far it looks for the characters of a key map.
constexpr std::size_t lookahead = 1000;

} // namespace

WlrootsTypist::WlrootsTypist(WaylandConnection &openConnection, WaylandOutbox &outboxOfConnection,
                             WlrootsKeyboard &keyboardOfSeat, TypingBrake::Look lookAtPrograms)
    : connection(openConnection)
    , outbox(outboxOfConnection)
    , keyboard(keyboardOfSeat)
    , pace(TypingPace::Clock::now())
    , brake(std::move(lookAtPrograms))
{
    turn.setSingleShot(true);
    turn.setTimerType(Qt::PreciseTimer);
    turn.callOnTimeout(this, &WlrootsTypist::takeTurn);
    connect(&outbox, &WaylandOutbox::progressed, this, [this] {
        if (!texts.empty() && !turn.isActive()) {
            takeTurn();
        }
    });
}

void WlrootsTypist::type(const QString &text, QObject *context, DesktopInput::Done done)
{
    if (texts.empty()) {
        brake.begin();
    }
    texts.push_back(
        {printable(text), 0, ++lastNumber, context, context != nullptr, std::move(done)});
    if (!turn.isActive()) {
        takeTurn();
    }
}

void WlrootsTypist::fail()
{
    turn.stop();
    keymap.reset();
    std::deque<Text> failed = std::exchange(unconfirmed, {});
    for (Text &text : std::exchange(texts, {})) {
        failed.push_back(std::move(text));
    }
    // Callers may ask for more in their calls.
    for (const Text &text : failed) {
        if (!text.isUnwanted() && text.done) {
            text.done(false);
        }
    }
}

/// Goes on by the timer while there is room on the wire, and else as soon as there is.
void WlrootsTypist::takeTurn()
{
    dropUnwanted();
    if (texts.empty()) {
        return;
    }
    const bool isHeld = brake.holds(TypingBrake::Clock::now());
    if (!keyboard.isThere() || brake.isHopeless(TypingBrake::Clock::now())) {
        fail();
        return;
    }
    if (!isHeld) {
        typeSome();
    }
    finish();
    if (!texts.empty() && outbox.hasRoom()) {
        turn.start(isHeld ? TypingBrake::lookInterval : pace.pause());
    }
}

void WlrootsTypist::dropUnwanted()
{
    std::erase_if(texts, [](const Text &text) { return text.isUnwanted(); });
}

void WlrootsTypist::typeSome()
{
    pace.begin(TypingPace::Clock::now());
    for (Text &text : texts) {
        while (!text.isTyped()) {
            if (!outbox.hasRoom() || !pace.hasRoom()) {
                return;
            }
            typeNext(text);
        }
    }
}

void WlrootsTypist::typeNext(Text &text)
{
    const char32_t character = text.characters[text.position];
    const auto key = keyboard.characterKey(character);
    const bool isInUse = keymap && keyboard.uses(*keymap);
    auto place = isInUse ? keymap->placeOf(keysymOf(character)) : std::nullopt;
    if (!place && (!key || (isInUse && isMoreMissing(text)))) {
        makeKeymap(text);
        place = keymap->placeOf(keysymOf(character));
    }
    keyboard.useKeymap(place ? &*keymap : nullptr);
    const bool isChange = place ? keyboard.tap(place->keycode, 0, place->group)
                                : keyboard.tap(key->key.keycode, key->key.modifiers, key->group);
    spend(TypingPace::bytesPerKey + (isChange ? TypingPace::bytesPerChange : 0));
    ++text.position;
}

/// Whether the layout lacks one of the next characters, so that it is not worth while to go back to
/// the layout before.
bool WlrootsTypist::isMoreMissing(const Text &text) const
{
    const auto next = std::u32string_view(text.characters).substr(text.position, lookahead);
    return std::ranges::any_of(
        next, [this](char32_t character) { return !keyboard.characterKey(character); });
}

/// Of the characters from the next one on, then of those that were typed before, since people come
/// back to them, and of the usual ones.
void WlrootsTypist::makeKeymap(const Text &text)
{
    std::vector<std::uint32_t> keysyms;
    for (const char32_t character :
         std::u32string_view(text.characters).substr(text.position, lookahead)) {
        keysyms.push_back(keysymOf(character));
    }
    if (keymap) {
        const auto former = keymap->keysyms();
        keysyms.insert(keysyms.end(), former.begin(), former.end());
    }
    for (char32_t character = U'!'; character <= U'~'; ++character) {
        keysyms.push_back(keysymOf(character));
    }
    keymap.emplace(keysyms);
    spend(costOfKeymap);
}

void WlrootsTypist::spend(int bytes)
{
    pace.spend(bytes);
    brake.spend(bytes);
}

void WlrootsTypist::finish()
{
    keyboard.endTaps();
    outbox.flush();
    bool isAnyTyped = false;
    while (!texts.empty() && texts.front().isTyped()) {
        unconfirmed.push_back(std::move(texts.front()));
        texts.pop_front();
        isAnyTyped = true;
    }
    if (isAnyTyped) {
        connection.afterEverything([this, number = unconfirmed.back().number] { confirm(number); });
    }
}

void WlrootsTypist::confirm(std::uint64_t upTo)
{
    std::deque<Text> done;
    while (!unconfirmed.empty() && unconfirmed.front().number <= upTo) {
        done.push_back(std::move(unconfirmed.front()));
        unconfirmed.pop_front();
    }
    // Callers may ask for more in their calls.
    for (const Text &text : done) {
        if (!text.isUnwanted() && text.done) {
            text.done(true);
        }
    }
}

} // namespace platform
