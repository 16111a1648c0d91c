// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "ServerBench.h"
#include "support/session/PhoneScene.h"

#include <QFileInfo>

/// A desktop with the server and quillmote-web, beside the least program that can do the like, and
/// a phone that has both their pages open. If anything is missing, it ends the program.
class PhoneBench
{
public:
    static inline const QString IsConnected = u"document.body.dataset.state === 'ready'"_s;

    PhoneBench(const QString &floorProgram, const QString &downloadFolder) : bench(downloadFolder)
    {
        ServerBench::require(phones.problem().isEmpty(), phones.problem());
        bench.start();
        phones.startWeb();
        startFloor(floorProgram, downloadFolder);
    }

    /// The page of quillmote-web, paired and connected.
    void openPage(PhonePage &page)
    {
        const QString address = phones.web().pairingAddress();
        ServerBench::require(!address.isEmpty(), "an address: " + phones.web().text());
        ServerBench::require(page.goTo(address) && page.await(IsConnected), "a connected page");
    }

    /// With a fragment that tells the bare page what to do otherwise.
    void openFloor(PhonePage &page, const QString &fragment = {})
    {
        const QString address =
            u"http://%1:%2/"_s.arg(phones.desk().address()).arg(floorPort) + fragment;
        ServerBench::require(page.goTo(address) && page.await(u"socket.readyState === 1"_s),
                             "the bare page");
    }

    QPointF touchpad(PhonePage &page) { return page.place(PageElement::of(u"#pad"_s)).center(); }
    /// Where files are chosen, once its view is open.
    static PageElement fileButton() { return PageElement::of(u"#view-exchange label.file"_s); }

    PhoneScene &scene() { return phones; }
    const DesktopSession &session() const { return bench.session(); }
    QString floorFile() const { return fileOfFloor; }

private:
    void startFloor(const QString &program, const QString &folder)
    {
        fileOfFloor = folder + u"/floor"_s;
        floor.setProcessEnvironment(session().environment());
        floor.setLastPreparation(phones.desk().entry());
        // Processes of a host begin in the root folder.
        floor.start(QFileInfo(program).absoluteFilePath(), {fileOfFloor});
        ServerBench::require(floor.waitForReadyRead(), "start of the bare program");
        floorPort = floor.readLine().trimmed().toInt();
    }

    ServerBench bench;
    PhoneScene phones{bench.session()};
    ChildProcess floor;
    QString fileOfFloor;
    int floorPort = 0;
};
