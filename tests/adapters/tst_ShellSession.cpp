// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The large desktops that tests of the whole server stand on.

#include "support/wayland/ShellSession.h"

#include "support/Folders.h"

#include <QTest>

using Shell = ShellSession::Shell;
Q_DECLARE_METATYPE(ShellSession::Shell)

class tst_ShellSession : public QObject
{
    Q_OBJECT

private slots:
    void everyProcessEndsWithIt_data();
    void everyProcessEndsWithIt();
    void gnomeShowsItsDesktop();
};

void tst_ShellSession::everyProcessEndsWithIt_data()
{
    QTest::addColumn<Shell>("shell");
    QTest::newRow("GNOME") << Shell::Gnome;
    QTest::newRow("Plasma") << Shell::Plasma;
}

void tst_ShellSession::everyProcessEndsWithIt()
{
    QFETCH(Shell, shell);
    auto session = std::make_unique<ShellSession>(shell);
    QCOMPARE(session->problem(), QByteArray());
    ChildProcess call;
    call.setProcessEnvironment(session->environment());
    call.start(u"gdbus"_s,
               {u"call"_s, u"--session"_s, u"--dest"_s, u"org.freedesktop.portal.Desktop"_s,
                u"--object-path"_s, u"/org/freedesktop/portal/desktop"_s, u"--method"_s,
                u"org.freedesktop.DBus.Properties.Get"_s, u"org.freedesktop.portal.RemoteDesktop"_s,
                u"AvailableDeviceTypes"_s});
    QVERIFY(call.waitForFinished());
    QVERIFY2(call.readAllStandardOutput().contains("uint32 "),
             call.readAllStandardError().constData());
    const QList<qint64> processes = session->processes();
    // The buses, the compositor, the portal and what is behind it.
    QVERIFY2(processes.size() >= 5, QByteArray::number(processes.size()).constData());
    session.reset();
    for (const qint64 id : processes) {
        // One that nobody has buried yet has no command any more.
        const QByteArray command = Folders::fileBytes(u"/proc/%1/cmdline"_s.arg(id));
        QVERIFY2(command.isEmpty(), command.constData());
    }
}

void tst_ShellSession::gnomeShowsItsDesktop()
{
    const ShellSession session(Shell::Gnome);
    QCOMPARE(session.problem(), QByteArray());
    QVERIFY(session.dismissOverview());
    QCOMPARE(session.evaluate(u"Main.overview.visible"_s), QByteArray("false"));
    QCOMPARE(session.picture().size(), ShellSession::OutputSize);
}

QTEST_GUILESS_MAIN(tst_ShellSession)
#include "tst_ShellSession.moc"
