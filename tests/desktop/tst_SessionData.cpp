// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Folders.h"
#include "support/protocol/SessionClient.h"
#include "support/session/ClipboardOwner.h"
#include "support/session/RecordingOpener.h"
#include "support/session/ServerScene.h"

#include <QDir>
#include <QJsonArray>
#include <QProcess>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

/// Texts, files and screens on the session socket of the whole program.
class tst_SessionData : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void otherProgramsGetTheTextAndGiveTheirs();
    void anotherProgramsChangeIsReported();
    void aFileArrivesIsListedReadAndOpened();
    void aFileOfAnotherNameIsNotOpenedInItsPlace();
    void aKilledServersDraftGoesAtTheNextStart();
    void screensAreToldAsTheyChange();

private:
    bool start() const;
    QString path() const
    {
        return scene->session().path(u"run/vornaserver/"_s) +
               scene->session().display().replace(u':', u'_') + u".socket"_s;
    }
    QStringList received() const
    {
        return QDir(directory).entryList(QDir::Files | QDir::Hidden | QDir::System);
    }
    bool xrandr(const QStringList &arguments) const
    {
        return scene->mutableSession().xServer().run(u"xrandr"_s, arguments);
    }

    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<RecordingOpener> opener;
    QString directory;
};

void tst_SessionData::initTestCase()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
}

void tst_SessionData::init()
{
    scene->beginAnew();
    opener = std::make_unique<RecordingOpener>(scene->session());
    opener->clear();
    directory = scene->session().path(u"received files"_s);
    QVERIFY(QDir().mkpath(directory));
    scene->storeSetting(u"downloadDirectory"_s, directory);
    QVERIFY(start());
}

/// The server listens on the network first.
bool tst_SessionData::start() const
{
    return scene->start() && waitUntil([this] { return SessionClient(path()).isConnected(); });
}

void tst_SessionData::cleanup()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    QDir(directory).removeRecursively();
}

void tst_SessionData::otherProgramsGetTheTextAndGiveTheirs()
{
    SessionClient client(path());
    const QByteArray text = "a\n\xe2\x82\xac\xf0\x9f\x98\x80\t";
    QVERIFY(client.ask(u"clipboard.set"_s, {{u"more"_s, true}}, text.first(4)).isOk());
    QVERIFY(client.ask(u"clipboard.set"_s, {}, text.sliced(4)).isOk());
    QCOMPARE(ClipboardOwner::read(scene->session()), std::optional(text));
    QCOMPARE(client.ask(u"clipboard.get"_s).body, text);
    // Longer than one piece.
    const QByteArray longer = QByteArray("\xe2\x82\xac").repeated(700'000);
    const ClipboardOwner owner(scene->session(), longer);
    QVERIFY(owner.isServing());
    const SessionMessage first = client.ask(u"clipboard.get"_s);
    QCOMPARE(first.fields.value(u"size"_s).toInteger(), longer.size());
    const SessionMessage second =
        client.ask(u"clipboard.get"_s, {{u"offset"_s, first.body.size()}});
    const SessionMessage third =
        client.ask(u"clipboard.get"_s, {{u"offset"_s, first.body.size() + second.body.size()}});
    QCOMPARE(first.body + second.body + third.body, longer);
}

void tst_SessionData::anotherProgramsChangeIsReported()
{
    SessionClient client(path());
    QVERIFY(client.ask(u"clipboard.watch"_s).isOk());
    const ClipboardOwner owner(scene->session(), "theirs");
    QVERIFY(client.event(u"clipboard"_s));
    QVERIFY(owner.isServing());
    QCOMPARE(client.ask(u"clipboard.get"_s).body, QByteArray("theirs"));
}

void tst_SessionData::aFileArrivesIsListedReadAndOpened()
{
    SessionClient client(path());
    const QJsonValue file =
        client.ask(u"file.put"_s, {{u"name"_s, u"a.txt"_s}, {u"size"_s, 6}, {u"open"_s, true}})
            .fields.value(u"file"_s);
    QVERIFY(client.ask(u"file.put"_s, {{u"file"_s, file}}, QByteArray("one")).isOk());
    QVERIFY(client.ask(u"ping"_s).isOk());
    const SessionMessage done =
        client.ask(u"file.put"_s, {{u"file"_s, file}}, QByteArray("\0\r\n", 3));
    QCOMPARE(done.fields.value(u"opened"_s), QJsonValue(true));
    QCOMPARE(Folders::fileBytes(directory + u"/a.txt"_s), QByteArray("one\0\r\n", 6));
    QVERIFY(waitUntil([this] { return opener->opened() == QStringList(directory + u"/a.txt"_s); }));
    const QJsonArray files = client.ask(u"file.list"_s).fields.value(u"files"_s).toArray();
    QCOMPARE(files.size(), 1);
    QCOMPARE(files.first()[u"name"_s], QJsonValue(u"a.txt"_s));
    QCOMPARE(client.ask(u"file.get"_s, {{u"name"_s, u"a.txt"_s}, {u"offset"_s, 3}}).body,
             QByteArray("\0\r\n", 3));
}

/// As an address its name would mean "secret.txt".
void tst_SessionData::aFileOfAnotherNameIsNotOpenedInItsPlace()
{
    QVERIFY(Folders::write(directory + u"/secret.txt"_s, "mine"));
    SessionClient client(path());
    const QString name = u"secret%2Etxt"_s;
    const QJsonValue file =
        client.ask(u"file.put"_s, {{u"name"_s, name}, {u"size"_s, 1}, {u"open"_s, true}})
            .fields.value(u"file"_s);
    QVERIFY(client.ask(u"file.put"_s, {{u"file"_s, file}}, QByteArray("x")).isOk());
    QVERIFY(waitUntil([this] { return !opener->opened().isEmpty(); }));
    QCOMPARE(opener->opened(), QStringList(directory + u'/' + name));
}

void tst_SessionData::aKilledServersDraftGoesAtTheNextStart()
{
    {
        SessionClient client(path());
        const QJsonValue file = client.ask(u"file.put"_s, {{u"name"_s, u"a"_s}, {u"size"_s, 2}})
                                    .fields.value(u"file"_s);
        QVERIFY(client.ask(u"file.put"_s, {{u"file"_s, file}}, QByteArray("x")).isOk());
        QCOMPARE(received().size(), 1);
        scene->server().end(SIGKILL);
    }
    QCOMPARE(received().size(), 1);
    QVERIFY(start());
    QVERIFY(waitUntil([this] { return received().isEmpty(); }));
}

void tst_SessionData::screensAreToldAsTheyChange()
{
    SessionClient client(path());
    QVERIFY(client.ask(u"watch"_s).isOk());
    const QJsonObject whole =
        client.ask(u"screens"_s).fields.value(u"screens"_s).toArray().first().toObject();
    QVERIFY(whole.value(u"width"_s).toInt() > 0);
    QVERIFY(xrandr({u"--setmonitor"_s, u"small"_s, u"400/100x300/80+10+20"_s, u"screen"_s}));
    const auto event = client.event(u"screens"_s);
    QVERIFY(event);
    const QJsonObject small = event->fields.value(u"screens"_s).toArray().first().toObject();
    QCOMPARE(small.value(u"name"_s), QJsonValue(u"small"_s));
    QCOMPARE(small.value(u"x"_s), QJsonValue(10));
    QCOMPARE(small.value(u"height"_s), QJsonValue(300));
    QVERIFY(xrandr({u"--delmonitor"_s, u"small"_s}));
    QVERIFY(client.event(u"screens"_s));
}

QTEST_GUILESS_MAIN(tst_SessionData)
#include "tst_SessionData.moc"
