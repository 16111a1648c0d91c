// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionRequests.h"

#include "platform/DesktopInput.h"
#include "session/SessionCommons.h"
#include "session/SessionFields.h"
#include "session/SessionJson.h"
#include "session/SessionKeyboard.h"
#include "session/SessionPointer.h"
#include "session/SessionScreens.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QPointer>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype longestName = 1'024;
constexpr qsizetype longestDevice = 1'024;
constexpr qsizetype longestListenAddress = 128;
constexpr qsizetype longestAddress = 1024 * 1024;

/// What a request is, besides its name.
enum Trait {
    None = 0,
    Input = 1,         ///< The session counts as a connected device.
    WholeBody = 2,     ///< It may have a body.
    BodyInParts = 4,   ///< It may have a body, and takes it as it comes.
    EvenIfRefused = 8, ///< Served for devices that the user has refused.
    EvenIfClosed = 16, ///< Served while the server could not start.
};

QString notStarted()
{
    return u"The server could not start. Look at the setting listenAddress."_s;
}

} // namespace

struct SessionRequests::Command
{
    QLatin1StringView name;
    int traits;
    void (SessionRequests::*serve)(const SessionRequest &request, const SessionAnswer &answer);
};

/// What the session holds; a refused one begins anew.
struct SessionRequests::Parts
{
    Parts(SessionCommons &commons, const Event &event)
        : keyboard(commons.services.input, commons.keys)
        , clipboard(commons.services.clipboard, commons.texts, commons.clipboardChanges, event)
        , files({commons.services.fileDirectory, commons.services.fileDescriptor,
                 commons.services.openFile, commons.transfers})
        , screens(commons.services.screens, commons.screenChanges, event)
        , pointer(commons.services.input, commons.buttons, screens)
    {
    }

    SessionKeyboard keyboard;
    SessionClipboard clipboard;
    SessionFiles files;
    SessionScreens screens;
    SessionPointer pointer;
};

SessionRequests::SessionRequests(SessionCommons &sessionCommons, const QString &peerProgram,
                                 Event event)
    : commons(sessionCommons)
    , services(sessionCommons.services)
    , sendEvent(std::move(event))
    , deviceName(SessionJson::shown(peerProgram))
{
    begin();
}

SessionRequests::~SessionRequests()
{
    parts.reset();
    if (isConnected) {
        services.deviceDisconnected(deviceName);
    }
}

void SessionRequests::begin()
{
    parts.reset();
    parts = std::make_unique<Parts>(commons, sendEvent);
}

const SessionRequests::Command *SessionRequests::commandOf(const QString &name)
{
    static constexpr std::array commands = {
        Command{"key"_L1, Input, &SessionRequests::key},
        Command{"text"_L1, Input, &SessionRequests::text},
        Command{"move"_L1, Input, &SessionRequests::move},
        Command{"moveTo"_L1, Input, &SessionRequests::moveTo},
        Command{"button"_L1, Input, &SessionRequests::button},
        Command{"scroll"_L1, Input, &SessionRequests::scroll},
        Command{"clipboard.set"_L1, WholeBody, &SessionRequests::setClipboard},
        Command{"clipboard.get"_L1, None, &SessionRequests::getClipboard},
        Command{"clipboard.watch"_L1, None, &SessionRequests::watchClipboard},
        Command{"open"_L1, None, &SessionRequests::open},
        Command{"applications"_L1, None, &SessionRequests::applications},
        Command{"file.put"_L1, BodyInParts, &SessionRequests::putFile},
        Command{"file.cancel"_L1, None, &SessionRequests::cancelFile},
        Command{"file.list"_L1, None, &SessionRequests::listFiles},
        Command{"file.get"_L1, None, &SessionRequests::getFile},
        Command{"screens"_L1, None, &SessionRequests::listScreens},
        Command{"watch"_L1, None, &SessionRequests::watchScreens},
        Command{"pair"_L1, EvenIfRefused, &SessionRequests::pair},
        Command{"listen"_L1, EvenIfClosed, &SessionRequests::listen},
        Command{"ping"_L1, EvenIfRefused | EvenIfClosed, &SessionRequests::ping},
    };
    const auto *const found =
        std::find_if(commands.begin(), commands.end(),
                     [&](const Command &command) { return command.name == name; });
    return found == commands.end() ? nullptr : found;
}

