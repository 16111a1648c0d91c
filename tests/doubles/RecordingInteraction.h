// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "interaction/InteractionManagerImp.h"

#include <QStringList>

using namespace Qt::StringLiterals;

/// An implementation that does nothing and writes down what it was asked, such as "type Cmd+Q"
/// or "move 10 -5", into a list that must outlive it. Its own end is "gone".
class RecordingInteraction final : public InteractionManagerImp
{
public:
    explicit RecordingInteraction(QStringList &callList) : calls(callList) {}
    ~RecordingInteraction() override { calls.append(u"gone"_s); }

    void extractKeyCodeAndModifiers(QString shortcut) override
    {
        calls.append(u"extract "_s + shortcut);
    }
    void generateKeyEvent(bool keyDown) override
    {
        calls.append(keyDown ? u"key down"_s : u"key up"_s);
    }
    void keyboardTapKeyEvent(QString shortcut) override { calls.append(u"type "_s + shortcut); }
    void moveMouseWithOffset(int dx, int dy) override
    {
        calls.append(u"move %1 %2"_s.arg(dx).arg(dy));
    }
    void leftMouseButtonTapped() override { calls.append(u"left"_s); }
    void rightMouseButtonTapped() override { calls.append(u"right"_s); }
    void centerMouseButtonTapped() override { calls.append(u"center"_s); }
    quint64 getModifier(QString token) override
    {
        calls.append(u"modifier "_s + token);
        return 0;
    }

private:
    QStringList &calls;
};
