// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Folders.h"
#include "support/RecordingOpener.h"
#include "support/ServerScene.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

namespace {

QByteArray urlCommand(const QString &url)
{
    return commandText(QStringLiteral("URL_OPEN"), {{QStringLiteral("fncCommand"), url}});
}

} // namespace

/// Addresses are opened with the program that the user's desktop has for them.
class tst_UrlOpening : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void addressIsOpened_data();
    void addressIsOpened();
    void fileIsOpened();
    void addressesAreOpenedInTheirOrder();
    void emptyAddressIsAnsweredOk();
    void addressThatNothingOpensIsAnsweredOk_data();
    void addressThatNothingOpensIsAnsweredOk();
    void optionsNeverReachTheOpener();
    void floodOfAddressesStartsFewPrograms();
    void openerMayRunOn();
    void isAnsweredWithoutAnyOpener();

private:
    bool restartWithOwnOpener();
    QStringList handedOver() const;
    bool hasOpened(const QStringList &expected) const;

    std::unique_ptr<ServerScene> m_scene;
    std::unique_ptr<RecordingOpener> m_opener;
};

void tst_UrlOpening::init()
{
    m_scene = std::make_unique<ServerScene>();
    QCOMPARE(m_scene->session().problem(), QByteArray());
    m_opener = std::make_unique<RecordingOpener>(m_scene->session());
    QVERIFY(m_scene->start());
}

void tst_UrlOpening::cleanup()
{
    QCOMPARE(m_scene->problemAtEnd(), QByteArray());
    m_scene.reset();
}

/// Waits until the opener was given these, and tells what it was given otherwise.
bool tst_UrlOpening::hasOpened(const QStringList &expected) const
{
    if (waitUntil([&] { return m_opener->opened() == expected; }))
        return true;
    qWarning() << "opened instead:" << m_opener->opened();
    return false;
}

void tst_UrlOpening::addressIsOpened_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("opened");
    QTest::newRow("http") << "http://example.org/"
                          << "http://example.org/";
    QTest::newRow("https with a question") << "https://example.org/find?what=a&how=b#there"
                                           << "https://example.org/find?what=a&how=b#there";
    QTest::newRow("with a blank") << "http://example.org/a b"
                                  << "http://example.org/a%20b";
    QTest::newRow("with a command in it") << "http://example.org/$(touch owned)`id`&ls"
                                          << "http://example.org/$(touch%20owned)%60id%60&ls";
}

void tst_UrlOpening::addressIsOpened()
{
    QFETCH(QString, url);
    QFETCH(QString, opened);
    Handheld handheld(m_scene->port());
    QCOMPARE(handheld.ask(urlCommand(url)),
             std::optional(QVariantMap{
                 {"cmdType", "URL_OPEN"}, {"fncCommand", url}, {"serverResponse", "OK"}}));
    QVERIFY(hasOpened({opened}));
    QVERIFY(!QFile::exists(m_scene->session().home() + QStringLiteral("/owned")));
}

void tst_UrlOpening::fileIsOpened()
{
    const QString path = m_scene->session().home() + QStringLiteral("/letter to Ann.txt");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write("Dear Ann\n") > 0);
    file.close();
    Handheld handheld(m_scene->port());
    const auto answer = handheld.ask(urlCommand(QStringLiteral("file://") + path));
    QVERIFY(answer);
    QCOMPARE(answer->value("serverResponse").toString(), QStringLiteral("OK"));
    QVERIFY(hasOpened({path}));
}

void tst_UrlOpening::addressesAreOpenedInTheirOrder()
{
    Handheld handheld(m_scene->port());
    QStringList urls;
    for (int i = 0; i < 3; ++i) {
        urls.append(QStringLiteral("http://example.org/%1").arg(i));
        QVERIFY(handheld.ask(urlCommand(urls.constLast())));
        QVERIFY(hasOpened(urls));
    }
}

void tst_UrlOpening::emptyAddressIsAnsweredOk()
{
    Handheld handheld(m_scene->port());
    QCOMPARE(handheld.ask(urlCommand(QString())),
             std::optional(QVariantMap{
                 {"cmdType", "URL_OPEN"}, {"fncCommand", QString()}, {"serverResponse", "OK"}}));
    QVERIFY(handheld.ask(urlCommand(QStringLiteral("http://example.org/next"))));
    QVERIFY(hasOpened({QStringLiteral("http://example.org/next")}));
}

void tst_UrlOpening::addressThatNothingOpensIsAnsweredOk_data()
{
    QTest::addColumn<QString>("url");
    QTest::newRow("an unknown scheme") << "nobody-knows:this";
    QTest::newRow("a missing file") << "file:///nowhere/to/be/found";
    QTest::newRow("no address at all") << "just some words";
    QTest::newRow("an option") << "--help";
    QTest::newRow("broken") << "http://[::1";
}

void tst_UrlOpening::addressThatNothingOpensIsAnsweredOk()
{
    QFETCH(QString, url);
    Handheld handheld(m_scene->port());
    const auto answer = handheld.ask(urlCommand(url));
    QVERIFY(answer);
    QCOMPARE(answer->value("serverResponse").toString(), QStringLiteral("OK"));
    QVERIFY(handheld.ask(urlCommand(QStringLiteral("http://example.org/next"))));
    QVERIFY(hasOpened({QStringLiteral("http://example.org/next")}));
}

