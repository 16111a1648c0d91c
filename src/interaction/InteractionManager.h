// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <memory>

class InteractionManagerImp;

/// The desktop's keyboard and pointer as the server sees them. Forwards every call to the host
/// system's implementation, which it owns.
class InteractionManager
{
public:
    explicit InteractionManager(InteractionManagerImp *implementation);
    ~InteractionManager();
    InteractionManager(const InteractionManager &) = delete;
    InteractionManager &operator=(const InteractionManager &) = delete;

    /// Types a key or a shortcut such as "Cmd+Q".
    void keyboardTapKeyEvent(QString shortcut);
    void extractKeyCodeAndModifiers(QString shortcut);
    void generateKeyEvent(bool keyDown);
    void moveMouseWithOffset(int dx, int dy);
    void leftMouseButtonTapped();
    void rightMouseButtonTapped();
    void centerMouseButtonTapped();

private:
    std::unique_ptr<InteractionManagerImp> imp;
};
