// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "applications/TKApplicationManager.h"

#include "applications/TKApplicationManagerImp.h"

TKApplicationManager::TKApplicationManager(TKApplicationManagerImp *implementation)
    : imp(implementation)
{
}

TKApplicationManager::~TKApplicationManager() = default;

QStringList TKApplicationManager::applicationList() const
{
    return imp->supported();
}

void TKApplicationManager::openApplication(QString name)
{
    imp->openApplication(name);
}

void TKApplicationManager::quitApplication(QString name)
{
    imp->quitApplication(name);
}
