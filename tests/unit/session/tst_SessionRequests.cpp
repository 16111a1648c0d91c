// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionRequests.h"

#include "support/Folders.h"
#include "unit/session/SessionFixture.h"

class tst_SessionRequests : public SessionFixture
{
    Q_OBJECT

private slots:
    void theGreetingSaysWhatTheDesktopCan();
    void theGreetingLeavesOutWhatTheDesktopCannot();

    void requestsAreCarriedOut_data();
    void requestsAreCarriedOut();
    void faultyRequestsAreRefused_data();
    void faultyRequestsAreRefused();
    void whatTheDesktopCannotDoIsUnsupported_data();
    void whatTheDesktopCannotDoIsUnsupported();
    void inputWaitsForTheConsentOfTheDesktop_data();
    void inputWaitsForTheConsentOfTheDesktop();
    void aKeyThatTheDesktopDoesNotHaveIsUnknown();
    void unfinishedTextFails();

    void heldModifiersCountForLaterKeys();
    void onlyOwnKeysAreReleased();
    void theLastSessionThatHoldsItReleasesIt();
    void aKeyIsHeldOnce();
    void heldKeysAreLimited();

    void addressesAndApplicationsAreOpened();
    void applicationsAreListed();

    void theClipboardIsServed();
    void filesAreServed();
    void aPieceIsWrittenAsItComes();
    void screensAreServed();
    void aRefusalEndsWatchesAndTransfers();

    void anAcceptedDeviceIsConnected();
    void theFirstInputConnectsTheProgram();
    void aRefusedDeviceIsServedNothing();
    void namesArePlainAndShort();

    void theServerIsAskedWhereItListens();
    void aDeviceDoesNotChangeWhereTheServerListens();
    void aServerThatCouldNotStartServesOnlyWhatMendsIt();
};

void tst_SessionRequests::theGreetingSaysWhatTheDesktopCan()
{
    SessionClient client(path());
    const QJsonObject expected = QJsonDocument::fromJson(R"({"event": "hello", "protocol": 1,
        "server": "VornaServer", "version": "", "name": "den", "port": 49152,
        "can": ["key", "text", "text.any", "pointer", "scroll", "scroll.fine", "drag", "clipboard.get",
                "clipboard.watch"]})")
                                     .object();
    QCOMPARE(client.greeting(), expected);
}

void tst_SessionRequests::theGreetingLeavesOutWhatTheDesktopCannot()
{
    record.abilities = {};
    record.abilities.text = true;
    record.abilities.scroll = true;
    clipboard.canBeRead = false;
    clipboard.canBeWatched = false;
    SessionClient client(path());
    QCOMPARE(client.greeting().value("can"_L1).toArray(), (QJsonArray{u"text"_s, u"scroll"_s}));
}

