// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/PhoneScene.h"

PhoneScene::PhoneScene(const UserSession &session) : surroundings(session)
{
    failure = hosts.problem();
    // So that the address is the one that the program offers first.
    if (failure.isEmpty() &&
        !desk().run(u"ip"_s, {u"route"_s, u"add"_s, u"default"_s, u"via"_s, pocket().address()})) {
        failure = "the desktop's host has no default route";
    }
}

QByteArray PhoneScene::problem() const
{
    QByteArray all = failure;
    for (const PhoneBrowser *browser : {ofPhone.get(), ofDesk.get()}) {
        all += browser == nullptr ? QByteArray() : browser->problem();
    }
    return all;
}

void PhoneScene::startWeb(const QStringList &furtherArguments)
{
    process = std::make_unique<WebProcess>(
        surroundings, QStringList{u"--no-open"_s} + furtherArguments, desk().entry());
}

PhoneBrowser &PhoneScene::phoneBrowser()
{
    if (!ofPhone) {
        ofPhone = std::make_unique<PhoneBrowser>(surroundings, pocket().entry());
    }
    return *ofPhone;
}

PhoneBrowser &PhoneScene::deskBrowser()
{
    if (!ofDesk) {
        ofDesk = std::make_unique<PhoneBrowser>(surroundings, desk().entry());
    }
    return *ofDesk;
}

QString PhoneScene::address() const
{
    return u"http://%1:%2/"_s.arg(desk().address()).arg(Port);
}

bool PhoneScene::setCable(bool isPlugged) const
{
    return pocket().run(u"ip"_s, {u"link"_s, u"set"_s, NetworkNamespaces::device(),
                                  isPlugged ? u"up"_s : u"down"_s});
}

/// A queue that is too short for any packet.
bool PhoneScene::losePackets() const
{
    return limitCable({u"8bit"_s, u"burst"_s, u"1"_s, u"latency"_s, u"1ms"_s});
}

bool PhoneScene::shapeCable(int megabitsPerSecond) const
{
    return limitCable(
        {u"%1mbit"_s.arg(megabitsPerSecond), u"burst"_s, u"64kb"_s, u"latency"_s, u"50ms"_s});
}

bool PhoneScene::limitCable(const QStringList &rate) const
{
    for (const NetworkHost *host : {&desk(), &pocket()}) {
        if (!host->run(u"tc"_s,
                       QStringList{u"qdisc"_s, u"replace"_s, u"dev"_s, NetworkNamespaces::device(),
                                   u"root"_s, u"tbf"_s, u"rate"_s} +
                           rate)) {
            return false;
        }
    }
    return true;
}
