// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"

#include <QObject>
#include <QPointer>
#include <QStringList>

#include <deque>
#include <functional>
#include <utility>

using namespace Qt::StringLiterals;

/// What a RecordingDesktopInput can do and was asked; the test keeps it, so it outlives the double.
struct DesktopInputRecord
{
    platform::DesktopInput::Abilities abilities{true, true, true, true, true, true, true};
    /// Every call in its order, such as "press a CS" (with Control and Shift), "release #10",
    /// "type …", "move 1.5 -2", "to 10 20", "button 0 down" (the left one), "scroll 0 120".
    QStringList calls;
    /// Whether presses and texts are done before the call returns. Otherwise they wait.
    bool isPrompt = true;
    platform::DesktopInput::Readiness readiness = platform::DesktopInput::Readiness::Ready;
    /// What is answered.
    bool succeeds = true;
    /// Completes the press or text that has waited longest, unless its context is gone.
    void completeOne()
    {
        auto [context, complete] = std::move(waiting.front());
        waiting.pop_front();
        if (!context.isNull()) {
            complete();
        }
    }

    std::deque<std::pair<QPointer<QObject>, std::function<void()>>> waiting;
};

/// A keyboard and pointer that do nothing and write down what they were asked.
class RecordingDesktopInput final : public platform::DesktopInput
{
public:
    /// `record` must outlive this object.
    explicit RecordingDesktopInput(DesktopInputRecord &sharedRecord) : record(sharedRecord) {}

    Abilities abilities() const override { return record.abilities; }
    Readiness makeReady() override { return record.readiness; }

    void press(const platform::Key &key, const platform::KeyModifiers &modifiers, QObject *context,
               Done done) override
    {
        const QString call = u"press "_s + nameOf(key) + textOf(modifiers);
        carryOut(context, [this, call, done] {
            record.calls.append(call);
            done(record.succeeds);
        });
    }
    void release(const platform::Key &key) override
    {
        record.calls.append(u"release "_s + nameOf(key));
    }
    void type(const QString &text, QObject *context, Done done) override
    {
        carryOut(context, [this, text, done] {
            record.calls.append(u"type "_s + text);
            done(record.succeeds);
        });
    }
    void moveBy(double dx, double dy) override
    {
        record.calls.append(u"move %1 %2"_s.arg(dx).arg(dy));
    }
    void moveTo(const platform::Location &position) override
    {
        record.calls.append(u"to %1 %2"_s.arg(position.x).arg(position.y));
    }
    void press(platform::PointerButton button) override
    {
        record.calls.append(u"button %1 down"_s.arg(static_cast<int>(button)));
    }
    void release(platform::PointerButton button) override
    {
        record.calls.append(u"button %1 up"_s.arg(static_cast<int>(button)));
    }
    void scroll(int dx, int dy) override { record.calls.append(u"scroll %1 %2"_s.arg(dx).arg(dy)); }

private:
    /// The character, or "#" and the number of the name.
    static QString nameOf(const platform::Key &key)
    {
        return key.name == platform::NamedKey::None ? QString::fromUcs4(&key.character, 1)
                                                    : u"#%1"_s.arg(static_cast<int>(key.name));
    }

    static QString textOf(const platform::KeyModifiers &modifiers)
    {
        QString text;
        text += modifiers.hasControl ? u"C"_s : QString();
        text += modifiers.hasShift ? u"S"_s : QString();
        text += modifiers.hasAlt ? u"A"_s : QString();
        text += modifiers.hasMeta ? u"M"_s : QString();
        text += modifiers.hasAltGraph ? u"G"_s : QString();
        return text.isEmpty() ? text : u' ' + text;
    }

    void carryOut(QObject *context, const std::function<void()> &work)
    {
        if (record.isPrompt) {
            work();
        } else {
            record.waiting.emplace_back(context, work);
        }
    }

    DesktopInputRecord &record;
};