void tst_SessionRequests::requestsAreCarriedOut_data()
{
    QTest::addColumn<QString>("request");
    QTest::addColumn<QByteArray>("fields");
    QTest::addColumn<QStringList>("calls");

    const auto row = [](const char *name, const QString &request, const QByteArray &fields,
                        const QStringList &calls) {
        QTest::newRow(name) << request << fields << calls;
    };
    const QString enter = u"#%1"_s.arg(static_cast<int>(platform::NamedKey::Enter));
    row("a named key", u"key"_s, R"({"key": "Enter"})",
        {u"press "_s + enter, u"release "_s + enter});
    row("a character", u"key"_s, R"({"key": "€", "action": "tap"})",
        {u"press €"_s, u"release €"_s});
    row("a character of two halves", u"key"_s, R"({"key": "😀"})",
        {u"press 😀"_s, u"release 😀"_s});
    row("a space", u"key"_s, R"({"key": " "})", {u"press  "_s, u"release  "_s});
    row("modifiers", u"key"_s,
        R"({"key": "a", "modifiers": ["Control", "Shift", "Alt", "Meta", "AltGraph", "Shift"]})",
        {u"press a CSAMG"_s, u"release a"_s});
    row("no modifiers", u"key"_s, R"({"key": "a", "modifiers": []})",
        {u"press a"_s, u"release a"_s});
    row("unknown fields", u"key"_s, R"({"key": "a", "keys": 7})", {u"press a"_s, u"release a"_s});
    row("text", u"text"_s, R"({"text": "Grüße 😀\tx"})", {u"type Grüße 😀\tx"_s});
    row("line breaks", u"text"_s, R"({"text": "a\nb\r\nc\rd\r\n"})", {u"type a\nb\nc\nd\n"_s});
    row("no text", u"text"_s, R"({"text": ""})", {u"type "_s});
    row("move", u"move"_s, R"({"dx": 1.5, "dy": -100000})", {u"move 1.5 -100000"_s});
    row("the first pixel", u"moveTo"_s, R"({"x": 0, "y": 0})", {u"to 0 0"_s});
    row("the last pixel", u"moveTo"_s, R"({"screen": 1, "x": 1, "y": 1})", {u"to 301 50"_s});
    row("the middle", u"moveTo"_s, R"({"screen": 0, "x": 0.5, "y": 0.25})", {u"to 50 25"_s});
    row("click", u"button"_s, "{}", {u"button 0 down"_s, u"button 0 up"_s});
    row("double click", u"button"_s, R"({"button": "right", "action": "double"})",
        {u"button 2 down"_s, u"button 2 up"_s, u"button 2 down"_s, u"button 2 up"_s});
    row("middle", u"button"_s, R"({"button": "middle", "action": "click"})",
        {u"button 1 down"_s, u"button 1 up"_s});
    row("back", u"button"_s, R"({"button": "back"})", {u"button 3 down"_s, u"button 3 up"_s});
    row("forward", u"button"_s, R"({"button": "forward"})", {u"button 4 down"_s, u"button 4 up"_s});
    row("press a button", u"button"_s, R"({"action": "press"})", {u"button 0 down"_s});
    row("release no button", u"button"_s, R"({"action": "release"})", {});
    row("scroll", u"scroll"_s, R"({"dx": -12000, "dy": 1})", {u"scroll -12000 1"_s});
    row("a whole number with a fraction", u"scroll"_s, R"({"dx": 0, "dy": 120.0})",
        {u"scroll 0 120"_s});
    row("ping", u"ping"_s, "{}", {});
}

void tst_SessionRequests::requestsAreCarriedOut()
{
    QFETCH(QString, request);
    QFETCH(QByteArray, fields);
    QFETCH(QStringList, calls);
    SessionClient client(path());
    QCOMPARE(errorOf(client, request, fields), u"ok"_s);
    QCOMPARE(record.calls, calls);
}

