// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/RecordingOpener.h"
#include "support/session/ServerScene.h"
#include "support/session/WebProcess.h"
#include "support/web/FreePort.h"
#include "support/web/WebPhone.h"
#include "support/x11/InputWatcher.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QTcpServer>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace quillmote;

namespace {

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// quillmote-web as a user starts it, on a desktop with the server; phones without a browser.
class tst_PhoneProgram : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<WebProcess> web;
    quint16 port = 0;

    const DesktopSession &session() const { return scene->session(); }

    void startWeb(const QStringList &options = {u"--no-open"_s})
    {
        port = freePort();
        web = std::make_unique<WebProcess>(
            session(), QStringList{u"--port"_s, QString::number(port)} + options);
    }
    std::optional<OneTimeCode> shownCode() const
    {
        return OneTimeCode::fromText(web->pairingAddress().section(u'#', 1));
    }
    std::unique_ptr<WebPhone> newPhone(QJsonObject *hello = nullptr)
    {
        const auto code = shownCode();
        auto phone = std::make_unique<WebPhone>(port);
        if (!code || !phone->enterByCode(*code)) {
            return nullptr;
        }
        const QJsonObject answer = phone->sayHello();
        if (hello) {
            *hello = answer;
        }
        return phone;
    }
    std::unique_ptr<WebPhone> deskWindow()
    {
        if (!waitUntil([this] { return QFileInfo::exists(web->pageFile()); })) {
            return nullptr;
        }
        const QByteArray page = contentOf(web->pageFile());
        const qsizetype begin = page.indexOf('#') + 1;
        const QByteArray secret = page.mid(begin, page.indexOf('"', begin) - begin);
        auto window = std::make_unique<WebPhone>(port);
        return window->enter(Credential::Desk, {},
                             QByteArray::fromBase64(secret, QByteArray::Base64UrlEncoding))
                   ? std::move(window)
                   : nullptr;
    }
    /// Waits for the end of another start of the program; returns what it has printed.
    QByteArray outputOfAnother(const QStringList &options, std::optional<int> *status)
    {
        WebProcess another(session(), options);
        waitUntil([&another] { return !another.isRunning(); });
        *status = another.end();
        return another.text();
    }

private slots:
    void initTestCase()
    {
        scene = std::make_unique<ServerScene>();
        QCOMPARE(session().problem(), QByteArray());
    }
    void init() { scene->beginAnew(); }
    void cleanup()
    {
        if (web) {
            QCOMPARE(web->problemAtEnd(), QByteArray());
            web.reset();
        }
        QCOMPARE(scene->problemAtEnd(), QByteArray());
    }
    void cleanupTestCase() { scene.reset(); }

    void keysOfAPhoneReachTheDesktop()
    {
        QVERIFY(scene->start());
        startWeb();
        InputWatcher watcher(session().display());
        const auto phone = newPhone();
        QVERIFY(phone);
        QVERIFY(phone->waitForServer(u"ready"_s));
        QVERIFY(phone->ask("text", {{u"text"_s, u"Hi"_s}}).object.value("ok"_L1).toBool());
        QTRY_COMPARE(watcher.typedText(), u"Hi"_s);
        phone->ask("move", {{u"dx"_s, 40}, {u"dy"_s, 30}});
        QTRY_VERIFY(!watcher.raw().empty() && watcher.raw().back().kind == RawInput::Kind::Motion);
    }

    void whatAPhoneHoldsIsReleasedWhenItGoes()
    {
        QVERIFY(scene->start());
        startWeb();
        InputWatcher watcher(session().display());
        const auto phone = newPhone();
        QVERIFY(phone && phone->waitForServer(u"ready"_s));
        phone->ask("key", {{u"key"_s, u"Control"_s}, {u"action"_s, u"press"_s}});
        phone->ask("button", {{u"button"_s, u"left"_s}, {u"action"_s, u"press"_s}});
        QTRY_VERIFY(!watcher.keysDown().empty() && watcher.pointerMask() != 0);
        phone->socket.abort();
        QTRY_VERIFY(watcher.isNothingHeld());
    }

