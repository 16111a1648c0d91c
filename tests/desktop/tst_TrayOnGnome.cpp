// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The server's icon, menu, messages and dialogs on GNOME Shell with its extension for tray icons.

#include "support/protocol/Handheld.h"
#include "support/protocol/SessionClient.h"
#include "support/session/ServerProcess.h"
#include "support/session/StatusLight.h"
#include "support/wayland/ShellSession.h"
#include "support/wayland/WaylandWindow.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QTest>

#include <csignal>
#include <utility>

using namespace std::chrono_literals;

class tst_TrayOnGnome : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void lightIsShownAtOnce();
    void balloonsArrive();
    void menuEndsTheProgram();
    void preferencesComeToTheFront();
    void questionComesToTheFront();
    void entryForTheLogonStartsTheServer();

private:
    QJsonValue evaluate(const QString &expression) const;
    bool isTrue(const QString &expression) const;
    QString icon(const QString &question) const;
    bool hasIcon() const { return isTrue(u"!!%1"_s.arg(icon({}))); }
    bool showsLight(StatusLight light) const;
    bool choose(const QString &label);
    bool isInFront() const { return session->frontWindow(server->processId()).has_value(); }
    bool click(const QString &actor);
    QPoint middle(const QString &actor) const;
    void keep(const QString &name) const;

    std::unique_ptr<ShellSession> session;
    std::unique_ptr<ServerProcess> server;
};

void tst_TrayOnGnome::initTestCase()
{
    session = std::make_unique<ShellSession>(ShellSession::Shell::Gnome, ShellSession::Tray);
    QCOMPARE(session->problem(), QByteArray());
    QVERIFY(session->dismissOverview());
    QVERIFY(isTrue(u"(global.pointerOfTest = imports.gi.Clutter.get_default_backend()."
                   "get_default_seat().create_virtual_device("
                   "imports.gi.Clutter.InputDeviceType.POINTER_DEVICE)) != null"_s));
    QSettings(session->settingsFile(), QSettings::IniFormat).setValue(u"pairNeedsApproval"_s, true);
}

void tst_TrayOnGnome::cleanupTestCase()
{
    session.reset();
}

void tst_TrayOnGnome::init()
{
    QVERIFY(waitUntil([this] { return !hasIcon(); }));
    QVERIFY(session->evaluate(u"[...Main.messageTray.getSources()].forEach(s => s.destroy())"_s));
    server = std::make_unique<ServerProcess>(*session);
    QVERIFY(server->port() != 0);
    QVERIFY(waitUntil([this] { return hasIcon(); }));
}

void tst_TrayOnGnome::cleanup()
{
    keep(QString::fromUtf8(QTest::currentTestFunction()));
    QCOMPARE(server->problemAtEnd(), QByteArray());
}

/// For those who want to see what has been there.
void tst_TrayOnGnome::keep(const QString &name) const
{
    const QDir folder(qEnvironmentVariable("VORNA_SCREENSHOTS"));
    folder.mkpath(u"."_s);
    session->picture().save(folder.filePath(u"gnome_"_s + name + u".png"_s));
}

QJsonValue tst_TrayOnGnome::evaluate(const QString &expression) const
{
    const QByteArray answer = session->evaluate(u"[%1]"_s.arg(expression)).value_or("[]");
    return QJsonDocument::fromJson(answer).array().at(0);
}

bool tst_TrayOnGnome::isTrue(const QString &expression) const
{
    return evaluate(expression).toBool();
}

/// The expression for a part of the one icon in the panel.
QString tst_TrayOnGnome::icon(const QString &part) const
{
    return u"(Object.values(Main.panel.statusArea).filter(item => item && item.constructor.name "
           "== 'AppIndicatorsIndicatorStatusIcon')[0]%1)"_s.arg(part);
}

/// The place of the middle of an actor of the shell.
QPoint tst_TrayOnGnome::middle(const QString &actor) const
{
    const QJsonArray place = evaluate(u"(actor => [...actor.get_transformed_position(), "
                                      "...actor.get_transformed_size()])(%1)"_s.arg(actor))
                                 .toArray();
    return {static_cast<int>(place.at(0).toDouble() + place.at(2).toDouble() / 2),
            static_cast<int>(place.at(1).toDouble() + place.at(3).toDouble() / 2)};
}

bool tst_TrayOnGnome::showsLight(StatusLight light) const
{
    constexpr QSize Size(16, 16);
    return waitUntil(
        [&] {
            QRect place({}, Size);
            place.moveCenter(middle(icon(u"._icon"_s)));
            return lightIn(session->picture().copy(place)) == light;
        },
        5s);
}

/// Clicks an actor of the shell, once that stands still and knows that the pointer is there.
bool tst_TrayOnGnome::click(const QString &actor)
{
    QPoint place;
    const auto standsStill = [&] {
        const QPoint before = std::exchange(place, middle(actor));
        return !place.isNull() && place == before;
    };
    if (!waitUntil([&] { return isTrue(actor + u".mapped"_s) && standsStill(); }, GenerousLimit,
                   50ms)) {
        return false;
    }
    const auto notify = [this](const QString &event) {
        return session->evaluate(u"global.pointerOfTest."_s + event).has_value();
    };
    // Most actors know it themselves.
    const QString found =
        u"(actor => actor.hover !== false && actor.contains(global.stage.get_actor_at_pos(1, "
        "...global.get_pointer().slice(0, 2))))(%1)"_s.arg(actor);
    return notify(u"notify_absolute_motion(0, %1, %2)"_s.arg(place.x()).arg(place.y())) &&
           waitUntil([&] { return isTrue(found); }) && notify(u"notify_button(0, 1, 1)"_s) &&
           notify(u"notify_button(0, 1, 0)"_s);
}