void SessionRequests::serve(const SessionRequest &request, const SessionAnswer &answer)
{
    const Command *command = commandOf(request.name);
    if (command == nullptr) {
        answer(SessionReply::refused(u"unknown-request"_s, u"There is no request \"%1\"."_s.arg(
                                                               SessionJson::shown(request.name))));
    } else if (isRefused && (command->traits & EvenIfRefused) == 0) {
        answer(SessionReply::refused(u"refused"_s, u"The user has refused this device."_s));
    } else if (!services.isListening() && (command->traits & EvenIfClosed) == 0) {
        answer(SessionReply::refused(u"failed"_s, notStarted()));
    } else if (request.body && (command->traits & (WholeBody | BodyInParts)) == 0) {
        answer(SessionReply::refused(u"bad-request"_s, u"This request has no body."_s));
    } else {
        if ((command->traits & Input) != 0) {
            becomeConnected();
        }
        (this->*command->serve)(request, answer);
    }
}

bool SessionRequests::needsWholeBody(const SessionRequest &request)
{
    const Command *command = commandOf(request.name);
    return command != nullptr && (command->traits & WholeBody) != 0;
}

/// Parts that no request takes are dropped: serve() will refuse it.
void SessionRequests::takePart(const SessionRequest &request, const QByteArray &bytes)
{
    const Command *command = commandOf(request.name);
    if (command != nullptr && (command->traits & BodyInParts) != 0 && !isRefused) {
        parts->files.takePart(request, bytes);
    }
}

bool SessionRequests::isHolding() const
{
    return parts->keyboard.isHolding() || parts->pointer.isHolding();
}

void SessionRequests::releaseHeld()
{
    parts->keyboard.releaseHeld();
    parts->pointer.releaseHeld();
}

QJsonObject SessionRequests::greeting() const
{
    const platform::DesktopInput::Abilities input = services.input.abilities();
    const std::array<std::pair<QLatin1StringView, bool>, 9> abilities = {{
        {"key"_L1, input.keys},
        {"text"_L1, input.text},
        {"text.any"_L1, input.anyText},
        {"pointer"_L1, input.pointer},
        {"scroll"_L1, input.scroll},
        {"scroll.fine"_L1, input.fineScroll},
        {"drag"_L1, input.drag},
        {"clipboard.get"_L1, services.clipboard.isReadable()},
        {"clipboard.watch"_L1, services.clipboard.isWatchable()},
    }};
    QJsonArray can;
    for (const auto &[name, isThere] : abilities) {
        if (isThere) {
            can.append(name);
        }
    }
    return {{u"event"_s, u"hello"_s},
            {u"protocol"_s, 1},
            {u"server"_s, u"VornaServer"_s},
            {u"version"_s, QCoreApplication::applicationVersion()},
            {u"name"_s, services.serverName()},
            {u"port"_s, services.serverPort()},
            {u"can"_s, can}};
}

void SessionRequests::key(const SessionRequest &request, const SessionAnswer &answer)
{
    parts->keyboard.key(request, answer);
}

void SessionRequests::text(const SessionRequest &request, const SessionAnswer &answer)
{
    parts->keyboard.text(request, answer);
}

void SessionRequests::move(const SessionRequest &request, const SessionAnswer &answer)
{
    answer(parts->pointer.move(request));
}

void SessionRequests::moveTo(const SessionRequest &request, const SessionAnswer &answer)
{
    answer(parts->pointer.moveTo(request));
}

void SessionRequests::button(const SessionRequest &request, const SessionAnswer &answer)
{
    answer(parts->pointer.button(request));
}

void SessionRequests::scroll(const SessionRequest &request, const SessionAnswer &answer)
{
    answer(parts->pointer.scroll(request));
}

void SessionRequests::setClipboard(const SessionRequest &request, const SessionAnswer &answer)
{
    parts->clipboard.set(request, answer);
}

