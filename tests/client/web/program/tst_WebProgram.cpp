// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/ClipboardCache.h"
#include "web/program/OwnPage.h"
#include "web/program/PageAddress.h"
#include "web/program/PairingCodes.h"
#include "web/program/PhoneRequests.h"
#include "web/program/SessionEntry.h"
#include "web/program/WebArguments.h"
#include "web/program/WebStore.h"

#include <QFile>
#include <QJsonDocument>
#include <QSet>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

namespace {

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

WebArguments parsed(const QStringList &options)
{
    return WebArguments::parse(QStringList(u"quillmote-web"_s) + options);
}

WireText request(const QByteArray &json, const QByteArray &body = {})
{
    return {QJsonDocument::fromJson(json).object(), body};
}

constexpr auto ownerOnly =
    QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;

} // namespace

/// The parts of quillmote-web that need neither a network nor a server.
class tst_WebProgram : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QString file() const { return folder.filePath(u"web.json"_s); }

private slots:
    void init() { QFile::remove(file()); }

    void phonesAreKeptWithTheirSecrets()
    {
        WebStore store(file());
        const KnownPhone added = store.add(u"Ana's phone"_s);
        QCOMPARE(added.id.size(), 16);
        QCOMPARE(added.secret.size(), 32);
        const KnownPhone another = store.add(u"Tablet"_s);
        QVERIFY(another.id != added.id);
        QVERIFY(another.secret != added.secret);
        const WebStore later(file());
        QVERIFY(later.find(added.id));
        QCOMPARE(later.find(added.id)->secret, added.secret);
        QCOMPARE(later.find(added.id)->name, u"Ana's phone"_s);
        QCOMPARE(later.phones().size(), 2);
    }

    void onlyTheUserMayReadTheSecrets()
    {
        WebStore(file()).add(u"Phone"_s);
        QCOMPARE(QFile::permissions(file()), ownerOnly);
    }

    void aRemovedPhoneIsUnknownLater()
    {
        WebStore store(file());
        const KnownPhone phone = store.add(u"Phone"_s);
        QVERIFY(store.remove(phone.id));
        QVERIFY(!store.find(phone.id));
        QVERIFY(!store.remove(phone.id));
        QVERIFY(!WebStore(file()).find(phone.id));
        QVERIFY(!contentOf(file()).contains(phone.secret.toBase64()));
    }

    void thePortIsKept()
    {
        QCOMPARE(WebStore(file()).port(), WebStore::usualPort);
        WebStore(file()).setPort(9000);
        QCOMPARE(WebStore(file()).port(), 9000);
    }

    void theLeastSeenPhoneMakesRoom()
    {
        WebStore store(file());
        const KnownPhone first = store.add(u"First"_s);
        const KnownPhone second = store.add(u"Second"_s);
        QTest::qWait(2); // the times are in milliseconds
        store.markSeen(first.id);
        while (store.phones().size() < WebStore::mostPhones) {
            store.add(u"Other"_s);
            QTest::qWait(1);
        }
        store.add(u"Last"_s);
        QCOMPARE(store.phones().size(), WebStore::mostPhones);
        QVERIFY(store.find(first.id));
        QVERIFY(!store.find(second.id));
        QCOMPARE(WebStore(file()).phones().size(), WebStore::mostPhones);
    }

    void damagedFilesAreReadAsFarAsTheyGo_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("phones");
        const QByteArray good = R"({"id":"000102030405060708090a0b0c0d0e0f","secret":)"
                                R"("AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8=","name":"P"})";
        QTest::newRow("nothing") << QByteArray() << 0;
        QTest::newRow("no JSON") << QByteArray("phones") << 0;
        QTest::newRow("a list") << QByteArray("[]") << 0;
        QTest::newRow("one") << QByteArray(R"({"phones":[)" + good + "]}") << 1;
        QTest::newRow("twice") << QByteArray(R"({"phones":[)" + good + "," + good + "]}") << 1;
        QTest::newRow("short secret")
            << QByteArray(
                   R"({"phones":[{"id":"000102030405060708090a0b0c0d0e0f","secret":"AAEC"}]})")
            << 0;
        QTest::newRow("others stay")
            << QByteArray(R"({"port":"x","phones":[7,null,{"id":""},)" + good + "]}") << 1;
    }

    void damagedFilesAreReadAsFarAsTheyGo()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, phones);
        QFile damaged(file());
        QVERIFY(damaged.open(QIODevice::WriteOnly));
        damaged.write(content);
        damaged.close();
        const WebStore store(file());
        QCOMPARE(store.phones().size(), phones);
        QCOMPARE(store.port(), WebStore::usualPort);
    }

    void namesOfPhonesAreHarmless_data()
    {
        QTest::addColumn<QString>("given");
        QTest::addColumn<QString>("kept");
        QTest::newRow("plain") << u"Ana's phone"_s << u"Ana's phone"_s;
        QTest::newRow("empty") << u" \t "_s << u"Phone"_s;
        QTest::newRow("line break") << u"a\nb"_s << u"a b"_s;
        QTest::newRow("escape") << u"a\u001b[2Jb"_s << u"a\\u001b[2Jb"_s;
        QTest::newRow("direction") << u"a\u202eb"_s << u"a\\u202eb"_s;
        QTest::newRow("long") << QString(1000, u'x') << QString(64, u'x');
    }

    void namesOfPhonesAreHarmless()
    {
        QFETCH(QString, given);
        QFETCH(QString, kept);
        QCOMPARE(WebStore::cleaned(given), kept);
    }

    void codesWorkOnce()
    {
        PairingCodes codes;
        const QSignalSpy changes(&codes, &PairingCodes::changed);
        const OneTimeCode code = codes.make();
        QVERIFY(codes.isValid(code));
        QCOMPARE(codes.valid().size(), 1U);
        QVERIFY(codes.use(code));
        QVERIFY(!codes.use(code));
        QVERIFY(!codes.isValid(code));
        QVERIFY(codes.valid().empty());
        QCOMPARE(changes.size(), 1);
    }

    void codesEndAfterTheirTime()
    {
        using namespace std::chrono_literals;
        PairingCodes codes(50ms);
        const QSignalSpy changes(&codes, &PairingCodes::changed);
        const OneTimeCode first = codes.make();
        QVERIFY(codes.timeLeft(first) <= 50ms);
        QTRY_VERIFY(!codes.isValid(first));
        QVERIFY(!codes.use(first));
        QTRY_COMPARE(changes.size(), 1);
        const OneTimeCode second = codes.make();
        QVERIFY(codes.isValid(second));
        QTRY_COMPARE(changes.size(), 2);
        QVERIFY(PairingCodes().timeLeft(second) == std::nullopt);
    }

    void theOldestOfTooManyCodesEnds()
    {
        PairingCodes codes;
        const OneTimeCode first = codes.make();
        const OneTimeCode second = codes.make();
        for (size_t further = 1; further < PairingCodes::most; ++further) {
            codes.make();
        }
        QVERIFY(!codes.isValid(first));
        QVERIFY(codes.isValid(second));
        QCOMPARE(codes.valid().size(), PairingCodes::most);
    }

    void theCommandLineIsRead()
    {
        const WebArguments none = parsed({});
        QVERIFY(none.problem.isEmpty());
        QVERIFY(!none.port);
        QVERIFY(none.opensPage);
        const WebArguments all =
            parsed({u"--port"_s, u"9000"_s, u"--address"_s, u"192.0.2.7"_s,
                    u"--address=2001:db8::7"_s, u"--host"_s, u"den.example"_s, u"--https"_s,
                    u"cert.pem"_s, u"key.pem"_s, u"--no-open"_s});
        QCOMPARE(all.problem, QString());
        QCOMPARE(all.port, quint16(9000));
        QCOMPARE(all.addresses, (QList<QHostAddress>{QHostAddress(u"192.0.2.7"_s),
                                                     QHostAddress(u"2001:db8::7"_s)}));
        QCOMPARE(all.hosts, QStringList{u"den.example"_s});
        QCOMPARE(all.certificateFile, u"cert.pem"_s);
        QCOMPARE(all.keyFile, u"key.pem"_s);
        QVERIFY(!all.opensPage);
        QVERIFY(parsed({u"--help"_s}).output.contains(u"--no-open"_s));
        QVERIFY(parsed({u"--version"_s}).output.startsWith(u"quillmote-web "_s));
    }

    void wrongCommandLinesAreExplained_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("word");
        QTest::newRow("unknown") << QStringList{u"--loud"_s} << u"loud"_s;
        QTest::newRow("port 0") << QStringList{u"--port=0"_s} << u"65535"_s;
        QTest::newRow("port too large") << QStringList{u"--port=65536"_s} << u"65535"_s;
        QTest::newRow("port no number") << QStringList{u"--port=web"_s} << u"\"web\""_s;
        QTest::newRow("address") << QStringList{u"--address=den"_s} << u"\"den\""_s;
        QTest::newRow("no key") << QStringList{u"--https"_s, u"cert"_s} << u"two files"_s;
        QTest::newRow("a word") << QStringList{u"start"_s} << u"\"start\""_s;
    }

    void wrongCommandLinesAreExplained()
    {
        QFETCH(QStringList, options);
        QFETCH(QString, word);
        QVERIFY2(parsed(options).problem.contains(word), qPrintable(parsed(options).problem));
    }

    void phonesMayAskForWhatAHandNeedsOnly()
    {
        for (const QString &name : {u"key"_s, u"text"_s, u"move"_s, u"file.put"_s}) {
            QVERIFY2(PhoneRequests::isAllowed(name), qPrintable(name));
        }
        for (const QString &name : {u"pair"_s, u"listen"_s, u"hello"_s, u""_s, u"KEY"_s}) {
            QVERIFY2(!PhoneRequests::isAllowed(name), qPrintable(name));
        }
    }

    void requestsKeepTheirFieldsAndBodies()
    {
        const SessionMessage key = PhoneRequests::forServer(
            request(R"({"id":"x","request":"key","key":"a","modifiers":["Shift"]})"));
        QCOMPARE(key.request, u"key"_s);
        QCOMPARE(key.line(4),
                 QByteArray(R"({"id":4,"key":"a","modifiers":["Shift"],"request":"key"})"
                            "\n"));
        QVERIFY(!key.body);
        const SessionMessage piece = PhoneRequests::forServer(
            request(R"({"id":1,"request":"file.put","file":3})", QByteArray("a\0b", 3)));
        QCOMPARE(piece.body, QByteArray("a\0b", 3));
        const SessionMessage empty =
            PhoneRequests::forServer(request(R"({"id":1,"request":"file.put","file":3,"body":0})"));
        QCOMPARE(empty.body, QByteArray(""));
        QVERIFY(empty.body.has_value());
    }

    void piecesOfFilesAreShort_data()
    {
        QTest::addColumn<QByteArray>("length");
        QTest::addColumn<qint64>("asked");
        QTest::newRow("none") << QByteArray() << qint64(131072);
        QTest::newRow("short") << QByteArray(R"(,"length":7)") << qint64(7);
        QTest::newRow("long") << QByteArray(R"(,"length":1048576)") << qint64(131072);
    }

    void piecesOfFilesAreShort()
    {
        QFETCH(QByteArray, length);
        QFETCH(qint64, asked);
        const SessionMessage get = PhoneRequests::forServer(
            request(R"({"id":1,"request":"file.get","name":"a")" + length + "}"));
        QCOMPARE(get.fields.value("length"_L1).toInteger(), asked);
    }

    void theClipboardIsHandedOutInParts()
    {
        ClipboardCache cache;
        QVERIFY(!cache.part(5, 10));
        cache.keep(0, "0123456789", 20);
        QVERIFY(!cache.part(0, 10)); // the text may be another one by now
        QCOMPARE(cache.part(4, 3)->bytes, QByteArray("456"));
        QCOMPARE(cache.part(4, 3)->size, 20);
        QCOMPARE(cache.part(8, 10)->bytes, QByteArray("89"));
        QVERIFY(!cache.part(10, 10)); // is fetched
        QVERIFY(!cache.part(-1, 10));
        cache.keep(10, "abcdefghij", 20);
        QCOMPARE(cache.part(12, 2)->bytes, QByteArray("cd"));
        QVERIFY(!cache.part(4, 3));
    }

    void addressesAreWrittenForBrowsers()
    {
        const PageAddress plain{8642, {}, {}};
        QCOMPARE(plain.url(QHostAddress(u"192.0.2.7"_s)), u"http://192.0.2.7:8642/"_s);
        QCOMPARE(plain.url(QHostAddress(u"2001:db8::7"_s)), u"http://[2001:db8::7]:8642/"_s);
        const PageAddress certified{8642, u"den.example"_s, {}};
        QCOMPARE(certified.url(QHostAddress(u"192.0.2.7"_s)), u"https://den.example:8642/"_s);
    }

    void onlyAddressesThatAreListenedAtAreOffered()
    {
        const PageAddress all{8642, {}, {}};
        for (const OfferedAddress &offered : all.offered()) {
            const PageAddress one{8642, {}, {offered.address}};
            QCOMPARE(one.offered().size(), 1);
            QCOMPARE(one.offered().first().address, offered.address);
        }
        const PageAddress tunnel{8642, {}, {QHostAddress(QHostAddress::LocalHost)}};
        QCOMPARE(tunnel.offered().size(), 1);
        const PageAddress gone{8642, {}, {QHostAddress(u"192.0.2.250"_s)}};
        QVERIFY(gone.offered().isEmpty());
    }

    void onlyTheUserMayReadWhatLeadsToTheDesktopsPage()
    {
        const QString page = folder.filePath(u"quillmote-web/page.html"_s);
        {
            OwnPage own(folder.path());
            QCOMPARE(own.claim(), OwnPage::Claim::Ours);
            QCOMPARE(own.publish(8642, QByteArray(32, '\xff')), QString());
            QCOMPARE(QFile::permissions(page), ownerOnly);
            QVERIFY(contentOf(page).contains("http://127.0.0.1:8642/desk#_____"));
            QVERIFY(!(QFile::permissions(folder.filePath(u"quillmote-web"_s)) &
                      (QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther)));
            QCOMPARE(OwnPage(folder.path()).claim(), OwnPage::Claim::OfAnother);
            QVERIFY(QFile::exists(page));
        }
        QVERIFY(!QFile::exists(page));
        QCOMPARE(OwnPage(folder.path()).claim(), OwnPage::Claim::Ours);
    }

    void theSessionStartsItIfWanted()
    {
        const QString entry =
            QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
            u"/autostart/quillmote-web.desktop"_s;
        QFile::remove(entry);
        QVERIFY(!SessionEntry::exists());
        QCOMPARE(SessionEntry::set(true), QString());
        QVERIFY(SessionEntry::exists());
        const QString exec =
            u"\nExec=\"%1\" --no-open\n"_s.arg(QCoreApplication::applicationFilePath());
        QVERIFY(contentOf(entry).contains(exec.toUtf8()));
        QCOMPARE(SessionEntry::set(false), QString());
        QVERIFY(!SessionEntry::exists());
        QCOMPARE(SessionEntry::set(false), QString());
    }
};

QTEST_GUILESS_MAIN(tst_WebProgram)
#include "tst_WebProgram.moc"
