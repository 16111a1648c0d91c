// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/wayland/SwaySession.h"

#include "support/Waiting.h"
#include "support/wayland/SwayMessages.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <csignal>

#include <unistd.h>

namespace {

constexpr quint32 CommandType = 0;

/// sway runs the programs of its settings once it serves clients, and lets them write where it
/// writes itself. The pointer leaves the focus alone, so that moves change nothing else.
const char Settings[] = R"(xwayland disable
output HEADLESS-1 resolution %1x%2 position 0 0
default_border none
focus_follows_mouse no
exec echo "$WAYLAND_DISPLAY"
)";

QRect toRect(const QJsonObject &place)
{
    return {place.value(u"x"_s).toInt(), place.value(u"y"_s).toInt(),
            place.value(u"width"_s).toInt(), place.value(u"height"_s).toInt()};
}

/// The one that has the keys among a node of sway's tree and all below it.
QJsonObject focusedNode(const QJsonObject &node)
{
    if (node.value(u"focused"_s).toBool()) {
        return node;
    }
    for (const auto &kind : {u"nodes"_s, u"floating_nodes"_s}) {
        for (const auto &child : node.value(kind).toArray()) {
            const QJsonObject found = focusedNode(child.toObject());
            if (!found.isEmpty()) {
                return found;
            }
        }
    }
    return {};
}

/// The rest of the line that sway's first program writes; empty when sway ends before that.
QString readDisplayName(QProcess &process)
{
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(GenerousMilliseconds)) {
            return {};
        }
    }
    return QString::fromUtf8(process.readLine().trimmed());
}

} // namespace

SwaySession::SwaySession(Parts parts)
{
    if (geteuid() == 0) {
        require(false, "sway refuses root; run the test through ctest");
        return;
    }
    require(writeSettings(), "sway.conf");
    require(start(), "sway");
    if (problem().isEmpty() && parts.testFlag(SessionBus)) {
        startBus();
    }
}

SwaySession::~SwaySession()
{
    end();
}

bool SwaySession::writeSettings() const
{
    QFile settings(path(u"sway.conf"_s));
    const QString text =
        QString::fromLatin1(Settings).arg(OutputSize.width()).arg(OutputSize.height());
    return settings.open(QIODevice::WriteOnly) && settings.write(text.toUtf8()) > 0;
}

bool SwaySession::start()
{
    // One that is left of a crash would make sway choose another.
    QFile::remove(path(u"run/sway.socket"_s));
    auto started = environment();
    started.remove(u"WAYLAND_DISPLAY"_s);
    for (const auto &[name, value] : {std::pair(u"WLR_BACKENDS"_s, u"headless"_s),
                                      std::pair(u"WLR_LIBINPUT_NO_DEVICES"_s, u"1"_s),
                                      std::pair(u"WLR_RENDERER"_s, u"pixman"_s)}) {
        started.insert(name, value);
    }
    sway.setProcessEnvironment(started);
    sway.setStandardErrorFile(path(u"sway.log"_s), QIODevice::Append);
    sway.start(u"sway"_s, {u"--config"_s, path(u"sway.conf"_s)});
    displayName = readDisplayName(sway);
    return !displayName.isEmpty() && isRunning();
}

void SwaySession::describeDisplay(QProcessEnvironment &environment) const
{
    environment.insert(u"WAYLAND_DISPLAY"_s, displayName);
    environment.insert(u"SWAYSOCK"_s, path(u"run/sway.socket"_s));
    environment.insert(u"XDG_SESSION_TYPE"_s, u"wayland"_s);
    environment.insert(u"XDG_CURRENT_DESKTOP"_s, u"sway"_s);
    environment.insert(u"QT_QPA_PLATFORM"_s, u"wayland"_s);
    environment.insert(u"GDK_BACKEND"_s, u"wayland"_s);
    // The toolkit leaves its objects of the compositor behind. A report has to reach through
    // libwayland, which has no frame pointers, to tell them from ours.
    environment.insert(u"ASAN_OPTIONS"_s,
                       qEnvironmentVariable("ASAN_OPTIONS") + u":fast_unwind_on_malloc=0"_s);
}

bool SwaySession::command(const QString &text) const
{
    const QJsonArray results =
        SwayMessages::ask(path(u"run/sway.socket"_s), CommandType, text.toUtf8()).array();
    return !results.isEmpty() && std::ranges::all_of(results, [](const auto &result) {
        return result.toObject().value(u"success"_s).toBool();
    });
}

QJsonDocument SwaySession::ask(Question question) const
{
    return SwayMessages::ask(path(u"run/sway.socket"_s), static_cast<quint32>(question));
}

std::optional<QRect> SwaySession::frontWindow(qint64 process) const
{
    const QJsonObject node = focusedNode(ask(Question::Tree).object());
    return process != 0 && node.value(u"pid"_s).toInteger() == process
               ? std::optional(toRect(node.value(u"rect"_s).toObject()))
               : std::nullopt;
}

QImage SwaySession::picture() const
{
    ChildProcess camera;
    camera.setProcessEnvironment(environment());
    camera.start(u"grim"_s, {u"-"_s});
    camera.waitForFinished();
    return QImage::fromData(camera.readAllStandardOutput());
}

void SwaySession::end()
{
    resume();
    sway.terminate();
    if (!sway.waitForFinished(GenerousMilliseconds)) {
        sway.kill();
    }
    sway.waitForFinished();
}

bool SwaySession::restart()
{
    const QString before = displayName;
    return start() && displayName == before;
}

void SwaySession::halt() const
{
    send(SIGSTOP);
}

void SwaySession::resume() const
{
    send(SIGCONT);
}

void SwaySession::send(int signal) const
{
    if (isRunning()) {
        ::kill(static_cast<pid_t>(processId()), signal);
    }
}