void SessionRequests::getClipboard(const SessionRequest &request, const SessionAnswer &answer)
{
    parts->clipboard.get(request, answer);
}

void SessionRequests::watchClipboard(const SessionRequest &request, const SessionAnswer &answer)
{
    parts->clipboard.watch(request, answer);
}

void SessionRequests::open(const SessionRequest &request, const SessionAnswer &answer)
{
    SessionFields fields(request.fields);
    const bool isAddress = fields.has("address"_L1);
    if (isAddress == fields.has("application"_L1)) {
        fields.refuse(u"Either \"address\" or \"application\" is needed."_s);
    }
    const QString name =
        fields.text(isAddress ? "address"_L1 : "application"_L1, 1, longestAddress);
    if (!fields.isGood()) {
        answer(fields.reply());
    } else if (isAddress) {
        answer(services.open(name));
    } else if (!services.applications().contains(name)) {
        answer(SessionReply::refused(
            u"not-found"_s, u"There is no application \"%1\"."_s.arg(SessionJson::shown(name))));
    } else {
        answer(services.startApplication(name));
    }
}

void SessionRequests::applications(const SessionRequest & /*request*/, const SessionAnswer &answer)
{
    const QJsonArray names = QJsonArray::fromStringList(services.applications());
    answer(SessionReply::done({{u"applications"_s, names}}));
}

void SessionRequests::putFile(const SessionRequest &request, const SessionAnswer &answer)
{
    parts->files.put(request, answer);
}

void SessionRequests::cancelFile(const SessionRequest &request, const SessionAnswer &answer)
{
    parts->files.cancel(request, answer);
}

void SessionRequests::listFiles(const SessionRequest &request, const SessionAnswer &answer)
{
    parts->files.list(request, answer);
}

void SessionRequests::getFile(const SessionRequest &request, const SessionAnswer &answer)
{
    parts->files.get(request, answer);
}

void SessionRequests::listScreens(const SessionRequest &request, const SessionAnswer &answer)
{
    parts->screens.list(request, answer);
}

void SessionRequests::watchScreens(const SessionRequest &request, const SessionAnswer &answer)
{
    parts->screens.watch(request, answer);
}

void SessionRequests::pair(const SessionRequest &request, const SessionAnswer &answer)
{
    SessionFields fields(request.fields);
    const QString name = fields.text("name"_L1, 0, longestName);
    const QString device = fields.text("device"_L1, 1, longestDevice);
    if (!fields.isGood()) {
        answer(fields.reply());
        return;
    }
    services.decidePairing(device, name, [self = QPointer(this), name, answer](bool isAccepted) {
        if (!self.isNull()) {
            self->paired(isAccepted, name, answer);
        }
    });
}

void SessionRequests::paired(bool isAccepted, const QString &name, const SessionAnswer &answer)
{
    isForDevice = true;
    isRefused = !isAccepted;
    if (isRefused) {
        begin();
        answer(SessionReply::refused(u"refused"_s, u"The user has refused this device."_s));
        return;
    }
    const QString shownName = SessionJson::shown(name);
    if (!shownName.isEmpty()) {
        deviceName = shownName;
    }
    becomeConnected();
    answer(SessionReply::done());
}

void SessionRequests::becomeConnected()
{
    if (!std::exchange(isConnected, true)) {
        services.deviceConnected(deviceName);
    }
}

void SessionRequests::listen(const SessionRequest &request, const SessionAnswer &answer)
{
    SessionFields fields(request.fields);
    std::optional<QString> address;
    if (fields.has("address"_L1)) {
        address = fields.text("address"_L1, 0, longestListenAddress);
    }
    if (!fields.isGood()) {
        answer(fields.reply());
    } else if (isForDevice) {
        answer(SessionReply::refused(u"refused"_s,
                                     u"A device does not decide who reaches this computer."_s));
    } else {
        answer(services.listen(address));
    }
}

void SessionRequests::ping(const SessionRequest & /*request*/, const SessionAnswer &answer)
{
    answer(SessionReply::done());
}
