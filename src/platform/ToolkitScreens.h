// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Screens.h"

#include <QObject>

#include <memory>

class QScreen;

namespace platform {

/// The screens as the toolkit sees them, for hosts where the pointer moves in the toolkit's own
/// unit.
class ToolkitScreens : public Screens
{
public:
    QSize desktopSize() override;
    QList<Screen> all() override;
    void watch(std::function<void()> changed) override;

private:
    void watchGeometry(const QScreen *screen);
    void compare();

    std::function<void()> report;
    QList<Screen> latest;
    std::unique_ptr<QObject> watching; // Its destruction ends the connections.
};

} // namespace platform
