// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/DesktopApplication.h"

#include "platform/linux/applications/DBusActivation.h"
#include "platform/linux/applications/WindowList.h"

#include <QFileInfo>
#include <QProcess>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace platform {
namespace {

constexpr auto activationLimit = 500ms;

std::optional<WindowList::Window> topmostOf(WindowList &windows, const QStringList &windowClasses)
{
    for (const QString &windowClass : windowClasses) {
        const auto window = windows.topmostOf(windowClass);
        if (window.has_value()) {
            return window;
        }
    }
    return std::nullopt;
}

void startProcess(const DesktopEntry &entry)
{
    // The program may have been removed since the entry was found.
    if (!entry.isApplication()) {
        return;
    }
    QStringList command = entry.command(messageLocale());
    if (command.isEmpty()) {
        return;
    }
    if (entry.needsTerminal()) {
        command = QStringList{u"x-terminal-emulator"_s, u"-e"_s} + command;
    }
    QProcess process;
    process.setProgram(command.takeFirst());
    process.setArguments(command);
    process.setWorkingDirectory(entry.workingDirectory());
    process.startDetached();
}

} // namespace

DesktopApplication::DesktopApplication(const DesktopEntry &desktopEntry) : entry(desktopEntry) {}

bool DesktopApplication::isRunning()
{
    if (entry.isDBusActivatable() && DBusActivation::isRunning(entry.baseName())) {
        return true;
    }
    WindowList windows;
    return topmostOf(windows, windowClasses()).has_value();
}

void DesktopApplication::activate()
{
    WindowList windows;
    const auto window = topmostOf(windows, windowClasses());
    if (window.has_value()) {
        windows.activate(*window, activationLimit);
    } else if (entry.isDBusActivatable()) {
        DBusActivation::activate(entry.baseName(), activationLimit);
    }
}

void DesktopApplication::run()
{
    if (entry.isDBusActivatable()) {
        DBusActivation::start(entry.baseName(), [entry = entry] { startProcess(entry); });
    } else {
        startProcess(entry);
    }
}

QString DesktopApplication::name()
{
    return entry.name(messageLocale());
}

QStringList DesktopApplication::windowClasses() const
{
    // With a class in the entry, programs that share an executable can be distinguished, such as
    // the web applications of a browser.
    if (!entry.windowClass().isEmpty()) {
        return {entry.windowClass()};
    }
    return {QFileInfo(entry.program()).fileName(), entry.baseName()};
}

} // namespace platform
