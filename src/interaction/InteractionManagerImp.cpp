// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "interaction/InteractionManagerImp.h"

using namespace Qt::StringLiterals;

InteractionManagerImp::~InteractionManagerImp() = default;

bool InteractionManagerImp::isModifier(QString token)
{
    return token == "Cmd"_L1 || token == "Alt"_L1 || token == "Ctrl"_L1 || token == "Shift"_L1;
}