    void whatAPhoneHoldsIsReleasedWhenTheProgramIsKilled()
    {
        QVERIFY(scene->start());
        startWeb();
        InputWatcher watcher(session().display());
        const auto phone = newPhone();
        QVERIFY(phone && phone->waitForServer(u"ready"_s));
        phone->ask("key", {{u"key"_s, u"Control"_s}, {u"action"_s, u"press"_s}});
        QTRY_VERIFY(!watcher.keysDown().empty());
        web->kill();
        QTRY_VERIFY(watcher.isNothingHeld());
        web.reset();
    }

    void aSecondStartLeadsToTheFirst()
    {
        const RecordingOpener opener(session());
        startWeb({});
        QTRY_COMPARE(opener.opened(), QStringList{web->pageFile()});
        QVERIFY(shownCode());
        opener.clear();
        std::optional<int> status;
        const QByteArray said = outputOfAnother({}, &status);
        QCOMPARE(status, 0);
        QVERIFY2(said.contains("runs already"), said.constData());
        QTRY_COMPARE(opener.opened(), QStringList{web->pageFile()});
        QVERIFY(web->isRunning());
        QVERIFY(QFileInfo::exists(web->pageFile()));
    }

    void aTakenPortIsExplained()
    {
        QTcpServer other;
        QVERIFY(other.listen(QHostAddress::AnyIPv4));
        std::optional<int> status;
        const QByteArray said = outputOfAnother(
            {u"--no-open"_s, u"--port"_s, QString::number(other.serverPort())}, &status);
        QCOMPARE(status, 1);
        QVERIFY2(said.contains(QByteArray::number(other.serverPort())), said.constData());
        QVERIFY2(said.contains("in use"), said.constData());
    }

    void aChosenPortIsKept()
    {
        startWeb();
        QVERIFY(shownCode());
        QCOMPARE(web->end(), 0);
        web = std::make_unique<WebProcess>(session(), QStringList{u"--no-open"_s});
        QVERIFY(web->pairingAddress().contains(u":%1/"_s.arg(port)));
    }

    void aSignalEndsItCleanly()
    {
        startWeb();
        const auto phone = newPhone();
        QVERIFY(phone);
        QVERIFY(QFileInfo::exists(web->pageFile()));
        QCOMPARE(web->end(), 0);
        QCOMPARE(phone->closeCode(), 1001);
        QVERIFY(!QFileInfo::exists(web->pageFile()));
    }

    void itEndsFromItsPage()
    {
        startWeb();
        const auto window = deskWindow();
        QVERIFY(window);
        window->send("quit");
        QTRY_VERIFY(!web->isRunning());
        QCOMPARE(web->end(), 0);
    }

    void theServerIsStartedFromThePage()
    {
        startWeb();
        QJsonObject hello;
        const auto phone = newPhone(&hello);
        QVERIFY(phone);
        QCOMPARE(phone->serverState, u"missing"_s);
        const auto window = deskWindow();
        QVERIFY(window);
        const QJsonObject state = window->nextEvent(u"state"_s).value("server"_L1).toObject();
        QCOMPARE(state.value("state"_L1).toString(), u"missing"_s);
        QVERIFY(state.value("canStart"_L1).toBool());
        QVERIFY(window->ask("startServer").object.value("ok"_L1).toBool());
        QVERIFY(phone->waitForServer(u"ready"_s));
        // It is nobody's child: the desktop's end is its end.
        scene->mutableSession().endDisplay();
        QVERIFY(phone->waitForServer(u"missing"_s));
        web.reset();
        scene = std::make_unique<ServerScene>();
    }

    void secretsAreForTheUserOnly()
    {
        startWeb();
        QVERIFY(newPhone());
        const QString store = session().path(u"config/quillmote/web.json"_s);
        QTRY_VERIFY(QFileInfo::exists(store));
        for (const QString &file : {store, web->pageFile()}) {
            QCOMPARE(QFile::permissions(file) & (QFile::ReadGroup | QFile::WriteGroup |
                                                 QFile::ReadOther | QFile::WriteOther),
                     QFile::Permissions());
        }
        const QString process = u"/proc/%1/cmdline"_s.arg(web->processId());
        const QByteArray secret =
            contentOf(web->pageFile()).split('#').at(1).split('"').constFirst();
        QVERIFY(secret.size() > 40);
        QVERIFY(!contentOf(process).contains(secret));
    }
};

QTEST_GUILESS_MAIN(tst_PhoneProgram)
#include "tst_PhoneProgram.moc"