/// A server whose desktop has a program of the test's own for everything: the very command line
/// that the toolkit makes is written down.
bool tst_UrlOpening::restartWithOwnOpener()
{
    if (!m_scene->problemAtEnd().isEmpty())
        return false;
    const DesktopSession &session = m_scene->session();
    const QString program = session.path(QStringLiteral("programs/xdg-open"));
    QDir().mkpath(session.path(QStringLiteral("programs")));
    if (!Folders::write(program, "#!/bin/sh\nprintf '%s\\n' \"$*\" >> '" +
                                     session.path(QStringLiteral("handed-over.log")).toUtf8() +
                                     "'\n"))
        return false;
    QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_scene->mutableSession().addVariable(QStringLiteral("PATH"),
                                          session.path(QStringLiteral("programs")) +
                                              QLatin1Char(':') + qEnvironmentVariable("PATH"));
    return m_scene->start();
}

QStringList tst_UrlOpening::handedOver() const
{
    return QString::fromUtf8(
               Folders::fileBytes(m_scene->session().path(QStringLiteral("handed-over.log"))))
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void tst_UrlOpening::optionsNeverReachTheOpener()
{
    QVERIFY(restartWithOwnOpener());
    Handheld handheld(m_scene->port());
    for (const char *url : {"--help", "-x", "%2dx", "%2D%2Dhelp", "-", "-%2f", "../x"}) {
        const auto answer = handheld.ask(urlCommand(QLatin1String(url)));
        QVERIFY(answer);
        QCOMPARE(answer->value("serverResponse").toString(), QStringLiteral("OK"));
    }
    QVERIFY(waitUntil([&] { return handedOver() == QStringList{QStringLiteral("../x")}; }));
    const QString next = QStringLiteral("http://example.org/next");
    QVERIFY(handheld.ask(urlCommand(next)));
    QVERIFY(waitUntil([&] { return handedOver() == QStringList({QStringLiteral("../x"), next}); }));
}

/// Each program may be a browser's window.
void tst_UrlOpening::floodOfAddressesStartsFewPrograms()
{
    constexpr int Count = 400;
    constexpr int AtOnce = 50;
    constexpr int MillisecondsForOne = 200;
    QVERIFY(restartWithOwnOpener());
    QElapsedTimer clock;
    clock.start();
    for (int connection = 0; connection < 4; ++connection) {
        Handheld handheld(m_scene->port());
        for (int i = 0; i < Count / 4; ++i) {
            const auto answer = handheld.ask(urlCommand(QStringLiteral("http://example.org/")));
            QVERIFY(answer);
            QCOMPARE(answer->value("serverResponse").toString(), QStringLiteral("OK"));
        }
    }
    // What is opened last is written down last, or nearly so.
    const QString last = QStringLiteral("http://example.org/last");
    Handheld handheld(m_scene->port());
    QVERIFY(
        waitUntil([&] { return handheld.ask(urlCommand(last)) && handedOver().contains(last); }));
    const qint64 most = AtOnce + clock.elapsed() / MillisecondsForOne + 1;
    const qsizetype started = handedOver().size();
    qInfo("%lld of %d addresses opened in %lld ms", static_cast<long long>(started), Count,
          static_cast<long long>(clock.elapsed()));
    QVERIFY(started <= most);
    QVERIFY(most < Count);
    QVERIFY(waitUntil([&] { return handedOver().size() >= AtOnce; }));
}

/// A browser lives long; nobody waits for its end.
void tst_UrlOpening::openerMayRunOn()
{
    QFile program(m_scene->session().path(QStringLiteral("recording-opener")));
    QVERIFY(program.open(QIODevice::Append));
    const QString release = m_scene->session().path(QStringLiteral("run/opener-may-end"));
    QVERIFY(program.write("mkfifo '" + release.toUtf8() + "'; read line < '" + release.toUtf8() +
                          "'\n") > 0);
    program.close();
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.ask(urlCommand(QStringLiteral("http://example.org/long"))));
    QVERIFY(hasOpened({QStringLiteral("http://example.org/long")}));
    QVERIFY(handheld.ask(commandText(QStringLiteral("SERVER_INFO"))));
    QFile pipe(release);
    QVERIFY(waitUntil([&] { return pipe.exists(); }));
    QVERIFY(pipe.open(QIODevice::WriteOnly));
    QVERIFY(pipe.write("end\n") > 0);
}

void tst_UrlOpening::isAnsweredWithoutAnyOpener()
{
    QCOMPARE(m_scene->problemAtEnd(), QByteArray());
    const QByteArray programs = qgetenv("PATH");
    qputenv("PATH", "/nonexistent");
    m_scene->launch();
    qputenv("PATH", programs);
    QVERIFY(m_scene->port() != 0);
    Handheld handheld(m_scene->port());
    const auto answer = handheld.ask(urlCommand(QStringLiteral("http://example.org/")));
    QVERIFY(answer);
    QCOMPARE(answer->value("serverResponse").toString(), QStringLiteral("OK"));
    QVERIFY(m_opener->opened().isEmpty());
}

QTEST_GUILESS_MAIN(tst_UrlOpening)
#include "tst_UrlOpening.moc"