void tst_SessionRequests::faultyRequestsAreRefused_data()
{
    QTest::addColumn<QString>("request");
    QTest::addColumn<QByteArray>("fields");
    QTest::addColumn<QString>("error");

    int number = 0;
    const auto row = [&number](const QString &request, const QByteArray &fields,
                               const QString &error = u"bad-request"_s) {
        QTest::addRow("%02d %s %s", ++number, qPrintable(request), fields.constData())
            << request << fields << error;
    };
    row(u"key"_s, "{}");
    row(u"key"_s, R"({"key": 7})");
    row(u"key"_s, R"({"key": null})");
    row(u"key"_s, R"({"key": "a", "action": "hold"})");
    row(u"key"_s, R"({"key": "a", "action": 1})");
    row(u"key"_s, R"({"key": "a", "action": null})");
    row(u"key"_s, R"({"key": "a", "modifiers": "Shift"})");
    row(u"key"_s, R"({"key": "a", "modifiers": {}})");
    row(u"key"_s, R"({"key": "a", "modifiers": [1]})");
    row(u"key"_s, R"({"key": "a", "modifiers": ["shift"]})");
    row(u"key"_s, R"({"key": "\ud800"})");
    row(u"key"_s, R"({"key": ""})", u"unknown-key"_s);
    row(u"key"_s, R"({"key": "Entre"})", u"unknown-key"_s);
    row(u"key"_s, R"({"key": "enter"})", u"unknown-key"_s);
    row(u"key"_s, R"({"key": "ab"})", u"unknown-key"_s);
    row(u"key"_s, R"({"key": "\n"})", u"unknown-key"_s);
    row(u"key"_s, R"({"key": "\u0000"})", u"unknown-key"_s);
    row(u"key"_s, R"({"key": "\u0085"})", u"unknown-key"_s);
    row(u"text"_s, "{}");
    row(u"text"_s, R"({"text": 1})");
    row(u"text"_s, R"({"text": ["a"]})");
    row(u"text"_s, R"({"text": "a\u0000b"})", u"bad-text"_s);
    row(u"text"_s, R"({"text": "\u001b"})", u"bad-text"_s);
    row(u"text"_s, R"({"text": "\u007f"})", u"bad-text"_s);
    row(u"text"_s, R"({"text": "\u009b"})", u"bad-text"_s);
    row(u"text"_s, R"({"text": "\ud83d"})", u"bad-text"_s);
    row(u"text"_s, R"({"text": "\ude00\ud83d"})", u"bad-text"_s);
    row(u"move"_s, R"({"dx": 1})");
    row(u"move"_s, R"({"dx": 1, "dy": "1"})");
    row(u"move"_s, R"({"dx": 100000.5, "dy": 0})");
    row(u"move"_s, R"({"dx": 0, "dy": -1e300})");
    row(u"moveTo"_s, R"({"x": 0})");
    row(u"moveTo"_s, R"({"x": 1.01, "y": 0})");
    row(u"moveTo"_s, R"({"x": 0, "y": -0.01})");
    row(u"moveTo"_s, R"({"screen": -1, "x": 0, "y": 0})");
    row(u"moveTo"_s, R"({"screen": 0.5, "x": 0, "y": 0})");
    row(u"moveTo"_s, R"({"screen": "0", "x": 0, "y": 0})");
    row(u"moveTo"_s, R"({"screen": 2, "x": 0, "y": 0})", u"not-found"_s);
    row(u"button"_s, R"({"button": "Left"})");
    row(u"button"_s, R"({"button": 1})");
    row(u"button"_s, R"({"action": "tap"})");
    row(u"scroll"_s, R"({"dx": 0})");
    row(u"scroll"_s, R"({"dx": 0, "dy": 12001})");
    row(u"scroll"_s, R"({"dx": 0.5, "dy": 0})");
    row(u"open"_s, "{}");
    row(u"open"_s, R"({"address": ""})");
    row(u"open"_s, R"({"address": "http://example.net", "application": "Player"})");
    row(u"open"_s, R"({"application": 3})");
    row(u"open"_s, R"({"application": "player"})", u"not-found"_s);
    row(u"pair"_s, R"({"name": "Anna"})");
    row(u"pair"_s, R"({"device": "d"})");
    row(u"pair"_s, R"({"name": "Anna", "device": ""})");
    row(u"pair"_s, R"({"name": "Anna", "device": "\ud800"})");
    row(u"pair"_s, R"({"name": "Anna", "device": ")" + QByteArray(1'025, 'd') + "\"}");
    row(u"ping"_s, R"({"body": 0})");
    row(u"listen"_s, R"({"address": 5})");
    row(u"listen"_s, R"({"address": null})");
    row(u"listen"_s, R"({"address": "\ud800"})");
    row(u"listen"_s, R"({"address": ")" + QByteArray(129, '1') + "\"}");
    row(u"keys"_s, "{}", u"unknown-request"_s);
    row(u""_s, "{}", u"unknown-request"_s);
}

void tst_SessionRequests::faultyRequestsAreRefused()
{
    QFETCH(QString, request);
    QFETCH(QByteArray, fields);
    QFETCH(QString, error);
    SessionClient client(path());
    QCOMPARE(errorOf(client, request, fields), error);
    QCOMPARE(record.calls, QStringList());
    QVERIFY(log.filter(QRegularExpression(u"open|listen"_s)).isEmpty());
    QCOMPARE(errorOf(client, u"ping"_s), u"ok"_s);
}

void tst_SessionRequests::whatTheDesktopCannotDoIsUnsupported_data()
{
    QTest::addColumn<QString>("request");
    QTest::addColumn<QByteArray>("fields");
    QTest::newRow("key") << u"key"_s << QByteArray(R"({"key": "a"})");
    QTest::newRow("text") << u"text"_s << QByteArray(R"({"text": "a"})");
    QTest::newRow("move") << u"move"_s << QByteArray(R"({"dx": 0, "dy": 0})");
    QTest::newRow("moveTo") << u"moveTo"_s << QByteArray(R"({"x": 0, "y": 0})");
    QTest::newRow("click") << u"button"_s << QByteArray(R"({})");
    QTest::newRow("drag") << u"button"_s << QByteArray(R"({"action": "press"})");
    QTest::newRow("scroll") << u"scroll"_s << QByteArray(R"({"dx": 0, "dy": 0})");
}

