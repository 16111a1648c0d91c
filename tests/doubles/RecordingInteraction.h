// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "interaction/InteractionManagerImp.h"

#include <QStringList>

/// An implementation that does nothing and writes down what it was asked, such as "type Cmd+Q"
/// or "move 10 -5", into a list that must outlive it. Its own end is "gone".
class RecordingInteraction final : public InteractionManagerImp
{
public:
    explicit RecordingInteraction(QStringList &callList) : calls(callList) {}
    ~RecordingInteraction() override { calls.append("gone"); }

    void extractKeyCodeAndModifiers(QString shortcut) override
    {
        calls.append("extract " + shortcut);
    }
    void generateKeyEvent(bool keyDown) override { calls.append(keyDown ? "key down" : "key up"); }
    void keyboardTapKeyEvent(QString shortcut) override { calls.append("type " + shortcut); }
    void moveMouseWithOffset(int dx, int dy) override
    {
        calls.append(QStringLiteral("move %1 %2").arg(dx).arg(dy));
    }
    void leftMouseButtonTapped() override { calls.append("left"); }
    void rightMouseButtonTapped() override { calls.append("right"); }
    void centerMouseButtonTapped() override { calls.append("center"); }
    quint64 getModifier(QString token) override
    {
        calls.append("modifier " + token);
        return 0;
    }

private:
    QStringList &calls;
};
