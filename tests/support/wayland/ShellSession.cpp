// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/wayland/ShellSession.h"

#include "support/Folders.h"
#include "support/Waiting.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>

#include <csignal>

#include <unistd.h>

namespace {

constexpr auto LimitInMilliseconds = static_cast<int>(GenerousLimit.count());
/// The helper that presses in the portal's dialog gives up by itself.
constexpr int DialogLimitInMilliseconds = 60'000;

/// No others of the machine are started in the session.
const QStringList Services{
    u"org.freedesktop.portal.Desktop"_s,
    u"org.freedesktop.impl.portal.desktop.gnome"_s,
    u"org.freedesktop.impl.portal.desktop.kde"_s,
    u"org.freedesktop.impl.portal.PermissionStore"_s,
    u"org.a11y.Bus"_s,
};
const QString Notifications = u"org.gnome.Shell.Notifications"_s;

/// Without animations what is asked for is there at once. On a busy machine a slow program must not
/// be taken for a hung one: the dialog about it would take the keys. Nor must a key be repeated
/// there because the shell reads its release late.
const char GnomeSettings[] = R"([org/gnome/desktop/interface]
enable-animations=false

[org/gnome/desktop/peripherals/keyboard]
delay=uint32 10000

[org/gnome/mutter]
check-alive-timeout=uint32 0

[org/gnome/shell]
enabled-extensions=%1
disable-extension-version-validation=true
welcome-dialog-last-shown-version='99'
)";

QString file(const QString &service)
{
    return service + u".service"_s;
}

QRect toRect(const QJsonArray &numbers)
{
    return {numbers.at(0).toInt(), numbers.at(1).toInt(), numbers.at(2).toInt(),
            numbers.at(3).toInt()};
}

} // namespace

ShellSession::ShellSession(Shell which, Parts parts) : kind(which)
{
    if (geteuid() == 0) {
        require(false, "the desktop refuses root; run the test through ctest");
        return;
    }
    require(writeSettings(parts), "the settings of the desktop");
    useSystemBus(startBus(systemBus, u"system"_s));
    startBus(offer(parts.testFlag(Tray) ? Services + QStringList{Notifications} : Services));
    startCompositor();
}

ShellSession::~ShellSession()
{
    QDBusConnection::disconnectFromBus(connectionName());
    compositor.terminate();
    if (!compositor.waitForFinished(LimitInMilliseconds)) {
        compositor.kill();
        compositor.waitForFinished();
    }
    endSessionBus();
    systemBus.kill();
    systemBus.waitForFinished();
    endOtherProcesses();
}

bool ShellSession::writeSettings(Parts parts) const
{
    const QString folder = path(u"config/glib-2.0/settings"_s);
    return QDir().mkpath(folder) &&
           Folders::write(folder + u"/keyfile"_s,
                          QByteArray(GnomeSettings)
                              .replace("%1", parts.testFlag(Tray)
                                                 ? "['ubuntu-appindicators@ubuntu.com']"
                                                 : "@as []"));
}

/// The bus starts them itself, since there is no other manager of services.
QByteArray ShellSession::offer(const QStringList &services) const
{
    const QString folder = path(u"services"_s);
    QDir().mkpath(folder);
    for (const QString &service : services) {
        QByteArrayList lines =
            Folders::fileBytes(u"/usr/share/dbus-1/services/"_s + file(service)).split('\n');
        erase_if(lines, [](const auto &line) { return line.startsWith("Systemd"); });
        Folders::write(folder + u'/' + file(service), lines.join('\n'));
    }
    return "<servicedir>" + folder.toUtf8() + "</servicedir>";
}

void ShellSession::startCompositor()
{
    auto started = environment();
    started.remove(u"WAYLAND_DISPLAY"_s);
    started.remove(u"QT_QPA_PLATFORM"_s);
    compositor.setProcessEnvironment(started);
    compositor.setStandardOutputFile(path(u"shell.log"_s));
    compositor.setStandardErrorFile(path(u"shell.log"_s), QIODevice::Append);
    const QString width = QString::number(OutputSize.width());
    const QString height = QString::number(OutputSize.height());
    if (kind == Shell::Gnome) {
        // Only in this mode it takes pictures and evaluates expressions for programs.
        compositor.start(u"gnome-shell"_s, {u"--unsafe-mode"_s, u"--headless"_s, u"--wayland"_s,
                                            u"--no-x11"_s, u"--wayland-display="_s + display(),
                                            u"--virtual-monitor"_s, width + u'x' + height});
    } else {
        compositor.start(u"kwin_wayland"_s,
                         {u"--virtual"_s, u"--width"_s, width, u"--height"_s, height,
                          u"--no-lockscreen"_s, u"--socket"_s, display()});
    }
    compositor.waitForStarted();
    require(waitUntil([this] { return hasStarted() || !isRunning(); }) && isRunning(),
            kind == Shell::Gnome ? "gnome-shell" : "kwin_wayland");
}

bool ShellSession::hasStarted() const
{
    const auto session = QDBusConnection::connectToBus(busAddress(), connectionName());
    const QString name =
        kind == Shell::Gnome ? u"org.gnome.Mutter.RemoteDesktop"_s : u"org.kde.KWin"_s;
    return QFile::exists(displayPath()) && session.isConnected() &&
           session.interface()->isServiceRegistered(name);
}