void tst_SessionRequests::whatTheDesktopCannotDoIsUnsupported()
{
    QFETCH(QString, request);
    QFETCH(QByteArray, fields);
    record.abilities = {};
    SessionClient client(path());
    QCOMPARE(errorOf(client, request, fields), u"unsupported"_s);
    QCOMPARE(record.calls, QStringList());
}

void tst_SessionRequests::inputWaitsForTheConsentOfTheDesktop_data()
{
    whatTheDesktopCannotDoIsUnsupported_data();
}

void tst_SessionRequests::inputWaitsForTheConsentOfTheDesktop()
{
    QFETCH(QString, request);
    QFETCH(QByteArray, fields);
    using Readiness = platform::DesktopInput::Readiness;
    SessionClient client(path());
    record.readiness = Readiness::ConsentPending;
    QCOMPARE(errorOf(client, request, fields), u"consent-pending"_s);
    record.readiness = Readiness::Refused;
    QCOMPARE(errorOf(client, request, fields), u"consent-refused"_s);
    record.readiness = Readiness::Unavailable;
    QCOMPARE(errorOf(client, request, fields), u"failed"_s);
    QCOMPARE(record.calls, QStringList());
    record.readiness = Readiness::Ready;
    QCOMPARE(errorOf(client, request, fields), u"ok"_s);
    QVERIFY(!record.calls.isEmpty());
}

void tst_SessionRequests::aKeyThatTheDesktopDoesNotHaveIsUnknown()
{
    record.succeeds = false;
    SessionClient client(path());
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "F24", "action": "press"})"), u"unknown-key"_s);
    record.succeeds = true;
    record.calls.clear();
    client.leave();
    QVERIFY(waitUntil([this] { return door->sessions() == 0; }));
    QCOMPARE(record.calls, QStringList()); // It is not held.
}

void tst_SessionRequests::unfinishedTextFails()
{
    record.succeeds = false;
    SessionClient client(path());
    QCOMPARE(errorOf(client, u"text"_s, R"({"text": "a"})"), u"failed"_s);
}

void tst_SessionRequests::heldModifiersCountForLaterKeys()
{
    SessionClient client(path());
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "Control", "action": "press"})"), u"ok"_s);
    record.calls.clear();
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "c", "modifiers": ["Shift"]})"), u"ok"_s);
    QCOMPARE(record.calls, (QStringList{u"press c CS"_s, u"release c"_s}));
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "Control", "action": "release"})"), u"ok"_s);
    record.calls.clear();
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "c"})"), u"ok"_s);
    QCOMPARE(record.calls, (QStringList{u"press c"_s, u"release c"_s}));

    SessionClient other(path());
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "Alt", "action": "press"})"), u"ok"_s);
    record.calls.clear();
    QCOMPARE(errorOf(other, u"key"_s, R"({"key": "x"})"), u"ok"_s);
    QCOMPARE(record.calls, (QStringList{u"press x"_s, u"release x"_s}));
}

void tst_SessionRequests::onlyOwnKeysAreReleased()
{
    SessionClient client(path());
    SessionClient other(path());
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a", "action": "press"})"), u"ok"_s);
    QCOMPARE(errorOf(client, u"button"_s, R"({"action": "press"})"), u"ok"_s);
    record.calls.clear();
    QCOMPARE(errorOf(other, u"key"_s, R"({"key": "a", "action": "release"})"), u"ok"_s);
    QCOMPARE(errorOf(other, u"button"_s, R"({"action": "release"})"), u"ok"_s);
    QCOMPARE(record.calls, QStringList());
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a", "action": "release"})"), u"ok"_s);
    QCOMPARE(errorOf(client, u"button"_s, R"({"action": "release"})"), u"ok"_s);
    QCOMPARE(record.calls, (QStringList{u"release a"_s, u"button 0 up"_s}));
}

