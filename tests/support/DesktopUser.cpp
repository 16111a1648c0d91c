// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "DesktopUser.h"

#include <QProcess>
#include <QProcessEnvironment>

namespace {

QStringList moveWords(const QPoint &point)
{
    return {QStringLiteral("mousemove"), QString::number(point.x()), QString::number(point.y())};
}

} // namespace

DesktopUser::DesktopUser(QString display) : m_display(std::move(display)) {}

bool DesktopUser::run(const QStringList &arguments) const
{
    QProcess tool;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), m_display);
    tool.setProcessEnvironment(environment);
    tool.setProcessChannelMode(QProcess::ForwardedChannels);
    tool.start(QStringLiteral("xdotool"), arguments);
    return tool.waitForFinished() && tool.exitStatus() == QProcess::NormalExit &&
           tool.exitCode() == 0;
}

bool DesktopUser::moveTo(const QPoint &point) const
{
    return run(moveWords(point));
}

bool DesktopUser::click(const QPoint &point, Button button) const
{
    return run(moveWords(point) +
               QStringList{QStringLiteral("click"), QString::number(static_cast<int>(button))});
}

bool DesktopUser::doubleClick(const QPoint &point) const
{
    return run(moveWords(point) + QStringList{"click", "--repeat", "2", "--delay", "50", "1"});
}

bool DesktopUser::drag(const QPoint &from, const QPoint &to) const
{
    return run(moveWords(from) + QStringList{"mousedown", "1"} + moveWords(to) +
               QStringList{"mouseup", "1"});
}

bool DesktopUser::tapKey(const QString &name) const
{
    return run({QStringLiteral("key"), name});
}

bool DesktopUser::holdKey(const QString &name) const
{
    return run({QStringLiteral("keydown"), name});
}

bool DesktopUser::releaseKey(const QString &name) const
{
    return run({QStringLiteral("keyup"), name});
}

bool DesktopUser::type(const QString &text) const
{
    return run({QStringLiteral("type"), text});
}

bool DesktopUser::moveWindow(quint32 window, const QPoint &corner) const
{
    return run({QStringLiteral("windowmove"), QString::number(window), QString::number(corner.x()),
                QString::number(corner.y())});
}

bool DesktopUser::minimizeWindow(quint32 window) const
{
    return run({QStringLiteral("windowminimize"), QString::number(window)});
}
