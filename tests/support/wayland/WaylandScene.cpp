// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/wayland/WaylandScene.h"

#include "support/wayland/ShellScene.h"
#include "support/wayland/SwayScene.h"

std::unique_ptr<WaylandScene> WaylandScene::make()
{
    if (const auto shell = ShellScene::ofEnvironment()) {
        return std::make_unique<ShellScene>(*shell);
    }
    return std::make_unique<SwayScene>();
}
