// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalTypist.h"

#include <utility>

namespace platform {

namespace {

/// For the press and the release, which compositors send one by one, and for half as many of Shift:
/// the system counts each as 768.
constexpr int bytesPerTap = 3 * 768;

} // namespace

PortalTypist::PortalTypist(PortalKeyboard &keyboardOfPortal, PortalOutbox &outboxOfPortal,
                           Clipboard *lendingClipboard, TypingBrake::Look lookAtPrograms)
    : keyboard(keyboardOfPortal)
    , outbox(outboxOfPortal)
    , clipboard(lendingClipboard)
    , paster(lendingClipboard, [this] { return pressPasteKey(); })
    , brake(std::move(lookAtPrograms))
{
    held.setSingleShot(true);
    held.callOnTimeout([this] { onProgress(); });
}

void PortalTypist::type(const QString &text, QObject *context, DesktopInput::Done done)
{
    if (tasks.empty()) {
        brake.begin();
    }
    tasks.push_back({text, 0, true, true, {}, {context, std::move(done)}});
    onProgress();
}

void PortalTypist::onProgress()
{
    while (!tasks.empty() && outbox.isEmpty() && !paster.isPasting()) {
        Task &task = tasks.front();
        if (task.caller.isGone() || task.next >= task.text.size()) {
            paster.end();
            finishFront(task.isComplete);
        } else if (isHeld()) {
            return;
        } else if (!pasteForeign(task)) {
            typeOne(task);
        }
    }
}

/// If so, it will be looked again, or everything has failed.
bool PortalTypist::isHeld()
{
    const auto now = TypingBrake::Clock::now();
    if (!brake.holds(now)) {
        return false;
    }
    if (brake.isHopeless(now)) {
        fail();
    } else {
        held.start(TypingBrake::lookInterval);
    }
    return true;
}

void PortalTypist::fail()
{
    paster.end();
    // Those who are told may ask anew.
    const std::size_t failed = tasks.size();
    for (std::size_t count = 0; count < failed && !tasks.empty(); ++count) {
        finishFront(false);
    }
}

void PortalTypist::finishFront(bool isDone)
{
    const Task task = std::move(tasks.front());
    tasks.pop_front();
    task.caller.answer(isDone);
}

void PortalTypist::typeOne(Task &task)
{
    const QChar first = task.text.at(task.next++);
    char32_t character = first.unicode();
    if (first.isHighSurrogate() && task.next < task.text.size()) {
        character = QChar::surrogateToUcs4(first, task.text.at(task.next++));
    }
    if (!keyboard.tap(character)) {
        task.isComplete = false;
    }
    brake.spend(bytesPerTap);
}

/// Whether it begins here, and is being pasted.
bool PortalTypist::pasteForeign(Task &task)
{
    if (!task.canPaste || !paster.canPaste()) {
        return false;
    }
    if (task.next >= task.foreign.end) {
        task.foreign = foreignStretch(
            task.text, task.next, [this](char32_t character) { return keyboard.has(character); });
    }
    if (task.foreign.isEmpty() || task.next != task.foreign.begin) {
        return false;
    }
    const QString text = task.text.mid(task.next, task.foreign.end - task.next);
    // The same task is in front then: others wait for it.
    paster.paste(text, [this](bool isPasted) {
        Task &front = tasks.front();
        if (isPasted) {
            front.next = front.foreign.end;
        } else {
            front.canPaste = false;
            paster.end();
        }
        onProgress();
    });
    return true;
}

/// By Shift and Insert terminals paste the primary selection, and others the clipboard. If only the
/// clipboard is lent, that would paste into a terminal whatever the user has selected last. By
/// Control and V terminals paste nothing.
bool PortalTypist::pressPasteKey()
{
    if (!clipboard->canLendPrimary()) {
        constexpr KeyCode keyOfV = 9;
        const bool isPressed = keyboard.press(keyOfV, Flag::Control);
        keyboard.release(keyOfV);
        return isPressed;
    }
    const Key insert{NamedKey::Insert, 0};
    const bool isPressed = keyboard.press(insert, {.hasShift = true});
    keyboard.release(insert);
    return isPressed;
}

} // namespace platform
