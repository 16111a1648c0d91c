// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Folders.h"
#include "support/session/RecordingOpener.h"
#include "support/session/ServerScene.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QByteArray urlCommand(const QString &url)
{
    return commandText(u"URL_OPEN"_s, {{u"fncCommand"_s, url}});
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

    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<RecordingOpener> opener;
};

void tst_UrlOpening::init()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
    opener = std::make_unique<RecordingOpener>(scene->session());
    QVERIFY(scene->start());
}

void tst_UrlOpening::cleanup()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    scene.reset();
}

/// Waits until the opener was given these; otherwise logs what it was given.
bool tst_UrlOpening::hasOpened(const QStringList &expected) const
{
    if (waitUntil([&] { return opener->opened() == expected; })) {
        return true;
    }
    qWarning() << "opened instead:" << opener->opened();
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
    Handheld handheld(scene->port());
    QCOMPARE(handheld.ask(urlCommand(url)),
             std::optional(QVariantMap{{u"cmdType"_s, u"URL_OPEN"_s},
                                       {u"fncCommand"_s, url},
                                       {u"serverResponse"_s, u"OK"_s}}));
    QVERIFY(hasOpened({opened}));
    QVERIFY(!QFile::exists(scene->session().home() + u"/owned"_s));
}

void tst_UrlOpening::fileIsOpened()
{
    const QString path = scene->session().home() + u"/letter to Ann.txt"_s;
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write("Dear Ann\n") > 0);
    file.close();
    Handheld handheld(scene->port());
    const auto answer = handheld.ask(urlCommand(u"file://"_s + path));
    QVERIFY(answer);
    QCOMPARE(response(answer), u"OK"_s);
    QVERIFY(hasOpened({path}));
}

void tst_UrlOpening::addressesAreOpenedInTheirOrder()
{
    Handheld handheld(scene->port());
    QStringList urls;
    for (int i = 0; i < 3; ++i) {
        urls.append(u"http://example.org/%1"_s.arg(i));
        QVERIFY(handheld.ask(urlCommand(urls.constLast())));
        QVERIFY(hasOpened(urls));
    }
}

void tst_UrlOpening::emptyAddressIsAnsweredOk()
{
    Handheld handheld(scene->port());
    QCOMPARE(handheld.ask(urlCommand(QString())),
             std::optional(QVariantMap{{u"cmdType"_s, u"URL_OPEN"_s},
                                       {u"fncCommand"_s, QString()},
                                       {u"serverResponse"_s, u"OK"_s}}));
    QVERIFY(handheld.ask(urlCommand(u"http://example.org/next"_s)));
    QVERIFY(hasOpened({u"http://example.org/next"_s}));
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
    Handheld handheld(scene->port());
    const auto answer = handheld.ask(urlCommand(url));
    QVERIFY(answer);
    QCOMPARE(response(answer), u"OK"_s);
    QVERIFY(handheld.ask(urlCommand(u"http://example.org/next"_s)));
    QVERIFY(hasOpened({u"http://example.org/next"_s}));
}

/// A server whose desktop has a program of the test's own for everything: the very command line
/// that the toolkit makes is written down.
bool tst_UrlOpening::restartWithOwnOpener()
{
    if (!scene->problemAtEnd().isEmpty()) {
        return false;
    }
    const DesktopSession &session = scene->session();
    const QString program = session.path(u"programs/xdg-open"_s);
    QDir().mkpath(session.path(u"programs"_s));
    if (!Folders::write(program, "#!/bin/sh\nprintf '%s\\n' \"$*\" >> '" +
                                     session.path(u"handed-over.log"_s).toUtf8() + "'\n")) {
        return false;
    }
    QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    scene->mutableSession().addVariable(u"PATH"_s, session.path(u"programs"_s) + QLatin1Char(':') +
                                                       qEnvironmentVariable("PATH"));
    return scene->start();
}

QStringList tst_UrlOpening::handedOver() const
{
    return QString::fromUtf8(Folders::fileBytes(scene->session().path(u"handed-over.log"_s)))
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void tst_UrlOpening::optionsNeverReachTheOpener()
{
    QVERIFY(restartWithOwnOpener());
    Handheld handheld(scene->port());
    for (const char *url : {"--help", "-x", "%2dx", "%2D%2Dhelp", "-", "-%2f", "../x"}) {
        const auto answer = handheld.ask(urlCommand(QLatin1String(url)));
        QVERIFY(answer);
        QCOMPARE(response(answer), u"OK"_s);
    }
    QVERIFY(waitUntil([&] { return handedOver() == QStringList{u"../x"_s}; }));
    const QString next = u"http://example.org/next"_s;
    QVERIFY(handheld.ask(urlCommand(next)));
    QVERIFY(waitUntil([&] { return handedOver() == QStringList({u"../x"_s, next}); }));
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
        Handheld handheld(scene->port());
        for (int i = 0; i < Count / 4; ++i) {
            const auto answer = handheld.ask(urlCommand(u"http://example.org/"_s));
            QVERIFY(answer);
            QCOMPARE(response(answer), u"OK"_s);
        }
    }
    // The last one opened is recorded last, or nearly so.
    const QString last = u"http://example.org/last"_s;
    Handheld handheld(scene->port());
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

/// A browser runs for a long time; the server must not wait for its end.
void tst_UrlOpening::openerMayRunOn()
{
    QFile program(scene->session().path(u"recording-opener"_s));
    QVERIFY(program.open(QIODevice::Append));
    const QString release = scene->session().path(u"run/opener-may-end"_s);
    QVERIFY(program.write("mkfifo '" + release.toUtf8() + "'; read line < '" + release.toUtf8() +
                          "'\n") > 0);
    program.close();
    Handheld handheld(scene->port());
    QVERIFY(handheld.ask(urlCommand(u"http://example.org/long"_s)));
    QVERIFY(hasOpened({u"http://example.org/long"_s}));
    QVERIFY(handheld.ask(serverInfo()));
    QFile pipe(release);
    QVERIFY(waitUntil([&] { return pipe.exists(); }));
    QVERIFY(pipe.open(QIODevice::WriteOnly));
    QVERIFY(pipe.write("end\n") > 0);
}

void tst_UrlOpening::isAnsweredWithoutAnyOpener()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    const QByteArray programs = qgetenv("PATH");
    qputenv("PATH", "/nonexistent");
    scene->launch();
    qputenv("PATH", programs);
    QVERIFY(scene->port() != 0);
    Handheld handheld(scene->port());
    const auto answer = handheld.ask(urlCommand(u"http://example.org/"_s));
    QVERIFY(answer);
    QCOMPARE(response(answer), u"OK"_s);
    QVERIFY(opener->opened().isEmpty());
}

QTEST_GUILESS_MAIN(tst_UrlOpening)
#include "tst_UrlOpening.moc"
