// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What each command does.

#include "interaction/InteractionManager.h"
#include "messages/Messages.h"
#include "net/ClientHandler.h"
#include "server/Server.h"

#include <array>

using namespace Qt::StringLiterals;

namespace {

QString text(const ClientHandler &client, const QString &key)
{
    return client.token.value(key).toString();
}

QString functionCommand(const ClientHandler &client)
{
    return text(client, u"fncCommand"_s);
}

QStringList parameters(const ClientHandler &client)
{
    return client.token.value(u"cmdParameters"_s).toStringList();
}

void setParameters(ClientHandler &client, const QStringList &values)
{
    client.token.insert(u"cmdParameters"_s, values);
}

/// By design: a mark of the byte order at the beginning is not sent. In Latin-1 it would be "?".
QString withoutMark(const QString &text)
{
    return text.startsWith(QChar::ByteOrderMark) ? text.sliced(1) : text;
}

} // namespace

struct Server::Command
{
    QLatin1StringView name;
    void (Server::*serve)(ClientHandler &client);
};

void Server::serveClient()
{
    static constexpr std::array commands = {
        Command{"SERVER_PAIR"_L1, &Server::servePairing},
        Command{"URL_OPEN"_L1, &Server::serveUrl},
        Command{"TEXT_TRANSFER_AND_OPEN"_L1, &Server::serveText},
        Command{"SERVER_CLIPBOARD_REQUEST"_L1, &Server::serveClipboardRequest},
        Command{"FILE_TRANSFER_AND_OPEN"_L1, &Server::serveFile},
        Command{"SERVER_INFO"_L1, &Server::serveServerInfo},
        Command{"KEYBOARD_CMD"_L1, &Server::serveKeyboard},
        Command{"APPLICATION_CMD"_L1, &Server::serveApplication},
        Command{"MOUSE_CMD"_L1, &Server::serveMouse},
    };
    auto *client = static_cast<ClientHandler *>(sender());
    const QString name = text(*client, u"cmdType"_s);
    for (const Command &command : commands) {
        if (name == command.name) {
            (this->*command.serve)(*client);
            return;
        }
    }
}

/// An answer goes into the connection's own map, so it contains the request and all that earlier
/// messages have left there.
void Server::answer(ClientHandler &client, const QString &response)
{
    client.token.insert(u"serverResponse"_s, response);
    client.sendToken();
}

void Server::servePairing(ClientHandler &client)
{
    const QStringList request = parameters(client);
    client.deviceName = request.value(1);
    // The device may disconnect while the user is asked.
    pairing.decideInTime(
        {request.value(0), request.value(1), [present = QPointer(&client)](bool isAccepted) {
             Messages::warning({isAccepted ? u"Device Connected"_s : u"Device Rejected !!"_s});
             if (!present.isNull()) {
                 answer(*present, isAccepted ? u"OK"_s : u"ERROR"_s);
             }
         }});
}

void Server::serveUrl(ClientHandler &client)
{
    const QString url = functionCommand(client);
    Messages::warning({u"Opening URL: "_s, QString::fromLatin1(url.toLatin1())});
    opener.open(url);
    answer(client, u"OK"_s);
}

void Server::serveText(ClientHandler &client)
{
    clipboard->setText(functionCommand(client));
    Messages::warning({u"You have text in clipboard..."_s});
    client.token.insert(u"fncCommand"_s, QString());
    answer(client, u"OK"_s);
}

void Server::serveClipboardRequest(ClientHandler &client)
{
    // The text may arrive later, and the device may be gone by then. A command in between would
    // change the map that the answer is made from.
    client.pauseReading();
    clipboard->requestText(
        [this, present = QPointer(&client)](const std::optional<QString> &found) {
            if (present.isNull()) {
                return;
            }
            const bool isText = found && found->size() <= platform::maximumClipboardText;
            if (isText) {
                const std::shared_ptr<const SharedText> text = shared(withoutMark(*found));
                present->holdText(text);
                setParameters(*present, {text->content});
            }
            answer(*present, isText ? u"OK"_s : u"ERROR"_s);
            present->resumeReading();
        });
}

/// Keeps the same text in memory only once, however many connections have asked for it.
std::shared_ptr<const SharedText> Server::shared(const QString &text)
{
    std::shared_ptr<const SharedText> latest = latestText.lock();
    const bool isFoundSame = !text.isEmpty() && foundText.constData() == text.constData();
    if (!latest || !(isFoundSame || latest->content == text)) {
        latest = std::make_shared<const SharedText>(resources.memory, text);
        latestText = latest;
    }
    if (!isFoundSame) {
        // Comparing a long text takes milliseconds, and all waiting connections get this one now.
        foundText = text;
        QMetaObject::invokeMethod(
            this, [this] { foundText = QString(); }, Qt::QueuedConnection);
    }
    return latest;
}

void Server::serveFile(ClientHandler &client)
{
    const QStringList request = parameters(client);
    const QString fileName = request.value(0);
    const quint64 size = request.value(1).toULongLong();
    Messages::warning(
        {tr("Received request to save file: "), fileName, tr(" of size "), QString::number(size)});
    // Before the answer: the peer sends the file as soon as it has received that.
    client.setFileToTransfer(fileName, size);
    Messages::debug({Messages::quoted(tr("Asked the client to start the file transfer..."))});
    answer(client, u"START_BINARY_TRANSFER"_s);
}

void Server::serveServerInfo(ClientHandler &client)
{
    const QSize size = screens->desktopSize();
    // By design: the height comes first, and the platform's name is the same on every system.
    setParameters(client,
                  {QString::number(size.height()), QString::number(size.width()), u"MAC-OSX"_s});
    answer(client, u"OK"_s);
}

void Server::serveKeyboard(ClientHandler &client)
{
    interactionManager->keyboardTapKeyEvent(functionCommand(client));
}

/// By design: a known command without effect.
void Server::serveApplication(ClientHandler &) {}

/// By design: anything that is not a number reads as 0, so a command without a valid code clicks.
void Server::serveMouse(ClientHandler &client)
{
    switch (functionCommand(client).toInt()) {
    case 0:
    case 3:
        interactionManager->leftMouseButtonTapped();
        break;
    case 1:
        interactionManager->rightMouseButtonTapped();
        break;
    case 2:
        interactionManager->centerMouseButtonTapped();
        break;
    case 4:
        movePointer(client);
        break;
    default:
        break;
    }
}

void Server::movePointer(const ClientHandler &client)
{
    const QStringList offset = parameters(client);
    if (offset.size() != 2) {
        return;
    }
    try {
        interactionManager->moveMouseWithOffset(offset[0].toInt(), offset[1].toInt());
    } catch (...) {
        Messages::debug({u"Bad parameters array..."_s});
    }
}
