// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/x11/DesktopUser.h"

#include <QProcess>
#include <QProcessEnvironment>

using namespace Qt::StringLiterals;

namespace {

QStringList moveWords(const QPoint &point)
{
    return {u"mousemove"_s, QString::number(point.x()), QString::number(point.y())};
}

} // namespace

DesktopUser::DesktopUser(QString display) : displayName(std::move(display)) {}

bool DesktopUser::run(const QStringList &arguments) const
{
    QProcess tool;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DISPLAY"_s, displayName);
    tool.setProcessEnvironment(environment);
    tool.setProcessChannelMode(QProcess::ForwardedChannels);
    tool.start(u"xdotool"_s, arguments);
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
               QStringList{u"click"_s, QString::number(static_cast<int>(button))});
}

bool DesktopUser::doubleClick(const QPoint &point) const
{
    return run(moveWords(point) +
               QStringList{u"click"_s, u"--repeat"_s, u"2"_s, u"--delay"_s, u"50"_s, u"1"_s});
}

bool DesktopUser::drag(const QPoint &from, const QPoint &to) const
{
    return run(moveWords(from) + QStringList{u"mousedown"_s, u"1"_s} + moveWords(to) +
               QStringList{u"mouseup"_s, u"1"_s});
}

bool DesktopUser::tapKey(const QString &name) const
{
    return run({u"key"_s, name});
}

bool DesktopUser::holdKey(const QString &name) const
{
    return run({u"keydown"_s, name});
}

bool DesktopUser::releaseKey(const QString &name) const
{
    return run({u"keyup"_s, name});
}

bool DesktopUser::type(const QString &text) const
{
    return run({u"type"_s, text});
}

bool DesktopUser::moveWindow(quint32 window, const QPoint &corner) const
{
    return run({u"windowmove"_s, QString::number(window), QString::number(corner.x()),
                QString::number(corner.y())});
}

bool DesktopUser::minimizeWindow(quint32 window) const
{
    return run({u"windowminimize"_s, QString::number(window)});
}