void ShellSession::describeDisplay(QProcessEnvironment &environment) const
{
    const bool isGnome = kind == Shell::Gnome;
    environment.insert(u"WAYLAND_DISPLAY"_s, display());
    environment.insert(u"XDG_CURRENT_DESKTOP"_s, isGnome ? u"GNOME"_s : u"KDE"_s);
    environment.insert(u"XDG_SESSION_TYPE"_s, u"wayland"_s);
    environment.insert(u"XDG_SESSION_CLASS"_s, u"user"_s);
    environment.insert(u"XDG_MENU_PREFIX"_s, isGnome ? u"gnome-"_s : u"plasma-"_s);
    environment.insert(u"LIBGL_ALWAYS_SOFTWARE"_s, u"1"_s);
    environment.insert(u"GSETTINGS_BACKEND"_s, u"keyfile"_s);
    environment.insert(u"GIO_USE_VFS"_s, u"local"_s);
    environment.insert(u"QT_QPA_PLATFORM"_s, u"wayland"_s);
    environment.insert(u"GDK_BACKEND"_s, u"wayland"_s);
    // The toolkit leaves its objects of the compositor behind. A report has to reach through
    // libwayland, which has no frame pointers, to tell them from ours.
    environment.insert(u"ASAN_OPTIONS"_s,
                       qEnvironmentVariable("ASAN_OPTIONS") + u":fast_unwind_on_malloc=0"_s);
}

bool ShellSession::pressInDialog(const QStringList &deeds) const
{
    ChildProcess helper;
    helper.setProcessEnvironment(environment());
    helper.setStandardErrorFile(path(u"dialog.log"_s), QIODevice::Append);
    helper.start(QStringLiteral(PORTAL_DIALOG), deeds);
    return helper.waitForFinished(DialogLimitInMilliseconds) &&
           helper.exitStatus() == QProcess::NormalExit && helper.exitCode() == 0;
}

bool ShellSession::consent() const
{
    return kind == Shell::Plasma ||
           pressInDialog({u"check box:Allow remote interaction"_s, u"button:Share"_s});
}

bool ShellSession::refuse() const
{
    return pressInDialog({u"button:Cancel"_s});
}

bool ShellSession::dismissOverview() const
{
    return kind == Shell::Plasma || waitUntil([this] {
               return evaluate(u"Main.layoutManager._startingUp || Main.overview.visible && "
                               "(Main.overview.hide(), true)"_s) == "false";
           });
}

std::optional<QByteArray> ShellSession::evaluate(const QString &expression) const
{
    auto call = QDBusMessage::createMethodCall(u"org.gnome.Shell"_s, u"/org/gnome/Shell"_s,
                                               u"org.gnome.Shell"_s, u"Eval"_s);
    call << expression;
    const QVariantList answer =
        QDBusConnection(connectionName()).call(call, QDBus::Block, LimitInMilliseconds).arguments();
    if (answer.size() != 2 || !answer.at(0).toBool()) {
        return std::nullopt;
    }
    return answer.at(1).toString().toUtf8();
}

std::optional<QRect> ShellSession::frontWindow(qint64 process) const
{
    // A new window has the keys before the pointer finds it.
    const auto place = evaluate(
        u"(window => {"
        "if (!window || window.get_pid() != %1) return null;"
        "const {x, y, width, height} = window.get_frame_rect();"
        "const found = global.stage.get_actor_at_pos(1, x + width / 2, y + height / 2);"
        "return window.get_compositor_private().contains(found) ? [x, y, width, height] : null;"
        "})(global.display.focus_window)"_s.arg(process));
    const QJsonArray numbers = QJsonDocument::fromJson(place.value_or("")).array();
    return process != 0 && numbers.size() == 4 ? std::optional(toRect(numbers)) : std::nullopt;
}

QImage ShellSession::picture() const
{
    auto call = QDBusMessage::createMethodCall(u"org.gnome.Shell.Screenshot"_s,
                                               u"/org/gnome/Shell/Screenshot"_s,
                                               u"org.gnome.Shell.Screenshot"_s, u"Screenshot"_s);
    call << false << false << path(u"picture.png"_s);
    const QDBusReply<bool> reply =
        QDBusConnection(connectionName()).call(call, QDBus::Block, LimitInMilliseconds);
    return reply.value() ? QImage(path(u"picture.png"_s)) : QImage();
}

QList<qint64> ShellSession::processes() const
{
    const QByteArray mark = "XDG_RUNTIME_DIR=" + QFile::encodeName(runtimeDirectory());
    QList<qint64> found;
    for (const QString &entry : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
        const qint64 id = entry.toLongLong();
        if (id > 0 &&
            Folders::fileBytes(u"/proc/"_s + entry + u"/environ"_s).split('\0').contains(mark)) {
            found.append(id);
        }
    }
    return found;
}

/// What the buses have started ends with them, or is ended.
void ShellSession::endOtherProcesses() const
{
    using namespace std::chrono_literals;
    if (!waitUntil([this] { return processes().isEmpty(); }, 3s)) {
        for (const qint64 id : processes()) {
            ::kill(static_cast<pid_t>(id), SIGKILL);
        }
        waitUntil([this] { return processes().isEmpty(); });
    }
}
