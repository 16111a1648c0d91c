// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "adapters/PortalScene.h"
#include "platform/linux/portal/PortalClipboard.h"
#include "platform/linux/portal/PortalEventServices.h"

#include <QCryptographicHash>
#include <QTest>

using namespace platform;
using namespace std::chrono_literals;

using Role = PortalScene::Role;
using State = RemoteDesktopPortal::State;

/// The clipboard of the portal's session, and input by the same session. What the portal and other
/// programs do says the test.
struct PortalClipboardScene
{
    /// How the portal writes down that we have put a text there.
    static inline const QString ourTypes =
        u"set text/plain;charset=utf-8 text/plain UTF8_STRING STRING TEXT"_s;

    std::unique_ptr<PortalScene> scene;
    std::shared_ptr<RemoteDesktopPortal> portal;
    std::unique_ptr<PortalClipboard> clipboard;
    std::unique_ptr<PortalEventServices> services;
    int changes = 0;

    void begin(Role role = Role::PortalWithClipboard)
    {
        scene = std::make_unique<PortalScene>(role);
        QVERIFY(scene->isReady());
        portal = std::make_shared<RemoteDesktopPortal>(scene->connection(),
                                                       RestoreToken(scene->tokenFile()));
        portal->shortestPause = 100ms;
        clipboard = std::make_unique<PortalClipboard>(portal);
        services = makeServices(clipboard.get());
    }
    std::unique_ptr<PortalEventServices> makeServices(Clipboard *lending) const
    {
        return std::make_unique<PortalEventServices>(portal, std::make_unique<TwoScreens>(),
                                                     PortalPointer::WheelStep::Notch, lending);
    }
    void end()
    {
        services.reset();
        clipboard.reset();
        portal.reset();
        scene.reset();
    }

    bool isAsked() { return scene->waitForLine(u"start"_s); }
    State state() { return portal->state(); }
    void consent()
    {
        QVERIFY(isAsked());
        QVERIFY(scene->command(u"answer 0"_s));
        QVERIFY(eventually([this] { return state() == State::Open; }));
        scene->forgetRecord();
    }
    void open()
    {
        begin();
        QCOMPARE(text(), std::nullopt);
        consent();
    }

    /// The next answer to a request; a failure of the test if there is none.
    std::optional<QString> text()
    {
        const auto answer = std::make_shared<std::optional<std::optional<QString>>>();
        clipboard->requestText([answer](const std::optional<QString> &given) { *answer = given; });
        QTest::qVerify(eventually([&] { return answer->has_value(); }), "is answered", "", __FILE__,
                       __LINE__);
        return answer->value_or(std::nullopt);
    }
    bool becomes(const std::optional<QString> &expected)
    {
        return waitUntil([&] { return text() == expected; });
    }
    /// Another program copies, and that has been announced.
    bool copy(const QByteArray &content, const QString &types = u"text/plain"_s)
    {
        const int before = changes;
        clipboard->watch([this] { ++changes; });
        return scene->command(u"text "_s + QString::fromLatin1(content.toHex())) &&
               scene->command(u"copy "_s + types) && eventually([&] { return changes > before; });
    }
    /// We copy, and that has been announced.
    bool set(const QString &ours)
    {
        const int before = changes;
        clipboard->watch([this] { ++changes; });
        clipboard->setText(ours);
        return eventually([&] { return changes > before; }) && scene->waitForLine(ourTypes);
    }
    /// Whether the program that pastes got that.
    bool isPasted(int number, const QByteArray &content)
    {
        const QByteArray hash = QCryptographicHash::hash(content, QCryptographicHash::Sha1).toHex();
        return scene->waitForLine(u"pasted %1 %2 %3"_s.arg(number)
                                      .arg(content.size())
                                      .arg(QString::fromLatin1(hash))) &&
               scene->waitForLine(u"write-done %1 1"_s.arg(number));
    }
};
