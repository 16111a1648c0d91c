// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/DisplayAccess.h"

#include "platform/linux/x11/X11Connection.h"

#include <QByteArrayList>
#include <QDir>
#include <QFile>
#include <QLocalSocket>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

/// The names of the displays that the toolkit would try; empty where none is set.
struct DisplayNames
{
    QByteArray x11;
    QByteArray wayland;
};

/// Whether the toolkit may use that plugin. The list is separated by semicolons; if it is empty,
/// the toolkit chooses.
bool mayUse(const QByteArray &plugins, const char *plugin)
{
    const QByteArrayList names = plugins.split(';');
    return plugins.isEmpty() || std::ranges::any_of(names, [plugin](const QByteArray &name) {
               return name.startsWith(plugin);
           });
}

DisplayNames namesFor(const DisplayChoice &choice, const QByteArray &plugins)
{
    DisplayNames names;
    if (mayUse(plugins, "xcb")) {
        names.x11 = choice.name.isEmpty() ? qgetenv("DISPLAY") : choice.name;
    }
    if (mayUse(plugins, "wayland")) {
        names.wayland = qgetenv("WAYLAND_DISPLAY");
    }
    return names;
}

bool isForADesktop(const QByteArray &plugins)
{
    return mayUse(plugins, "xcb") || mayUse(plugins, "wayland");
}

bool x11Answers(const QByteArray &name)
{
    return X11Connection(name.constData()).isOpen();
}

bool waylandAnswers(const QByteArray &name)
{
    // An absolute path is kept.
    const QDir runtime(QFile::decodeName(qgetenv("XDG_RUNTIME_DIR")));
    QLocalSocket socket;
    socket.connectToServer(runtime.absoluteFilePath(QFile::decodeName(name)));
    return socket.waitForConnected();
}

QString cannotBeOpened(const QByteArray &name)
{
    return u"The display \"%1\" cannot be opened"_s.arg(QFile::decodeName(name));
}

} // namespace

QString displayProblem(const DisplayChoice &choice)
{
    const QByteArray plugins = choice.plugin.isEmpty() ? qgetenv("QT_QPA_PLATFORM") : choice.plugin;
    const DisplayNames names = namesFor(choice, plugins);
    if (!isForADesktop(plugins) || (!names.x11.isEmpty() && x11Answers(names.x11)) ||
        (!names.wayland.isEmpty() && waylandAnswers(names.wayland))) {
        return {};
    }
    const QByteArray tried = names.x11.isEmpty() ? names.wayland : names.x11;
    const QString problem = tried.isEmpty() ? u"No display is set"_s : cannotBeOpened(tried);
    return problem +
           u"; start the program from a graphical session, or set %1 to the display of one."_s.arg(
               mayUse(plugins, "xcb") ? u"DISPLAY"_s : u"WAYLAND_DISPLAY"_s);
}

void adoptDisplay(const DisplayChoice &choice)
{
    if (choice.name.isEmpty()) {
        return;
    }
    qputenv("DISPLAY", choice.name);
    // The display is one of X11, and a compositor in the environment would take precedence over it.
    if (!choice.plugin.startsWith("wayland")) {
        qunsetenv("WAYLAND_DISPLAY");
    }
}

} // namespace platform
