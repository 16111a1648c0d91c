// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The compositor that the tests of Wayland stand on.

#include "support/wayland/SwaySession.h"

#include "support/Waiting.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QTest>

#include <csignal>

class tst_SwaySession : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void hasOneOutput();
    void refusesWhatIsNoCommand();
    void comesBackUnderItsName();
    void comesBackAfterACrash();
    void programsFindTheDisplay();

private:
    std::unique_ptr<SwaySession> session;
};

void tst_SwaySession::init()
{
    session = std::make_unique<SwaySession>();
    QCOMPARE(session->problem(), QByteArray());
}

void tst_SwaySession::hasOneOutput()
{
    const QJsonArray outputs = session->ask(SwaySession::Question::Outputs).array();
    QCOMPARE(outputs.size(), 1);
    const QJsonObject place = outputs.at(0).toObject().value(u"rect"_s).toObject();
    QCOMPARE(QSize(place.value(u"width"_s).toInt(), place.value(u"height"_s).toInt()),
             SwaySession::OutputSize);
}

void tst_SwaySession::refusesWhatIsNoCommand()
{
    QVERIFY(session->command(u"workspace two"_s));
    QVERIFY(!session->command(u"fly"_s));
}

void tst_SwaySession::comesBackUnderItsName()
{
    const QString name = session->display();
    QVERIFY(!name.isEmpty());
    session->end();
    QVERIFY(!session->isRunning());
    QVERIFY(session->restart());
    QCOMPARE(session->display(), name);
    QVERIFY(session->command(u"workspace two"_s));
}

void tst_SwaySession::comesBackAfterACrash()
{
    ::kill(static_cast<pid_t>(session->processId()), SIGKILL);
    QVERIFY(waitUntil([this] { return !session->isRunning(); }));
    QVERIFY(session->restart());
    QVERIFY(session->command(u"workspace two"_s));
}

void tst_SwaySession::programsFindTheDisplay()
{
    ChildProcess program;
    program.setProcessEnvironment(session->environment());
    program.start(u"wl-copy"_s, {u"found"_s});
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitCode(), 0);
}

QTEST_GUILESS_MAIN(tst_SwaySession)
#include "tst_SwaySession.moc"
