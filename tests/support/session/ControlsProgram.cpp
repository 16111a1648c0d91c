// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/ControlsProgram.h"

#include "support/Folders.h"
#include "support/Waiting.h"

#include <QDir>
#include <QJsonDocument>

#include <csignal>
#include <thread>

namespace {

/// The window manager may be busy with an earlier text's changes of the key map.
constexpr std::chrono::milliseconds WindowLimit{90'000};
constexpr std::chrono::milliseconds BetweenKeys{200};

QString fixture(const char *name)
{
    return QDir(QStringLiteral(CONTROLS_FIXTURES)).filePath(QLatin1StringView(name));
}

QStringList commandOf(ControlsProgram::Kind kind, const UserSession &session, const QString &record)
{
    switch (kind) {
    case ControlsProgram::Kind::Gtk:
        return {fixture("gtk_controls.py"), record};
    case ControlsProgram::Kind::Qt:
        return {QStringLiteral(QT_CONTROLS), record};
    case ControlsProgram::Kind::Terminal:
        if (session.environment().contains(u"WAYLAND_DISPLAY"_s)) {
            return {u"foot"_s, fixture("record_terminal.py"), record};
        }
        return {u"xterm"_s, u"-u8"_s,
                u"-fa"_s,   u"DejaVu Sans Mono"_s,
                u"-e"_s,    fixture("record_terminal.py"),
                record};
    case ControlsProgram::Kind::Browser:
        return {fixture("browser_controls.py"), record, session.home()};
    }
    return {};
}

std::optional<QRect> frontWindow(const DesktopView &view, qint64 process)
{
    const auto windows = view.dialogs(process);
    return windows.isEmpty() || view.activeWindow() != windows.first().id
               ? std::nullopt
               : std::optional(windows.first().place);
}

} // namespace

ControlsProgram::ControlsProgram(Kind which, const DesktopSession &session)
    : ControlsProgram(
          which, session, [&session](qint64 id) { return frontWindow(session.view(), id); },
          [&session] { return session.user().tapKey(u"Home"_s); })
{
    isPainted = [&session](const QRect &place) {
        return !session.view().settledPicture(place, WindowLimit).isNull();
    };
}

ControlsProgram::ControlsProgram(Kind which, const UserSession &session, Finder finder,
                                 Tap tapOfHome)
    : kind(which)
    , desktop(session)
    , find(std::move(finder))
    , tapHome(std::move(tapOfHome))
{
    QFile::remove(record());
    auto environment = session.environment();
    // Without a graphics card, and without asking the bus of the machine.
    environment.insert(u"GSK_RENDERER"_s, u"cairo"_s);
    environment.insert(u"GTK_A11Y"_s, u"none"_s);
    // What the session tells the server's sanitizer would make the program slow.
    environment.insert(u"ASAN_OPTIONS"_s, qEnvironmentVariable("ASAN_OPTIONS"));
    process.setProcessEnvironment(environment);
    process.setStandardErrorFile(errorLog());
    QStringList command = commandOf(kind, session, record());
    const QString program = command.takeFirst();
    process.start(program, command);
}

bool ControlsProgram::isReady() const
{
    return waitUntil([this] { return window().has_value(); }, WindowLimit) &&
           (!isPainted || isPainted(window().value_or(QRect()))) &&
           (kind != Kind::Browser ||
            waitUntil([this] { return hasTakenKey(); }, WindowLimit, BetweenKeys));
}

bool ControlsProgram::pause(std::chrono::milliseconds duration) const
{
    const auto id = static_cast<pid_t>(state().value(u"process"_s).toInteger());
    if (id <= 0 || ::kill(id, SIGSTOP) != 0) {
        return false;
    }
    std::this_thread::sleep_for(duration);
    return ::kill(id, SIGCONT) == 0;
}

QByteArray ControlsProgram::problem() const
{
    const QByteArray errors = " Its errors: " + Folders::fileBytes(errorLog());
    if (hasEnded()) {
        return "It has ended with status " + QByteArray::number(process.exitCode()) + '.' + errors;
    }
    if (state().isEmpty()) {
        return "It has not written its state." + errors;
    }
    return window() ? "It is in front, and not painted or without keys."
                    : "It is not in front." + errors;
}

/// Presses a key that changes nothing. Chromium has the focus before it takes keys: those that come
/// before it has painted the page for the first time are dropped, and that takes long on a busy
/// machine.
bool ControlsProgram::hasTakenKey() const
{
    const auto isReported = [this] { return state().value(u"hasTakenKey"_s).toBool(); };
    return isReported() || (tapHome() && isReported());
}

QJsonObject ControlsProgram::state() const
{
    return QJsonDocument::fromJson(Folders::fileBytes(record())).object();
}

/// Not every one of them is the process that was started.
std::optional<QRect> ControlsProgram::window() const
{
    return find(state().value(u"process"_s).toInteger());
}

QPoint ControlsProgram::nearEndOfSlider() const
{
    constexpr double Share = 0.42;
    const int width = window().value_or(QRect()).width();
    return middleOfSlider() + QPoint(static_cast<int>(width * Share), 0);
}

QPoint ControlsProgram::middleOfRow(int row) const
{
    const QRect place = window().value_or(QRect());
    return {place.center().x(), place.top() + place.height() * (2 * row + 1) / 6};
}
