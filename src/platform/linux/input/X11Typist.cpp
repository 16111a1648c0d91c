// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/X11Typist.h"

#include "platform/linux/input/NamedKeySymbols.h"
#include "platform/linux/x11/TimedReply.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <poll.h>

namespace platform {

namespace {

using namespace std::chrono_literals;

/// In this time every program has read what was typed, unless it answers and says otherwise.
constexpr auto readingTime = 1s;
/// A program that has answered before may be busy for so long. Then the text has failed: to go on
/// would risk wrong characters.
constexpr auto patienceWithProgram = 30s;
/// Longer than that, so that the text has failed before its keys count as read.
constexpr auto patienceWithKeys = patienceWithProgram + 5s;
/// The time between two turns while such a program does not answer.
constexpr auto pauseForProgram = 1s;
/// After so many questions without an answer it is not asked any more.
constexpr int mostUnanswered = 5;
/// Questions that may be without an answer while more is typed.
constexpr std::size_t mostQuestions = 2;
/// A program that answers later is slow. To it only one turn is on its way: if the user replaces
/// the layout, a late program may look up what was typed before in the new one.
constexpr auto promptAnswer = 200ms;
/// How often the focus is looked at while a program is awaited.
constexpr auto lookInterval = 250ms;
/// So long the end may take.
constexpr auto patienceWithLastKeys = 3s;

/// Few enough that the server belongs to us for some milliseconds only.
constexpr int charactersPerTurn = 250;
/// So far it looks for characters that are missing, to bind as many as possible at once.
constexpr std::size_t missingAhead = 1000;

constexpr auto patienceWithServer = 200ms;

} // namespace

X11Typist::X11Typist(const X11Connection &openConnection, X11Keyboard &keyboardOfDisplay,
                     InputLink linkToWhole, const TypingTimes &waitingTimes)
    : connection(openConnection)
    , keyboard(keyboardOfDisplay)
    , link(std::move(linkToWhole))
    , times(waitingTimes)
    , grab(openConnection.displayName().isNull() ? nullptr
                                                 : openConnection.displayName().constData())
    , program(openConnection)
    , record(openConnection)
{
    wake.setSingleShot(true);
    wake.callOnTimeout([this] { look(); });
    idle.setSingleShot(true);
    idle.callOnTimeout([this] { giveBack(); });
}

bool X11Typist::handleEvent(const xcb_generic_event_t *event)
{
    const auto answer = program.answerIn(event);
    if (!answer) {
        return false;
    }
    // Window managers ask, too, with numbers of their own.
    if (answer->question < program.nextQuestion()) {
        takeInAnswer(*answer);
        schedule();
    }
    return true;
}

void X11Typist::takeInAnswer(const FocusedProgram::Answer &answer)
{
    program.noteAnswer(answer);
    spareKeys.confirm(answer.window, answer.question);
    std::erase_if(questions, [&](const Question &question) {
        const bool isAnswered = question.expected.window == answer.window &&
                                question.expected.question <= answer.question;
        if (isAnswered) {
            unanswered = 0;
            isProgramSlow = Clock::now() - question.asked > promptAnswer;
        }
        return isAnswered;
    });
}

void X11Typist::press(const Key &key, const KeyModifiers &modifiers, QObject *context,
                      DesktopInput::Done done)
{
    release(key);
    restorePatience();
    keys.push_back({key, modifiers, {context, context != nullptr, std::move(done)}});
    schedule();
}

void X11Typist::release(const Key &key)
{
    const auto waiting = std::ranges::find_if(keys, [&](const WaitingKey &candidate) {
        return candidate.key == key && !candidate.isReleased;
    });
    if (waiting != keys.end()) {
        waiting->isReleased = true;
        return;
    }
    const auto down = std::ranges::find(borrowed, key, &BorrowedKey::key);
    if (down != borrowed.end()) {
        keyboard.release(key);
        spareKeys.letGo(down->keycode);
        noteUse(down->keycode);
        borrowed.erase(down);
        askProgram();
        link.flush();
        schedule();
    }
}

void X11Typist::type(const QString &text, QObject *context, DesktopInput::Done done)
{
    restorePatience();
    texts.push_back({printable(text), 0, {context, context != nullptr, std::move(done)}});
    schedule();
}

void X11Typist::fail()
{
    std::vector<Outcome> failed;
    for (WaitingKey &key : std::exchange(keys, {})) {
        failed.push_back({std::move(key.waiter), false});
    }
    for (WaitingText &text : std::exchange(texts, {})) {
        failed.push_back({std::move(text.waiter), false});
    }
    report(std::move(failed));
}

void X11Typist::end()
{
    fail();
    link.flush();
    waitUntilRead();
    const bool isAlone = takeServer();
    record.giveBack(spareKeys.unbindAll());
    if (isAlone) {
        grab.release();
    }
}

/// Asks for the next turn.
void X11Typist::schedule()
{
    dropUnwanted();
    if (isProgramBehind()) {
        wake.start(lookInterval);
    } else {
        look();
    }
}

/// Takes a turn, if there is work, in which the focus is looked at.
void X11Typist::look()
{
    if (!isInTurn && hasWork()) {
        wake.stop();
        grab.askWhetherFree([this] { takeTurn(); });
    }
}

void X11Typist::takeTurn()
{
    if (!link.takeInEvents() || !grab.isOpen()) {
        fail();
        return;
    }
    dropUnwanted();
    if (!hasWork()) {
        return;
    }
    idle.stop();
    program.listen(true);
    progress = Progress::None;
    isMapAnnounced = false;
    isInTurn = true;
    if (takeServer()) {
        work();
        grab.release();
    }
    isInTurn = false;
    endTurn();
}

/// Nothing of the connection may be on its way then. The X server does not keep the connection off
/// (it is exempt), but leaves what it has read already, and all that follows, until the grab ends.
bool X11Typist::takeServer()
{
    const auto cookie = xcb_get_input_focus(connection.get());
    return replyWithin(connection.get(), cookie.sequence, patienceWithServer) && grab.take();
}

void X11Typist::dropUnwanted()
{
    std::erase_if(keys, [](const WaitingKey &key) { return key.waiter.isGone(); });
    std::erase_if(texts, [](const WaitingText &text) { return text.waiter.isGone(); });
}

bool X11Typist::isProgramBehind() const
{
    return questions.size() >= (isProgramSlow || !program.hasAnswered() ? 1 : mostQuestions);
}

/// Whether the program has been awaited for too long, so that nothing can be typed any more.
bool X11Typist::losePatience()
{
    std::erase_if(questions, [this](const Question &question) {
        return question.expected.window != program.window();
    });
    const auto waited =
        questions.empty() ? Clock::duration() : Clock::now() - questions.front().asked;
    if (program.hasAnswered()) {
        askAgain();
        return waited > patienceWithProgram;
    }
    if (waited > pauseForProgram) {
        questions.clear();
        if (++unanswered == mostUnanswered) {
            program.giveUp();
        }
    }
    return false;
}

/// The question may be lost: its window is gone, and another one has the same number.
void X11Typist::askAgain()
{
    if (!questions.empty() && Clock::now() - questions.back().asked > pauseForProgram) {
        askProgram();
    }
}

/// For each text, as if the program had been asked only now.
void X11Typist::restorePatience()
{
    if (!hasWork()) {
        for (Question &question : questions) {
            question.asked = Clock::now();
        }
    }
}

void X11Typist::work()
{
    if (!synchronise()) {
        return;
    }
    if (losePatience()) {
        isProgramSlow = true; // Nothing more before it answers.
        progress = Progress::Failed;
        return;
    }
    if (isProgramBehind()) {
        return;
    }
    if (keyboard.keyMap().isStale() || keyboard.keyMap().edition() != knownEdition) {
        progress = Progress::NeedsKeys;
        return;
    }
    progress = Progress::NeedsSpareKey;
    bindMissing();
    pressKeys();
    typeSome();
    if (progress == Progress::Typed || isMapAnnounced) {
        askProgram();
        const auto end = xcb_get_input_focus(connection.get());
        replyWithin(connection.get(), end.sequence, patienceWithServer);
    }
}

/// Learns what the keyboard and the focus are now: the server reports changes before it answers.
bool X11Typist::synchronise()
{
    const auto cookie = xcb_get_input_focus(connection.get());
    const auto reply = replyWithin(connection.get(), cookie.sequence, patienceWithServer);
    if (!reply || !link.takeInEvents()) {
        return false;
    }
    followFocus(reinterpret_cast<const xcb_get_input_focus_reply_t *>(reply.get())->focus);
    return true;
}

void X11Typist::followFocus(xcb_window_t focus)
{
    const xcb_window_t before = program.window();
    program.setFocus(focus);
    if (before && before != program.window()) {
        const auto rest =
            program.isThere(before) ? Clock::duration(times.silence) : Clock::duration();
        spareKeys.countAsRead(before, Clock::now() + rest);
        unanswered = 0;
        isProgramSlow = false;
    }
    if (before != program.window()) {
        for (const SpareKeys::Binding &binding : spareKeys.bindings()) {
            announce(binding.keycode);
        }
    }
}

void X11Typist::bindMissing()
{
    const auto wanted = missingKeysyms();
    const auto before = spareKeys.bindings();
    const auto changes = spareKeys.bind(wanted, Clock::now());
    if (changes.empty()) {
        return;
    }
    const auto requests = record.bind(changes, before, spareKeys.bindings());
    keyboard.ignoreMapNotices(requests.first, requests.last);
    keyboard.keyMap().setBorrowedKeys(spareKeys.boundKeys());
    for (const SpareKeys::Binding &change : changes) {
        noteUse(change.keycode);
        announce(change.keycode);
    }
}

/// The keysyms that the layout lacks, of the keys and then of the next characters; no more than
/// there are spare keys.
std::vector<std::uint32_t> X11Typist::missingKeysyms()
{
    std::vector<std::uint32_t> missing;
    const auto add = [&](std::uint32_t keysym) {
        if (std::ranges::find(missing, keysym) == missing.end()) {
            missing.push_back(keysym);
        }
    };
    for (const WaitingKey &waiting : keys) {
        add(keysymsOf(waiting.key).front());
    }
    if (!texts.empty()) {
        const WaitingText &text = texts.front();
        const std::size_t end = std::min(text.characters.size(), text.position + missingAhead);
        for (std::size_t at = text.position; at < end && missing.size() < spareKeys.count(); ++at) {
            if (!keyboard.characterKey(text.characters[at])) {
                add(keysymOf(text.characters[at]));
            }
        }
    }
    missing.resize(std::min(missing.size(), spareKeys.count()));
    return missing;
}

void X11Typist::pressKeys()
{
    std::erase_if(keys, [this](WaitingKey &waiting) {
        const bool isPressed = pressKey(waiting);
        if (isPressed || spareKeys.count() == 0) {
            outcomes.push_back({std::move(waiting.waiter), isPressed});
            return true;
        }
        return false;
    });
}

bool X11Typist::pressKey(const WaitingKey &waiting)
{
    const auto keycode = spareKeys.keyOf(keysymsOf(waiting.key).front(), Clock::now());
    if (!keycode) {
        return false;
    }
    keyboard.press(waiting.key, waiting.modifiers, *keycode);
    noteUse(*keycode);
    if (waiting.isReleased) {
        keyboard.release(waiting.key);
    } else {
        spareKeys.hold(*keycode);
        borrowed.push_back({waiting.key, *keycode});
    }
    progress = Progress::Typed;
    return true;
}

void X11Typist::typeSome()
{
    if (texts.empty()) {
        return;
    }
    WaitingText &text = texts.front();
    keyboard.beginRun();
    for (int count = 0; count < charactersPerTurn && text.position < text.characters.size();
         ++count) {
        const auto key = keyFor(text.characters[text.position]);
        if (!key && spareKeys.count() > 0) {
            break;
        }
        if (key) {
            keyboard.tap(*key);
        }
        text.isComplete = text.isComplete && key;
        ++text.position;
        progress = Progress::Typed;
    }
    keyboard.endRun();
    if (text.position == text.characters.size()) {
        outcomes.push_back({std::move(text.waiter), text.isComplete});
        texts.pop_front();
    }
}

std::optional<FoundKey> X11Typist::keyFor(char32_t character)
{
    if (const auto key = keyboard.characterKey(character)) {
        return key;
    }
    const auto keycode = spareKeys.keyOf(keysymOf(character), Clock::now());
    if (!keycode) {
        return std::nullopt;
    }
    noteUse(*keycode);
    return FoundKey{*keycode, 0};
}

void X11Typist::endTurn()
{
    if (progress == Progress::NeedsKeys) {
        learnKeys();
    }
    link.takeInEvents();
    link.flush();
    report(std::exchange(outcomes, {}));
    if (progress == Progress::Failed) {
        fail();
    }
    if (!hasWork()) {
        idle.start(times.idle);
    } else if (progress == Progress::NeedsSpareKey) {
        waitForSpareKey();
    } else {
        schedule();
    }
}

/// Reads the key map after a change, which takes too long to keep others off the server.
void X11Typist::learnKeys()
{
    if (!keyboard.keyMap().finder()) {
        keyboard.keyMap().markStale(); // It was replaced while it was read.
        return;
    }
    knownEdition = keyboard.keyMap().edition();
    verifyBindings();
    const KeycodeSet kept = spareKeys.boundKeys();
    spareKeys.setKeys(record.claim() ? record.spareKeys() | kept : KeycodeSet());
    keyboard.keyMap().setBorrowedKeys(kept);
}

/// Keys that no longer produce what we have bound were changed by another program.
void X11Typist::verifyBindings()
{
    const XkbSymbolFinder &symbols = *keyboard.keyMap().symbols();
    for (const SpareKeys::Binding &binding : spareKeys.bindings()) {
        if (symbols.onlySymbol(binding.keycode) != binding.keysym) {
            spareKeys.lose(binding.keycode);
        }
    }
}

void X11Typist::askProgram()
{
    if (program.window()) {
        questions.push_back({program.ask(), Clock::now()});
    }
}

/// Callers may ask for more in their calls.
void X11Typist::report(std::vector<Outcome> made)
{
    for (const Outcome &outcome : made) {
        if (!outcome.waiter.isGone() && outcome.waiter.done) {
            outcome.waiter.done(outcome.isDone);
        }
    }
}

/// Nothing could be typed, since every spare key may still have to be read. An answer ends that
/// sooner, and so does a key that is let go.
void X11Typist::waitForSpareKey()
{
    if (!questions.empty()) {
        wake.start(lookInterval);
        return;
    }
    const auto pause = std::chrono::milliseconds(10);
    const auto free = spareKeys.nextFree().value_or(Clock::now() + readingTime);
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(free - Clock::now());
    wake.start(std::clamp<std::chrono::milliseconds>(rest, pause, lookInterval));
}

void X11Typist::giveBack()
{
    const bool isInUse = spareKeys.isAnyHeld() || spareKeys.lastRead() > Clock::now();
    if (isInUse || !takeServer()) {
        idle.start(times.idle);
        return;
    }
    record.giveBack(spareKeys.unbindAll());
    grab.release();
    keyboard.keyMap().setBorrowedKeys({});
    program.listen(false);
    questions.clear();
    unanswered = 0;
    link.takeInEvents();
    link.flush();
}

void X11Typist::waitUntilRead()
{
    const auto latest = Clock::now() + patienceWithLastKeys;
    const auto end = [&] { return std::min(spareKeys.lastRead(), latest); };
    while (link.takeInEvents() && !spareKeys.bindings().empty() && end() > Clock::now()) {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end() - Clock::now());
        pollfd descriptor{xcb_get_file_descriptor(connection.get()), POLLIN, 0};
        poll(&descriptor, 1, static_cast<int>(std::min(rest, 1000ms).count()));
    }
}

void X11Typist::noteUse(std::uint8_t keycode)
{
    const xcb_window_t window = program.window();
    const Clock::duration time = !window                 ? readingTime
                                 : program.hasAnswered() ? patienceWithKeys
                                                         : times.silence;
    spareKeys.use(keycode, {window, program.nextQuestion(), Clock::now() + time});
}

/// What the key is bound to now. Programs that give no answers need no time: they read keys and
/// changes in their order, or nothing can be known of them.
void X11Typist::announce(std::uint8_t keycode)
{
    if (program.window()) {
        const Clock::duration time = program.hasAnswered() ? patienceWithKeys : pauseForProgram;
        spareKeys.announce(keycode,
                           {program.window(), program.nextQuestion(), Clock::now() + time});
        isMapAnnounced = true;
    } else {
        spareKeys.announce(keycode, {});
    }
}

} // namespace platform
