// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/Desk.h"

#include "web/program/ServerProgram.h"
#include "web/program/SessionEntry.h"

#include <QJsonArray>
#include <QPointer>
#include <QSysInfo>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillmote {

Desk::Desk(const WebStore &webStore, PairingCodes &codes, const PageAddress &pageAddress,
           PhoneRoom &phoneRoom, ServerWatch &serverWatch)
    : store(webStore)
    , page(pageAddress)
    , phones(phoneRoom)
    , server(serverWatch)
    , invitation(codes, pageAddress)
{
    connect(&codes, &PairingCodes::changed, this, &Desk::update);
    connect(&phones, &PhoneRoom::changed, this, &Desk::update);
    connect(&server, &ServerWatch::changed, this, [this] {
        startProblem.clear();
        update();
    });
}

Desk::~Desk()
{
    for (const auto &window : windows) {
        window->disconnect(this);
    }
}

void Desk::admit(std::unique_ptr<SecureSocket> window)
{
    if (windows.size() >= mostWindows) {
        windows.front()->close(CloseCode::TooMany);
        drop(windows.front().get());
    }
    SecureSocket *opened = window.get();
    windows.push_back(std::move(window));
    connect(opened, &SecureSocket::received, this,
            [this, opened](const WireText &text) { serve(opened, text); });
    connect(opened, &SecureSocket::ended, this, [this, opened] { drop(opened); });
    opened->send(state());
}

void Desk::drop(SecureSocket *window)
{
    const auto found = std::find_if(windows.begin(), windows.end(),
                                    [window](const auto &owned) { return owned.get() == window; });
    if (found != windows.end()) {
        window->disconnect(this);
        found->release()->deleteLater(); // it may be emitting a signal
        windows.erase(found);
    }
    if (windows.empty()) {
        invitation.cancel(); // nobody sees it any more
    }
}

void Desk::update()
{
    if (std::exchange(isUpdateDue, true)) {
        return;
    }
    QMetaObject::invokeMethod(
        this,
        [this] {
            isUpdateDue = false;
            if (windows.empty()) {
                return; // the state takes files and a QR code to tell
            }
            const QJsonObject told = state();
            for (const auto &window : windows) {
                window->send(told);
            }
        },
        Qt::QueuedConnection);
}

void Desk::serve(SecureSocket *window, const WireText &text)
{
    const QJsonValue id = text.object.value("id"_L1);
    const QPointer<SecureSocket> asker(window);
    carryOut(text.object.value("request"_L1).toString(), text.object,
             [asker, id](const QString &problem) {
                 if (!asker) {
                     return;
                 }
                 QJsonObject answer{{u"id"_s, id}};
                 if (problem.isEmpty()) {
                     answer.insert(u"ok"_s, true);
                 } else {
                     answer.insert(u"error"_s, u"failed"_s);
                     answer.insert(u"message"_s, problem);
                 }
                 asker->send(answer);
             });
}

void Desk::carryOut(const QString &request, const QJsonObject &fields, const Done &done)
{
    if (request == "hello"_L1 || request == "ping"_L1) {
        done({});
    } else if (request == "code"_L1) {
        renewCode(fields, done);
    } else if (request == "code.cancel"_L1) {
        invitation.cancel();
        done({});
    } else if (request == "remove"_L1) {
        phones.remove(QByteArray::fromHex(fields.value("phone"_L1).toString().toLatin1()));
        done(store.problem());
    } else if (request == "startWithSession"_L1) {
        done(SessionEntry::set(fields.value("on"_L1).toBool()));
        update();
    } else if (request == "startServer"_L1) {
        startProblem = ServerProgram::start();
        done(startProblem);
        update();
    } else if (request == "listen"_L1) {
        server.listenAt(fields.value("address"_L1).toString(), done);
    } else if (request == "quit"_L1) {
        done({});
        onQuit();
    } else {
        done(u"The page asks for something unknown."_s);
    }
}

void Desk::renewCode(const QJsonObject &fields, const Done &done)
{
    const QString wanted = fields.value("address"_L1).toString();
    if (!wanted.isEmpty()) {
        invitation.setAddress(QHostAddress(wanted));
    }
    invitation.renew();
    done({});
    update();
}

QJsonObject Desk::state() const
{
    return {{u"event"_s, u"state"_s},        {u"computer"_s, QSysInfo::machineHostName()},
            {u"server"_s, serverState()},    {u"phones"_s, phoneList()},
            {u"addresses"_s, addressList()}, {u"address"_s, invitation.address().toString()},
            {u"code"_s, codeShown()},        {u"startsWithSession"_s, SessionEntry::exists()},
            {u"problem"_s, store.problem()}, {u"https"_s, !page.certifiedName.isEmpty()}};
}

QJsonObject Desk::serverState() const
{
    const QString problem = startProblem.isEmpty() ? server.problem() : startProblem;
    const QString address = server.listenAddress();
    return {{u"state"_s, server.isRunning() ? u"ready"_s : u"missing"_s},
            {u"name"_s, server.name()},
            {u"listenAddress"_s, address.isNull() ? QJsonValue() : QJsonValue(address)},
            {u"canStart"_s, !ServerProgram::find().isEmpty()},
            {u"problem"_s, problem}};
}

QJsonArray Desk::phoneList() const
{
    QJsonArray list;
    for (const KnownPhone &phone : store.phones()) {
        list.append(QJsonObject{{u"id"_s, QString::fromLatin1(phone.id.toHex())},
                                {u"name"_s, phone.name},
                                {u"connected"_s, phones.isConnected(phone.id)},
                                {u"address"_s, phones.addressOf(phone.id).toString()},
                                {u"lastSeen"_s, phone.lastSeen.toMSecsSinceEpoch()},
                                {u"added"_s, phone.added.toMSecsSinceEpoch()}});
    }
    return list;
}

QJsonArray Desk::addressList() const
{
    QJsonArray list;
    for (const OfferedAddress &offered : page.offered()) {
        list.append(QJsonObject{{u"address"_s, offered.address.toString()},
                                {u"url"_s, page.url(offered.address)},
                                {u"isDefault"_s, offered.isDefault}});
    }
    return list;
}

QJsonValue Desk::codeShown() const
{
    const auto shown = invitation.shown();
    if (!shown) {
        return {};
    }
    return QJsonObject{{u"text"_s, shown->text},
                       {u"url"_s, shown->url},
                       {u"expires"_s, static_cast<qint64>(shown->timeLeft.count())},
                       {u"rows"_s, QJsonArray::fromStringList(shown->rows)}};
}

} // namespace quillmote