/// Opens the icon's menu and clicks that item.
bool tst_TrayOnGnome::choose(const QString &label)
{
    const QString menu = icon(u".menu"_s);
    const QString item =
        menu +
        u"._getMenuItems().filter(item => item.label && item.label.text == '%1')[0]"_s.arg(label);
    return waitUntil([&] { return isTrue(u"!!"_s + item); }) && click(icon({})) && click(item) &&
           waitUntil([&] { return !isTrue(u"%1 && %2.isOpen"_s.arg(icon({}), menu)); });
}

void tst_TrayOnGnome::lightIsShownAtOnce()
{
    QVERIFY(showsLight(StatusLight::Orange));
    const Handheld handheld(server->port());
    QVERIFY(showsLight(StatusLight::Green));
}

void tst_TrayOnGnome::balloonsArrive()
{
    const QString messages = u"Main.messageTray.getSources().flatMap(source => "
                             "source.notifications.map(one => one.title + ': ' + "
                             "one.bannerBodyText))"_s;
    const auto isThere = [&](const QString &message) {
        return waitUntil([&] { return evaluate(messages).toArray().contains(message); });
    };
    QVERIFY(isThere(u"VornaServer: Server Started... "_s));
    Handheld handheld(server->port());
    QVERIFY(handheld.ask(textTransfer(u"a"_s)));
    QVERIFY(isThere(u"VornaServer: You have text in clipboard... "_s));
    QVERIFY(showsLight(StatusLight::Green));
}

void tst_TrayOnGnome::menuEndsTheProgram()
{
    QVERIFY(choose(u"Quit"_s));
    QCOMPARE(server->waitForEnd(), std::optional(0));
    QVERIFY(waitUntil([this] { return !hasIcon(); }));
}

void tst_TrayOnGnome::preferencesComeToTheFront()
{
    QVERIFY(choose(u"Preferences..."_s));
    QVERIFY(waitUntil([this] { return isInFront(); }));
}

/// Also while the user is at work in another program.
void tst_TrayOnGnome::questionComesToTheFront()
{
    QVERIFY(choose(u"Preferences..."_s));
    QVERIFY(waitUntil([this] { return isInFront(); }));
    // The server learns from their close that the user is to be asked.
    QVERIFY(session->evaluate(u"global.display.focus_window.delete(0)"_s));
    QVERIFY(waitUntil([this] { return !isInFront(); }));
    WaylandWindow other(session->displayPath(), true);
    QVERIFY(waitUntil([&] { return other.isShown(); }));
    QVERIFY(click(u"global.display.focus_window.get_compositor_private()"_s));
    QVERIFY(waitUntil([&] { return !other.buttons().empty(); }));
    Handheld handheld(server->port());
    QVERIFY(handheld.send(pairing(u"device"_s)));
    QVERIFY(waitUntil([this] { return isInFront(); }));
    keep(u"question"_s);
    QVERIFY(!handheld.hasUnreadAnswer());
    QVERIFY(session->evaluate(u"global.display.focus_window.delete(0)"_s));
    QCOMPARE(response(handheld.answer()), u"ERROR"_s);
}

/// gnome-session, which reads such entries, is not there; dex starts them in its place.
void tst_TrayOnGnome::entryForTheLogonStartsTheServer()
{
    QCOMPARE(server->end(), std::optional(0));
    QVERIFY(waitUntil([this] { return !hasIcon(); }));
    ChildProcess dex;
    auto environment = session->environment();
    // Only the user's own entries, and nothing that tells the toolkit what to use.
    environment.insert(u"XDG_CONFIG_DIRS"_s, session->path(u"none"_s));
    environment.remove(u"QT_QPA_PLATFORM"_s);
    dex.setProcessEnvironment(environment);
    dex.start(u"dex"_s, {u"--autostart"_s, u"--environment"_s, u"GNOME"_s});
    QVERIFY(dex.waitForFinished());
    QVERIFY(waitUntil([this] { return hasIcon(); }));
    QVERIFY(showsLight(StatusLight::Orange));
    const qint64 started =
        evaluate(icon(u"._indicator._proxy.get_connection().call_sync('org."
                      "freedesktop.DBus', '/', 'org.freedesktop.DBus', "
                      "'GetConnectionUnixProcessID', new imports.gi.GLib."
                      "Variant('(s)', [%1]), null, 0, -1, null).deepUnpack()[0]"_s.arg(
                          icon(u"._indicator.busName"_s))))
            .toInteger();
    QVERIFY(started > 0);
    ::kill(static_cast<pid_t>(started), SIGTERM);
    QVERIFY(waitUntil([this] { return !hasIcon(); }));
}

QTEST_GUILESS_MAIN(tst_TrayOnGnome)
#include "tst_TrayOnGnome.moc"
