// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/Reception.h"

#include "web/program/Farewell.h"

#include <QTimer>

#include <algorithm>
#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillmote {

using namespace std::chrono_literals;

struct Reception::Stranger
{
    std::unique_ptr<QWebSocket> socket;
    QHostAddress address;
    Computers::Share computer;
    bool isLocal = false;
    bool hasSpoken = false;
    QTimer *limit =
        nullptr; // until it must have spoken, or until it is told that its secret is wrong
};

Reception::Reception(const WebStore &phones, const PairingCodes &pairingCodes, QByteArray desk)
    : store(phones)
    , codes(pairingCodes)
    , deskSecret(std::move(desk))
{
}

Reception::~Reception()
{
    while (!strangers.empty()) {
        dismiss(strangers.front(), CloseCode::GoingAway);
    }
}

void Reception::receive(std::unique_ptr<QWebSocket> socket, bool isLocal)
{
    if (strangers.size() >= mostStrangers) {
        const auto leaving = Computers::whoGivesWay(
            strangers.begin(), strangers.end(),
            [](const auto &stranger) -> const auto & { return stranger->computer; });
        dismiss(*leaving, CloseCode::TooMany);
    }
    auto stranger = std::make_shared<Stranger>();
    stranger->socket = std::move(socket);
    stranger->address = stranger->socket->peerAddress();
    stranger->computer = computers.shareOf(stranger->address);
    stranger->isLocal = isLocal;
    stranger->limit = new QTimer(this);
    stranger->limit->setSingleShot(true);
    stranger->limit->setTimerType(Qt::PreciseTimer); // who is wrong waits no less than it should
    strangers.push_back(stranger);
    const std::weak_ptr<Stranger> known = stranger;
    const QWebSocket *peer = stranger->socket.get();
    connect(peer, &QWebSocket::binaryMessageReceived, this, [this, known](const QByteArray &first) {
        if (const auto speaker = known.lock()) {
            hear(speaker, first);
        }
    });
    connect(peer, &QWebSocket::textMessageReceived, this, [this, known] {
        if (const auto speaker = known.lock()) {
            fail(speaker, CloseCode::BrokenMessage);
        }
    });
    connect(peer, &QWebSocket::disconnected, this, [this, known] {
        if (const auto speaker = known.lock()) {
            forget(speaker);
        }
    });
    connect(stranger->limit, &QTimer::timeout, this, [this, known] {
        if (const auto speaker = known.lock()) {
            dismiss(speaker, CloseCode::BrokenMessage);
        }
    });
    stranger->limit->start(timeToShow);
}

void Reception::hear(const std::shared_ptr<Stranger> &stranger, const QByteArray &first)
{
    if (std::exchange(stranger->hasSpoken, true)) {
        return;
    }
    const auto introduction = readIntroduction(first);
    // Other users of this computer have the same address: they must not shut out the desktop's
    // page.
    const bool isDesk =
        introduction && introduction->credential == Credential::Desk && stranger->isLocal;
    if (isDesk && letIn(stranger, first, deskSecret, {nullptr, Credential::Desk, {}, {}})) {
        return;
    }
    const auto wait = guard.shutOut(stranger->address, AttemptGuard::Clock::now());
    if (wait > 0s) {
        dismiss(stranger, CloseCode::ShutOut, QString::number(wait.count()));
        return;
    }
    if (!introduction) {
        fail(stranger, CloseCode::BrokenMessage);
    } else if (!letInPhone(*introduction, stranger, first)) {
        fail(stranger, CloseCode::UnknownSecret);
    }
}

bool Reception::letInPhone(const Introduction &introduction,
                           const std::shared_ptr<Stranger> &stranger, const QByteArray &first)
{
    if (introduction.credential == Credential::Phone) {
        const KnownPhone *phone = store.find(introduction.id);
        return phone &&
               letIn(stranger, first, phone->secret, {nullptr, Credential::Phone, phone->id, {}});
    }
    const std::vector<OneTimeCode> valid =
        introduction.credential == Credential::Code ? codes.valid() : std::vector<OneTimeCode>();
    return std::any_of(valid.begin(), valid.end(), [&](const OneTimeCode &code) {
        return letIn(stranger, first, code.secret(), {nullptr, Credential::Code, {}, code});
    });
}

bool Reception::letIn(const std::shared_ptr<Stranger> &stranger, const QByteArray &first,
                      const QByteArray &secret, Guest guest)
{
    auto accepted = acceptHandshake(first, secret, greeting);
    if (!accepted) {
        return false;
    }
    stranger->limit->stop();
    std::unique_ptr<QWebSocket> socket = std::move(stranger->socket);
    socket->disconnect(this);
    forget(stranger);
    socket->sendBinaryMessage(accepted->answer);
    guest.socket = std::make_unique<SecureSocket>(std::move(socket), std::move(accepted->channel));
    onGuest(std::move(guest));
    return true;
}

/// The answer comes late for whoever was wrong before.
void Reception::fail(const std::shared_ptr<Stranger> &stranger, CloseCode code)
{
    stranger->hasSpoken = true;
    const auto delay = guard.addWrong(stranger->address, AttemptGuard::Clock::now());
    if (delay <= 0ms) {
        dismiss(stranger, code);
        return;
    }
    const std::weak_ptr<Stranger> known = stranger;
    stranger->limit->disconnect(this);
    connect(stranger->limit, &QTimer::timeout, this, [this, known, code] {
        if (const auto speaker = known.lock()) {
            dismiss(speaker, code);
        }
    });
    stranger->limit->start(delay);
}

void Reception::dismiss(const std::shared_ptr<Stranger> &stranger, CloseCode code,
                        const QString &reason)
{
    stranger->socket->disconnect(this);
    stranger->socket->close(static_cast<QWebSocketProtocol::CloseCode>(code), reason);
    forget(stranger);
}

void Reception::forget(const std::shared_ptr<Stranger> &stranger)
{
    const auto found = std::find(strangers.begin(), strangers.end(), stranger);
    if (found == strangers.end()) {
        return;
    }
    const std::shared_ptr<Stranger> leaving = std::move(*found); // the list may hold the last one
    strangers.erase(found);
    leaving->limit->disconnect(this);
    leaving->limit->stop();
    leaving->limit->deleteLater();
    if (leaving->socket) {
        leaving->socket->disconnect(this);
        farewell(std::move(leaving->socket));
    }
}

} // namespace quillmote
