// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/ControlsProgram.h"

#include "support/Folders.h"
#include "support/Waiting.h"

#include <QDir>
#include <QJsonDocument>

namespace {

/// The window manager may be busy with an earlier text's changes of the key map.
constexpr std::chrono::milliseconds WindowLimit{90'000};
constexpr std::chrono::milliseconds BetweenKeys{200};

QString fixture(const char *name)
{
    return QDir(QStringLiteral(CONTROLS_FIXTURES)).filePath(QLatin1StringView(name));
}

QStringList commandOf(ControlsProgram::Kind kind, const DesktopSession &session,
                      const QString &record)
{
    switch (kind) {
    case ControlsProgram::Kind::Gtk:
        return {fixture("gtk_controls.py"), record};
    case ControlsProgram::Kind::Qt:
        return {QStringLiteral(QT_CONTROLS), record};
    case ControlsProgram::Kind::Terminal:
        return {u"xterm"_s, u"-u8"_s,
                u"-fa"_s,   u"DejaVu Sans Mono"_s,
                u"-e"_s,    fixture("record_terminal.py"),
                record};
    case ControlsProgram::Kind::Browser:
        return {fixture("browser_controls.py"), record, session.home()};
    }
    return {};
}

} // namespace

ControlsProgram::ControlsProgram(Kind which, const DesktopSession &session)
    : kind(which)
    , desktop(session)
{
    QFile::remove(record());
    auto environment = session.environment();
    // Without a graphics card, and without asking the bus of the machine.
    environment.insert(u"GSK_RENDERER"_s, u"cairo"_s);
    environment.insert(u"GDK_BACKEND"_s, u"x11"_s);
    environment.insert(u"GTK_A11Y"_s, u"none"_s);
    process.setProcessEnvironment(environment);
    process.setStandardErrorFile(session.path(u"controls.log"_s));
    QStringList command = commandOf(kind, session, record());
    const QString program = command.takeFirst();
    process.start(program, command);
}

bool ControlsProgram::isReady() const
{
    return waitUntil([this] { return isActive(); }, WindowLimit) &&
           (kind != Kind::Browser ||
            waitUntil([this] { return hasTakenKey(); }, WindowLimit, BetweenKeys));
}

bool ControlsProgram::isActive() const
{
    const auto seen = window();
    return seen && desktop.view().activeWindow() == seen->id;
}

/// Presses a key that changes nothing. Chromium has the focus before it takes keys: those that come
/// before it has painted the page for the first time are dropped, and that takes long on a busy
/// machine.
bool ControlsProgram::hasTakenKey() const
{
    const auto isReported = [this] { return state().value(u"hasTakenKey"_s).toBool(); };
    return isReported() || (desktop.user().tapKey(u"Home"_s) && isReported());
}

QJsonObject ControlsProgram::state() const
{
    return QJsonDocument::fromJson(Folders::fileBytes(record())).object();
}

/// Not every one of them is the process that was started.
std::optional<SeenWindow> ControlsProgram::window() const
{
    const auto windows = desktop.view().dialogs(state().value(u"process"_s).toInteger());
    return windows.isEmpty() ? std::nullopt : std::optional(windows.first());
}

QPoint ControlsProgram::middleOfRow(int row) const
{
    const QRect place = window().value_or(SeenWindow()).place;
    return {place.center().x(), place.top() + place.height() * (2 * row + 1) / 6};
}
