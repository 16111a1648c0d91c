// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "applications/TKApplicationManagerImp.h"

TKApplicationManagerImp::TKApplicationManagerImp(InteractionManager *interactionManager)
    : interaction(interactionManager)
{
}

TKApplicationManagerImp::~TKApplicationManagerImp() = default;