void tst_SessionRequests::theLastSessionThatHoldsItReleasesIt()
{
    SessionClient client(path());
    auto other = std::make_unique<SessionClient>(path());
    for (SessionClient *holder : {&client, other.get()}) {
        QCOMPARE(errorOf(*holder, u"key"_s, R"({"key": "Shift", "action": "press"})"), u"ok"_s);
        QCOMPARE(errorOf(*holder, u"button"_s, R"({"action": "press"})"), u"ok"_s);
    }
    record.calls.clear();
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "Shift", "action": "release"})"), u"ok"_s);
    QCOMPARE(errorOf(client, u"button"_s, R"({"action": "release"})"), u"ok"_s);
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "Shift"})"), u"ok"_s);
    QCOMPARE(errorOf(client, u"button"_s), u"ok"_s);
    QVERIFY(!record.calls.contains(u"release #%1"_s.arg(int(platform::NamedKey::Shift))));
    QVERIFY(!record.calls.contains(u"button 0 up"_s));

    record.calls.clear();
    other.reset();
    QVERIFY(waitUntil([this] { return record.calls.size() == 2; }));
    QVERIFY(record.calls.contains(u"release #%1"_s.arg(int(platform::NamedKey::Shift))));
    QVERIFY(record.calls.contains(u"button 0 up"_s));
}

void tst_SessionRequests::aKeyIsHeldOnce()
{
    SessionClient client(path());
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a", "action": "press"})"), u"ok"_s);
        QCOMPARE(errorOf(client, u"button"_s, R"({"action": "press"})"), u"ok"_s);
    }
    QCOMPARE(record.calls, (QStringList{u"press a"_s, u"button 0 down"_s}));
}

void tst_SessionRequests::heldKeysAreLimited()
{
    SessionClient client(path());
    for (int i = 0; i < 32; ++i) {
        const QByteArray key(1, static_cast<char>('A' + i));
        const QByteArray escaped = key == "\\" ? "\\\\" : key;
        QCOMPARE(errorOf(client, u"key"_s, R"({"action": "press", "key": ")" + escaped + "\"}"),
                 u"ok"_s);
    }
    QCOMPARE(errorOf(client, u"key"_s, R"({"action": "press", "key": "é"})"), u"too-much"_s);
    QCOMPARE(errorOf(client, u"key"_s, R"({"action": "release", "key": "A"})"), u"ok"_s);
    QCOMPARE(errorOf(client, u"key"_s, R"({"action": "press", "key": "é"})"), u"ok"_s);
}

