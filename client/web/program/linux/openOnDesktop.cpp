// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/OwnPage.h"

#include <QProcess>

using namespace Qt::StringLiterals;

bool quillmote::openOnDesktop(const QString &path)
{
    const bool hasDesktop =
        !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    return hasDesktop && QProcess::startDetached(u"xdg-open"_s, {path});
}
