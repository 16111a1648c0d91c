// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalTypist.h"

#include <utility>

namespace platform {

void PortalTypist::type(const QString &text, QObject *context, DesktopInput::Done done)
{
    tasks.push_back({text, 0, true, {context, std::move(done)}});
    onProgress();
}

void PortalTypist::onProgress()
{
    while (!tasks.empty() && outbox.isEmpty()) {
        Task &task = tasks.front();
        if (task.caller.isGone() || task.next >= task.text.size()) {
            finishFront(task.isComplete);
        } else {
            typeOne(task);
        }
    }
}

void PortalTypist::fail()
{
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
}

} // namespace platform