void tst_SessionRequests::addressesAndApplicationsAreOpened()
{
    SessionClient client(path());
    QCOMPARE(errorOf(client, u"open"_s, R"({"address": "http://example.net/?a=%20"})"), u"ok"_s);
    QCOMPARE(errorOf(client, u"open"_s, R"({"application": "Editor"})"), u"ok"_s);
    openingReply = SessionReply::refused(u"refused"_s, u"No."_s);
    QCOMPARE(errorOf(client, u"open"_s, R"({"address": "-x"})"), u"refused"_s);
    QCOMPARE(log,
             (QStringList{u"open http://example.net/?a=%20"_s, u"start Editor"_s, u"open -x"_s}));
}

void tst_SessionRequests::applicationsAreListed()
{
    SessionClient client(path());
    QCOMPARE(client.ask(u"applications"_s).fields.value("applications"_L1).toArray(),
             (QJsonArray{u"Player"_s, u"Editor"_s}));
}

void tst_SessionRequests::theClipboardIsServed()
{
    SessionClient client(path());
    QVERIFY(client.ask(u"clipboard.watch"_s).isOk());
    QVERIFY(client.ask(u"clipboard.set"_s, {{u"text"_s, u"one"_s}}).isOk());
    QVERIFY(client.event(u"clipboard"_s));
    QVERIFY(client.ask(u"clipboard.set"_s, {{u"more"_s, true}}, "tw").isOk());
    QVERIFY(client.ask(u"clipboard.set"_s, {}, "o").isOk());
    QCOMPARE(clipboard.content, u"two"_s);
    const SessionMessage answer = client.ask(u"clipboard.get"_s);
    QCOMPARE(answer.fields.value("size"_L1).toInt(), 3);
    QCOMPARE(answer.body, QByteArray("two"));
}

void tst_SessionRequests::aPieceIsWrittenAsItComes()
{
    const auto written = [this] {
        const QFileInfoList drafts =
            QDir(downloads.path()).entryInfoList(QDir::Files | QDir::Hidden);
        return drafts.isEmpty() ? -1 : drafts.first().size();
    };
    SessionClient client(path());
    client.greeting();
    client.ask(u"file.put"_s, {{u"name"_s, u"a"_s}, {u"size"_s, 1'000'000}});
    client.sendBytes(R"({"id":"one","request":"file.put","file":1,"body":1000000})"
                     "\nabc");
    QVERIFY(waitUntil([&] { return written() == 3; }));
    client.sendBytes(QByteArray(600'000, 'd'));
    QVERIFY(waitUntil([&] { return written() == 600'003; }));
    client.sendBytes(QByteArray(399'997, 'e'));
    const SessionMessage answer = client.next().value_or(SessionMessage());
    QVERIFY(answer.isOk());
    QCOMPARE(answer.fields.value("id"_L1), u"one"_s);
    QCOMPARE(Folders::fileBytes(downloads.filePath(u"a"_s)),
             "abc" + QByteArray(600'000, 'd') + QByteArray(399'997, 'e'));
}

void tst_SessionRequests::filesAreServed()
{
    SessionClient client(path());
    const QJsonObject begin = {{u"name"_s, u"a.txt"_s}, {u"size"_s, 4}, {u"open"_s, true}};
    const QJsonObject transfer = {{u"file"_s, client.ask(u"file.put"_s, begin).fields["file"_L1]}};
    QCOMPARE(client.ask(u"file.put"_s, transfer, "te").fields["received"_L1].toInt(), 2);
    QVERIFY(client.ask(u"file.put"_s, transfer, "xt").fields["complete"_L1].toBool());
    QCOMPARE(log, QStringList{u"open file://"_s + downloads.path() + u"/a.txt"_s});
    QCOMPARE(client.ask(u"file.list"_s).fields["files"_L1].toArray().size(), 1);
    QCOMPARE(client.ask(u"file.get"_s, {{u"name"_s, u"a.txt"_s}}).body, QByteArray("text"));
    QCOMPARE(errorOf(client, u"file.cancel"_s, R"({"file": 7})"), u"not-found"_s);
}

void tst_SessionRequests::screensAreServed()
{
    SessionClient client(path());
    QCOMPARE(client.ask(u"screens"_s).fields["screens"_L1].toArray().size(), 2);
    QVERIFY(client.ask(u"watch"_s).isOk());
    screens.screens.removeLast();
    screens.changed();
    const auto event = client.event(u"screens"_s);
    QVERIFY(event);
    QCOMPARE(event->fields["screens"_L1].toArray().size(), 1);
}

void tst_SessionRequests::aRefusalEndsWatchesAndTransfers()
{
    SessionClient client(path());
    const QJsonObject begin = {{u"name"_s, u"a.txt"_s}, {u"size"_s, 4}};
    QVERIFY(client.ask(u"file.put"_s, begin).isOk());
    QVERIFY(client.ask(u"watch"_s).isOk());
    QVERIFY(client.ask(u"clipboard.watch"_s).isOk());
    QVERIFY(!Folders::listing(downloads.path()).isEmpty());
    accepts = false;
    QCOMPARE(errorOf(client, u"pair"_s, R"({"name": "n", "device": "d"})"), u"refused"_s);
    QVERIFY(Folders::listing(downloads.path()).isEmpty());
    QVERIFY(!screens.changed);
    QVERIFY(!clipboard.changed);
}

void tst_SessionRequests::anAcceptedDeviceIsConnected()
{
    SessionClient client(path());
    const QByteArray device(1'024, 'd');
    const QByteArray fields = R"({"name": "Anna's phone", "device": ")" + device + "\"}";
    QCOMPARE(errorOf(client, u"pair"_s, fields), u"ok"_s);
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a"})"), u"ok"_s);
    client.leave();
    QVERIFY(waitUntil([this] { return door->sessions() == 0; }));
    QCOMPARE(log, (QStringList{u"decide "_s + QString::fromLatin1(device) + u" Anna's phone"_s,
                               u"connected Anna's phone"_s, u"disconnected Anna's phone"_s}));
}

void tst_SessionRequests::theFirstInputConnectsTheProgram()
{
    SessionClient client(path());
    QCOMPARE(errorOf(client, u"ping"_s), u"ok"_s);
    QCOMPARE(errorOf(client, u"applications"_s), u"ok"_s);
    QCOMPARE(log, QStringList());
    QCOMPARE(errorOf(client, u"scroll"_s, R"({"dx": 0, "dy": 1})"), u"ok"_s);
    QCOMPARE(errorOf(client, u"scroll"_s, R"({"dx": 0, "dy": 1})"), u"ok"_s);
    QCOMPARE(log, QStringList{u"connected tst_SessionRequ"_s}); // As long as the system tells it.
}

void tst_SessionRequests::aRefusedDeviceIsServedNothing()
{
    SessionClient client(path());
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "Shift", "action": "press"})"), u"ok"_s);
    QCOMPARE(errorOf(client, u"button"_s, R"({"action": "press"})"), u"ok"_s);
    accepts = false;
    record.calls.clear();
    const QByteArray device = R"({"name": "n", "device": "d"})";
    QCOMPARE(errorOf(client, u"pair"_s, device), u"refused"_s);
    QCOMPARE(record.calls.size(), 2); // Both are released.
    record.calls.clear();
    for (const char *name : {"key", "text", "move", "open", "applications", "button", "scroll"}) {
        QCOMPARE(errorOf(client, QString::fromLatin1(name), R"({"key": "a", "text": "a"})"),
                 u"refused"_s);
    }
    QCOMPARE(errorOf(client, u"ping"_s), u"ok"_s);
    QCOMPARE(errorOf(client, u"nonsense"_s), u"unknown-request"_s);
    QCOMPARE(record.calls, QStringList());
    accepts = true;
    QCOMPARE(errorOf(client, u"pair"_s, device), u"ok"_s);
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a"})"), u"ok"_s);
    QCOMPARE(record.calls, (QStringList{u"press a"_s, u"release a"_s}));
}

void tst_SessionRequests::namesArePlainAndShort()
{
    SessionClient client(path());
    const QByteArray name = "<b>\\u202eAnna\\n" + QByteArray(200, 'x');
    QCOMPARE(errorOf(client, u"pair"_s, R"({"device": "d", "name": ")" + name + "\"}"), u"ok"_s);
    QCOMPARE(log.constLast(), u"connected <b> Anna "_s + QString(70, u'x') + u'…');
}

void tst_SessionRequests::theServerIsAskedWhereItListens()
{
    SessionClient client(path());
    QCOMPARE(client.ask(u"listen"_s).fields.value("address"_L1).toString(), u"127.0.0.1"_s);
    QCOMPARE(errorOf(client, u"listen"_s, R"({"address": ""})"), u"ok"_s);
    QCOMPARE(errorOf(client, u"listen"_s, R"({"address": "::1"})"), u"ok"_s);
    QCOMPARE(log, (QStringList{u"listen -"_s, u"listen "_s, u"listen ::1"_s}));
}

void tst_SessionRequests::aDeviceDoesNotChangeWhereTheServerListens()
{
    for (const bool isAccepted : {true, false}) {
        accepts = isAccepted;
        SessionClient client(path());
        QVERIFY(client.ask(u"pair"_s, {{u"name"_s, u"Anna"_s}, {u"device"_s, u"d"_s}}).isOk() ==
                isAccepted);
        QCOMPARE(errorOf(client, u"listen"_s), u"refused"_s);
        QCOMPARE(errorOf(client, u"listen"_s, R"({"address": ""})"), u"refused"_s);
    }
    QVERIFY(log.filter(u"listen"_s).isEmpty());
}

void tst_SessionRequests::aServerThatCouldNotStartServesOnlyWhatMendsIt()
{
    SessionClient client(path());
    isListening = false;
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a"})"), u"failed"_s);
    QCOMPARE(errorOf(client, u"pair"_s, R"({"name": "Anna", "device": "d"})"), u"failed"_s);
    QCOMPARE(errorOf(client, u"file.list"_s), u"failed"_s);
    QCOMPARE(errorOf(client, u"ping"_s), u"ok"_s);
    QCOMPARE(errorOf(client, u"listen"_s), u"ok"_s);
    QCOMPARE(record.calls, QStringList());
    QCOMPARE(log, QStringList{u"listen -"_s});
    isListening = true;
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a"})"), u"ok"_s);
}

QTEST_GUILESS_MAIN(tst_SessionRequests)
#include "tst_SessionRequests.moc"
