// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "interaction/InteractionManager.h"

#include "interaction/InteractionManagerImp.h"

InteractionManager::InteractionManager(InteractionManagerImp *implementation) : imp(implementation)
{
}

InteractionManager::~InteractionManager() = default;

void InteractionManager::keyboardTapKeyEvent(QString shortcut)
{
    imp->keyboardTapKeyEvent(shortcut);
}

void InteractionManager::extractKeyCodeAndModifiers(QString shortcut)
{
    imp->extractKeyCodeAndModifiers(shortcut);
}

void InteractionManager::generateKeyEvent(bool keyDown)
{
    imp->generateKeyEvent(keyDown);
}

void InteractionManager::moveMouseWithOffset(int dx, int dy)
{
    imp->moveMouseWithOffset(dx, dy);
}

void InteractionManager::leftMouseButtonTapped()
{
    imp->leftMouseButtonTapped();
}

void InteractionManager::rightMouseButtonTapped()
{
    imp->rightMouseButtonTapped();
}

void InteractionManager::centerMouseButtonTapped()
{
    imp->centerMouseButtonTapped();
}
