// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "doubles/MemorySocket.h"
#include "doubles/RecordingDesktop.h"
#include "doubles/RecordingHost.h"
#include "net/ClientHandler.h"
#include "server/Server.h"
#include "support/MessageRecorder.h"
#include "support/protocol/ServedPeer.h"
#include "support/protocol/SocketPair.h"
#include "support/session/PrivateHome.h"

#include <QApplication>
#include <QClipboard>
#include <QImage>
#include <QMimeData>
#include <QTest>

#include <functional>
#include <memory>
#include <stdexcept>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(std::function<void()>)

namespace {

/// The types of the pointer events in their order, such as "1 3" for a press and a release.
QString typesOf(const std::vector<EventRecord::MousePost> &posts)
{
    QStringList types;
    for (const EventRecord::MousePost &post : posts) {
        for (const platform::MouseEvent &event : post.events) {
            types.append(QString::number(static_cast<int>(event.type)));
        }
    }
    return types.join(u' ');
}

const char *const leftClick = "1 2";
const char *const rightClick = "3 4";
const char *const centerClick = "25 26";
const char *const move = "5";

QByteArray command(const QByteArray &type, const QByteArray &rest = QByteArray())
{
    return "{\n    cmdType = \"" + type + "\";\n    " + rest + "\n}";
}

} // namespace

class tst_ServerCommands : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void otherCommandsAreIgnored_data();
    void otherCommandsAreIgnored();
    void theLastNamedCommandStaysInForce();

    void pairingIsAnsweredWithItsParameters();
    void pairingStoresTheDevicesName();
    void pairingMayLackItsParameters_data();
    void pairingMayLackItsParameters();

    void serverInfoReturnsHeightThenWidth();
    void serverInfoReplacesTheParameters();

    void keysAreTypedWithoutAnAnswer();
    void keysAreTypedBeforeAnyPairing();
    void withoutAKeyTheEmptyTextIsTyped();
    void pointerCodesAreNumbers_data();
    void pointerCodesAreNumbers();
    void withoutACodeTheLeftButtonIsClicked();
    void thePointerMovesByTwoNumbers_data();
    void thePointerMovesByTwoNumbers();
    void aMoveReusesEarlierParameters();
    void whateverAMoveThrowsIsReported_data();
    void whateverAMoveThrowsIsReported();
    void applicationCommandsDoNothing();

    void addressesAreOpened_data();
    void addressesAreOpened();
    void anEmptyAddressIsAnsweredAllTheSame();
    void anAddressIsReportedInOneByteLetters();
    void anOptionIsAnsweredAndNotOpened();
    void openingsOfAllPeersAreCountedTogether();

    void textGoesToTheClipboard();
    void theClipboardIsAnswered_data();
    void theClipboardIsAnswered();
    void aClipboardWithoutTextIsAnError_data();
    void aClipboardWithoutTextIsAnError();
    void textSentThenAskedForComesBack();
    void aSlowClipboardHoldsNobodyElseUp();
    void aSlowClipboardIsAnsweredBeforeTheNextCommand_data();
    void aSlowClipboardIsAnsweredBeforeTheNextCommand();
    void commandsOfADeviceThatLeftAreCarriedOutBehindTheClipboard();
    void aSlowClipboardMayOutlastTheDevice();
    void aTextOfSixteenMebibytesIsTheLongest();
    void theSameTextIsInMemoryOnce();

    void aFileIsReceivedAndOpened();
    void aSizeThatIsNoNumberIsZero_data();
    void aSizeThatIsNoNumberIsZero();
    void aFileMayLackItsParameters();
    void aFilesNameIsOpenedAsAnAddressIs_data();
    void aFilesNameIsOpenedAsAnAddressIs();

    void answersCarryWhatEarlierMessagesLeft();
    void connectionsHaveMapsOfTheirOwn();

private:
    /// True if the next answer is the one to a question asked now.
    bool hasNotAnswered()
    {
        return peer->ask(command("SERVER_INFO")).value(u"cmdType"_s) == u"SERVER_INFO"_s;
    }

    std::unique_ptr<PrivateHome> home;
    QString pointerEvents() const { return typesOf(host.events.mousePosts()); }

    RecordingHost host;
    std::unique_ptr<MessageRecorder> messages;
    std::unique_ptr<RecordingDesktop> desktop;
    std::unique_ptr<Server> server;
    std::unique_ptr<ServedPeer> peer;
};

void tst_ServerCommands::init()
{
    home = std::make_unique<PrivateHome>();
    QSettings().setValue("downloadDirectory", home->subdirectory(u"received"_s));
    messages = std::make_unique<MessageRecorder>();
    desktop = std::make_unique<RecordingDesktop>();
    host.reset();
    QGuiApplication::clipboard()->clear();
    server = std::make_unique<Server>(nullptr, host.serverAdapters());
    QVERIFY(server->startServer());
    peer = std::make_unique<ServedPeer>(*server);
    QVERIFY(peer->served() != nullptr);
}

void tst_ServerCommands::cleanup()
{
    peer.reset();
    server.reset();
    desktop.reset();
    messages.reset();
    QSettings().clear();
    home.reset();
}

// ---- The frame ----------------------------------------------------------------------------------

void tst_ServerCommands::otherCommandsAreIgnored_data()
{
    QTest::addColumn<QByteArray>("chunk");

    for (const char *name : {"server_pair", "Server_Pair", "SERVER_PAI", "SERVER_PAIRS", "URL OPEN",
                             "KEYBOARD", "", "OK"}) {
        QTest::addRow("'%s'", name) << command(name, "fncCommand = A;");
    }
    QTest::newRow("no command") << QByteArray("{ fncCommand = A; }");
    QTest::newRow("other key") << QByteArray("{ cmdtype = KEYBOARD_CMD; fncCommand = A; }");
    QTest::newRow("list") << QByteArray("{ cmdType = (KEYBOARD_CMD, b); fncCommand = A; }");
    QTest::newRow("answer") << QByteArray("{ serverResponse = OK; }");
}

void tst_ServerCommands::otherCommandsAreIgnored()
{
    QFETCH(QByteArray, chunk);
    QVERIFY(peer->send(chunk));
    QVERIFY(host.events.calls.empty());
    QCOMPARE(messages->all(), QStringList());
    QVERIFY(hasNotAnswered());
}

void tst_ServerCommands::theLastNamedCommandStaysInForce()
{
    QVERIFY(peer->send(command("KEYBOARD_CMD", "fncCommand = A;")));
    QVERIFY(peer->send("{ fncCommand = B; }"));
    const auto typed = host.events.keyboardEvents();
    QCOMPARE(typed.size(), 4U);
    QCOMPARE(typed[2].code, quint16(11));
}

// ---- SERVER_PAIR --------------------------------------------------------------------------------

void tst_ServerCommands::pairingIsAnsweredWithItsParameters()
{
    const TokenMap answer =
        peer->ask(command("SERVER_PAIR", "cmdParameters = (\n\"id 1\",\n\"My device\"\n);"));
    const TokenMap expected = {{u"cmdType"_s, u"SERVER_PAIR"_s},
                               {u"cmdParameters"_s, QStringList{u"id 1"_s, u"My device"_s}},
                               {u"serverResponse"_s, u"OK"_s}};
    QCOMPARE(answer, expected);
    QCOMPARE(messages->all(), QStringList{u"warning: Device Connected "_s});
    server->setNeedsPairingApproval(true);
    QVERIFY(server->deviceIsPresent(u"id 1"_s));
    QVERIFY(!server->deviceIsPresent(u"My device"_s));
}

void tst_ServerCommands::pairingStoresTheDevicesName()
{
    MemorySocket socket;
    ClientHandler handler(&socket);
    connect(&handler, SIGNAL(tokenAvailable()), server.get(), SLOT(serveClient()));
    socket.receive(command("SERVER_PAIR", "cmdParameters = (id, My device, other);"));
    emit socket.readyRead();
    QVERIFY(waitUntil([&] { return !socket.takeWritten().isEmpty(); }));
    QCOMPARE(handler.deviceName, u"My device"_s);
}

void tst_ServerCommands::pairingMayLackItsParameters_data()
{
    QTest::addColumn<QByteArray>("parameters");
    QTest::addColumn<QString>("identifier");

    QTest::newRow("none") << QByteArray() << "";
    QTest::newRow("empty list") << QByteArray("cmdParameters = ();") << "";
    QTest::newRow("one") << QByteArray("cmdParameters = (id);") << "id";
    QTest::newRow("text instead of a list") << QByteArray("cmdParameters = id;") << "id";
}

void tst_ServerCommands::pairingMayLackItsParameters()
{
    QFETCH(QByteArray, parameters);
    QFETCH(QString, identifier);
    const TokenMap answer = peer->ask(command("SERVER_PAIR", parameters));
    QCOMPARE(response(answer), u"OK"_s);
    server->setNeedsPairingApproval(true);
    QVERIFY(server->deviceIsPresent(identifier));
}

// ---- SERVER_INFO --------------------------------------------------------------------------------

void tst_ServerCommands::serverInfoReturnsHeightThenWidth()
{
    const TokenMap expected = {
        {u"cmdType"_s, u"SERVER_INFO"_s},
        {u"cmdParameters"_s, QStringList{u"1080"_s, u"1920"_s, u"MAC-OSX"_s}},
        {u"serverResponse"_s, u"OK"_s}};
    QCOMPARE(peer->ask(command("SERVER_INFO")), expected);
    QCOMPARE(messages->all(), QStringList());
}

void tst_ServerCommands::serverInfoReplacesTheParameters()
{
    const TokenMap answer = peer->ask(command("SERVER_INFO", "cmdParameters = (a, b);"));
    QCOMPARE(answer.value(u"cmdParameters"_s).toStringList(),
             QStringList({u"1080"_s, u"1920"_s, u"MAC-OSX"_s}));
}

// ---- Input --------------------------------------------------------------------------------------

void tst_ServerCommands::keysAreTypedWithoutAnAnswer()
{
    peer->ask(command("SERVER_PAIR", "cmdParameters = (id, name);"));
    messages->clear();
    QVERIFY(peer->send(command("KEYBOARD_CMD", "fncCommand = \"Cmd+Q\";")));
    const std::vector<platform::KeyboardEvent> expected = {
        {12, true, platform::Flag::Command, platform::EventTap::Session},
        {12, false, platform::Flag::Command, platform::EventTap::Session}};
    QVERIFY(host.events.keyboardEvents() == expected);
    QCOMPARE(messages->all(), QStringList());
    QVERIFY(hasNotAnswered());
}

void tst_ServerCommands::keysAreTypedBeforeAnyPairing()
{
    server->setNeedsPairingApproval(true);
    QVERIFY(peer->send(command("KEYBOARD_CMD", "fncCommand = a;")));
    QCOMPARE(host.events.keyboardEvents().size(), 2U);
}

void tst_ServerCommands::withoutAKeyTheEmptyTextIsTyped()
{
    QVERIFY(peer->send(command("KEYBOARD_CMD")));
    QVERIFY(host.events.calls.empty());
    QCOMPARE(messages->warnings().size(), 2);
    QVERIFY(messages->warnings().at(0).startsWith(u"KeyCode not vailable for "_s));
    QCOMPARE(messages->warnings().at(1), u"\"Problem executing the shortcut: \" "_s);
}

void tst_ServerCommands::pointerCodesAreNumbers_data()
{
    QTest::addColumn<QString>("events");

    const auto row = [](const char *code, const char *events) { QTest::newRow(code) << events; };
    row("0", leftClick);
    row("1", rightClick);
    row("2", centerClick);
    row("3", leftClick);
    row("5", "");
    row("-1", "");
    row("99", "");
    row("2147483647", "");
    row("abc", leftClick);
    row("1x", leftClick);
    row("1.0", leftClick);
    row("0x1", leftClick);
    row("1 2", leftClick);
    row("2147483648", leftClick);
    row("99999999999999999999", leftClick);
    row("+1", rightClick);
    row("01", rightClick);
    row("-0", leftClick);
    row("(1)", rightClick);
    row("(1, 2)", leftClick);
}

void tst_ServerCommands::pointerCodesAreNumbers()
{
    QVERIFY(peer->send(
        command("MOUSE_CMD", "fncCommand = " + QByteArray(QTest::currentDataTag()) + ";")));
    QTEST(pointerEvents(), "events");
    QCOMPARE(messages->all(), QStringList());
    QVERIFY(hasNotAnswered());
}

void tst_ServerCommands::withoutACodeTheLeftButtonIsClicked()
{
    QVERIFY(peer->send(command("MOUSE_CMD")));
    QCOMPARE(pointerEvents(), QString::fromLatin1(leftClick));
    QVERIFY(peer->send(command("MOUSE_CMD", "fncCommand = ;")));
    QCOMPARE(pointerEvents(), u"1 2 1 2"_s);
}

void tst_ServerCommands::thePointerMovesByTwoNumbers_data()
{
    QTest::addColumn<QByteArray>("parameters");
    QTest::addColumn<QList<double>>("position");

    const QList<double> nowhere;
    const auto row = [](const char *parameters, const QList<double> &position) {
        QTest::newRow(parameters) << QByteArray(parameters) << position;
    };
    row("(\"10\", \"-5\")", {110, 45});
    row("(10, -5)", {110, 45});
    row("(0, 0)", {100, 50});
    row("(abc, 7)", {100, 57});
    row("(7, abc)", {107, 50});
    row("(1.5, 2)", {100, 52});
    row("(2147483648, 1)", {100, 51});
    row("(, )", nowhere);
    row("(, 3)", {100, 53});
    row("(10)", nowhere);
    row("(10, -5, 0)", nowhere);
    row("()", nowhere);
    row("10", nowhere);
    row("", nowhere);
}

void tst_ServerCommands::thePointerMovesByTwoNumbers()
{
    QFETCH(QByteArray, parameters);
    QFETCH(QList<double>, position);
    host.events.location = {100, 50};
    QVERIFY(
        peer->send(command("MOUSE_CMD", "fncCommand = 4; cmdParameters = " + parameters + ";")));
    QCOMPARE(pointerEvents(), position.isEmpty() ? QString() : QString::fromLatin1(move));
    if (!position.isEmpty()) {
        const platform::Location expected{position[0], position[1]};
        QVERIFY(host.events.mousePosts()[0].events[0].position == expected);
    }
    QCOMPARE(messages->all(), QStringList());
}

void tst_ServerCommands::aMoveReusesEarlierParameters()
{
    QVERIFY(peer->send(command("MOUSE_CMD", "fncCommand = 4; cmdParameters = (10, -5);")));
    QVERIFY(peer->send(command("MOUSE_CMD", "fncCommand = 4;")));
    QCOMPARE(host.events.mousePosts().size(), 2U);
    QVERIFY(host.events.mousePosts()[0] == host.events.mousePosts()[1]);
}

void tst_ServerCommands::whateverAMoveThrowsIsReported_data()
{
    using Throw = std::function<void()>;
    QTest::addColumn<Throw>("doThrow");
    QTest::newRow("a standard exception") << Throw([] { throw std::runtime_error("no"); });
    QTest::newRow("anything") << Throw([] { throw 1; });
}

void tst_ServerCommands::whateverAMoveThrowsIsReported()
{
    QFETCH(std::function<void()>, doThrow);
    host.events.onLocationQuestion = doThrow;
    QVERIFY(peer->send(command("MOUSE_CMD", "fncCommand = 4; cmdParameters = (1, 2);")));
    QCOMPARE(messages->all(), QStringList{u"debug: Bad parameters array... "_s});
    QVERIFY(host.events.mousePosts().empty());
    QVERIFY(hasNotAnswered());
}

void tst_ServerCommands::applicationCommandsDoNothing()
{
    host.scripting.applications.insert(u"com.apple.finder"_s, {true, u"Files"_s});
    QVERIFY(peer->send(
        command("APPLICATION_CMD", "fncCommand = quit; cmdParameters = (Finder, Finder);")));
    QVERIFY(host.events.calls.empty());
    QCOMPARE(host.scripting.calls, QStringList());
    QCOMPARE(messages->all(), QStringList());
    QVERIFY(hasNotAnswered());
}

// ---- Addresses ----------------------------------------------------------------------------------

void tst_ServerCommands::addressesAreOpened_data()
{
    QTest::addColumn<QString>("url");

    QTest::newRow("web") << "http://example.net/a?b=c";
    QTest::newRow("secure web") << "https://example.net";
    QTest::newRow("file") << "file:///etc/hostname";
}

void tst_ServerCommands::addressesAreOpened()
{
    QFETCH(QString, url);
    const TokenMap answer =
        peer->ask(command("URL_OPEN", "fncCommand = \"" + url.toLatin1() + "\";"));
    const TokenMap expected = {
        {u"cmdType"_s, u"URL_OPEN"_s}, {u"fncCommand"_s, url}, {u"serverResponse"_s, u"OK"_s}};
    QCOMPARE(answer, expected);
    QCOMPARE(desktop->opened, QStringList{url});
    QCOMPARE(messages->all(), QStringList{u"warning: Opening URL:  "_s + url + u" "_s});
}

void tst_ServerCommands::anEmptyAddressIsAnsweredAllTheSame()
{
    QCOMPARE(response(peer->ask(command("URL_OPEN"))), u"OK"_s);
    QCOMPARE(response(peer->ask(command("URL_OPEN", "fncCommand = ;"))), u"OK"_s);
    QCOMPARE(messages->warnings().value(0), u"Opening URL:   "_s);
    QCOMPARE(desktop->opened, QStringList());
}

/// The wire brings one byte a character only, so the address is put into the map by hand.
void tst_ServerCommands::anAddressIsReportedInOneByteLetters()
{
    const QString url = u"http://example.net/\u00e9\u20ac"_s;
    SocketPair pair;
    ClientHandler client(pair.accepted.get());
    client.token = {{u"cmdType"_s, u"URL_OPEN"_s}, {u"fncCommand"_s, url}};
    connect(&client, SIGNAL(tokenAvailable()), server.get(), SLOT(serveClient()));
    emit client.tokenAvailable();
    QCOMPARE(messages->warnings(), QStringList{u"Opening URL:  http://example.net/\u00e9? "_s});
    QCOMPARE(desktop->opened, QStringList{url});
}

void tst_ServerCommands::anOptionIsAnsweredAndNotOpened()
{
    QDesktopServices::setUrlHandler(QString(), desktop.get(), "open");
    QCOMPARE(response(peer->ask(command("URL_OPEN", "fncCommand = --help;"))), u"OK"_s);
    QDesktopServices::unsetUrlHandler(QString());
    QCOMPARE(desktop->opened, QStringList());
    QCOMPARE(messages->all(),
             QStringList({u"warning: Opening URL:  --help "_s,
                          u"warning: Not opened: an address must not begin with \"-\". "_s}));
}

void tst_ServerCommands::openingsOfAllPeersAreCountedTogether()
{
    peer.reset();
    server.reset();
    ServerAdapters adapters = host.serverAdapters();
    adapters.opener = Opener([time = std::chrono::steady_clock::now()] { return time; });
    server = std::make_unique<Server>(nullptr, std::move(adapters));
    QVERIFY(server->startServer());
    ServedPeer one(*server);
    ServedPeer two(*server);
    for (int number = 0; number < 20; ++number) {
        QCOMPARE(response(one.ask(command("URL_OPEN", "fncCommand = http://example.net/;"))),
                 u"OK"_s);
        two.post(command("FILE_TRANSFER_AND_OPEN", "cmdParameters = (photo.jpg, 0);"));
        QCOMPARE(response(two.answer()), u"START_BINARY_TRANSFER"_s);
        QCOMPARE(response(two.answer()), u"OK"_s);
    }
    QCOMPARE(desktop->opened.size(), 40);
    messages->clear();
    const QString complaint = u"Not opened: too many addresses and files at once. "_s;
    for (int number = 0; number < 20; ++number) {
        QCOMPARE(response(two.ask(command("URL_OPEN", "fncCommand = http://example.net/;"))),
                 u"OK"_s);
    }
    QCOMPARE(desktop->opened.size(), 50);
    QCOMPARE(messages->warnings().count(complaint), 10);
    // A file is stored and answered all the same.
    one.post(command("FILE_TRANSFER_AND_OPEN", "cmdParameters = (late.jpg, 0);"));
    QCOMPARE(response(one.answer()), u"START_BINARY_TRANSFER"_s);
    QCOMPARE(response(one.answer()), u"OK"_s);
    QVERIFY(QFile::exists(home->path(u"received/late.jpg"_s)));
    QCOMPARE(desktop->opened.size(), 50);
    QCOMPARE(messages->warnings().count(complaint), 11);
}

// ---- The clipboard ------------------------------------------------------------------------------

void tst_ServerCommands::textGoesToTheClipboard()
{
    const TokenMap answer = peer->ask(command("TEXT_TRANSFER_AND_OPEN", "fncCommand = hello;"));
    const TokenMap expected = {{u"cmdType"_s, u"TEXT_TRANSFER_AND_OPEN"_s},
                               {u"fncCommand"_s, u""_s},
                               {u"serverResponse"_s, u"OK"_s}};
    QCOMPARE(answer, expected);
    QCOMPARE(QGuiApplication::clipboard()->text(), u"hello"_s);
    QCOMPARE(messages->all(), QStringList{u"warning: You have text in clipboard... "_s});
    QCOMPARE(desktop->opened, QStringList());
}

void tst_ServerCommands::theClipboardIsAnswered_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("text") << "hello";
    QTest::newRow("empty text") << "";
    QTest::newRow("Latin-1") << u"\u00e9\u00ff"_s;
}

void tst_ServerCommands::theClipboardIsAnswered()
{
    QFETCH(QString, text);
    QGuiApplication::clipboard()->setText(text);
    const TokenMap expected = {{u"cmdType"_s, u"SERVER_CLIPBOARD_REQUEST"_s},
                               {u"cmdParameters"_s, QStringList{text}},
                               {u"serverResponse"_s, u"OK"_s}};
    QCOMPARE(peer->ask(command("SERVER_CLIPBOARD_REQUEST", "cmdParameters = (a, b);")), expected);
    QCOMPARE(messages->all(), QStringList());
}

void tst_ServerCommands::aClipboardWithoutTextIsAnError_data()
{
    QTest::addColumn<QString>("content");
    QTest::newRow("nothing") << "nothing";
    QTest::newRow("image") << "image";
    QTest::newRow("only HTML") << "html";
}

void tst_ServerCommands::aClipboardWithoutTextIsAnError()
{
    QFETCH(QString, content);
    auto *data = new QMimeData;
    if (content == u"image"_s) {
        data->setImageData(QImage(1, 1, QImage::Format_RGB32));
    } else if (content == u"html"_s) {
        data->setHtml(u"<b>bold</b>"_s);
    }
    QGuiApplication::clipboard()->setMimeData(data);
    const TokenMap expected = {{u"cmdType"_s, u"SERVER_CLIPBOARD_REQUEST"_s},
                               {u"cmdParameters"_s, QStringList{u"a"_s, u"b"_s}},
                               {u"serverResponse"_s, u"ERROR"_s}};
    QCOMPARE(peer->ask(command("SERVER_CLIPBOARD_REQUEST", "cmdParameters = (a, b);")), expected);
}

void tst_ServerCommands::textSentThenAskedForComesBack()
{
    peer->ask(
        command("TEXT_TRANSFER_AND_OPEN", "fncCommand = \"[[[IGNORE]]]a;b[[[ENDIGNORE]]]\";"));
    const TokenMap answer = peer->ask(command("SERVER_CLIPBOARD_REQUEST"));
    QCOMPARE(QGuiApplication::clipboard()->text(), u"a;b"_s);
    QCOMPARE(response(answer), u"OK"_s);
}

void tst_ServerCommands::aSlowClipboardHoldsNobodyElseUp()
{
    host.isClipboardSlow = true;
    ServedPeer other(*server);
    QVERIFY(peer->send(command("SERVER_CLIPBOARD_REQUEST")));
    QVERIFY(other.send(command("SERVER_CLIPBOARD_REQUEST")));
    QCOMPARE(host.waitingReaders.size(), 2U);
    ServedPeer third(*server);
    QVERIFY(third.send(command("KEYBOARD_CMD", "fncCommand = A;")));
    QCOMPARE(host.events.keyboardEvents().size(), 2U);
    QCOMPARE(response(third.ask(command("SERVER_INFO"))), u"OK"_s);
    QCOMPARE(peer->received(), QByteArray());
    QCOMPARE(other.received(), QByteArray());
    host.waitingReaders[1](u"second"_s);
    QCOMPARE(other.answer().value(u"cmdParameters"_s).toStringList(), QStringList{u"second"_s});
    QCOMPARE(peer->received(), QByteArray());
    host.waitingReaders[0](u"first"_s);
    QCOMPARE(peer->answer().value(u"cmdParameters"_s).toStringList(), QStringList{u"first"_s});
}

void tst_ServerCommands::aTextOfSixteenMebibytesIsTheLongest()
{
    constexpr qsizetype longest = 16 * 1024 * 1024;
    host.isClipboardSlow = true;
    QVERIFY(peer->send(command("SERVER_CLIPBOARD_REQUEST")));
    host.waitingReaders.at(0)(QString(longest + 1, u'x'));
    QCOMPARE(response(peer->answer()), u"ERROR"_s);
    QVERIFY(peer->send(command("SERVER_CLIPBOARD_REQUEST")));
    host.waitingReaders.at(1)(QString(longest, u'x'));
    const TokenMap answer = peer->answer();
    QCOMPARE(response(answer), u"OK"_s);
    QCOMPARE(answer.value(u"cmdParameters"_s).toStringList().value(0).size(), longest);
}

void tst_ServerCommands::theSameTextIsInMemoryOnce()
{
    host.isClipboardSlow = true;
    std::array<MemorySocket, 3> sockets;
    std::array<ClientHandler, 3> handlers = {ClientHandler(&sockets[0]), ClientHandler(&sockets[1]),
                                             ClientHandler(&sockets[2])};
    for (size_t number = 0; number < handlers.size(); ++number) {
        connect(&handlers[number], SIGNAL(tokenAvailable()), server.get(), SLOT(serveClient()));
        sockets[number].receive(command("SERVER_CLIPBOARD_REQUEST"));
        emit sockets[number].readyRead();
        QVERIFY(waitUntil([&] { return host.waitingReaders.size() == number + 1; }));
        // Each time another copy, as if it had been asked of its owner again.
        host.waitingReaders[number](QString(1'000, number < 2 ? u'x' : u'y'));
    }
    const auto place = [&](size_t number) {
        return handlers[number].token.value(u"cmdParameters"_s).toStringList().at(0).constData();
    };
    QCOMPARE(place(0), place(1));
    QVERIFY(place(1) != place(2));
}

void tst_ServerCommands::aSlowClipboardIsAnsweredBeforeTheNextCommand_data()
{
    QTest::addColumn<bool>("hasText");
    QTest::newRow("text") << true;
    QTest::newRow("none") << false;
}

void tst_ServerCommands::aSlowClipboardIsAnsweredBeforeTheNextCommand()
{
    QFETCH(bool, hasText);
    host.isClipboardSlow = true;
    QVERIFY(peer->send(command("SERVER_CLIPBOARD_REQUEST", "cmdParameters = (kept);")));
    QCOMPARE(host.waitingReaders.size(), 1U);
    peer->post(command("SERVER_INFO"));
    QVERIFY(peer->hasArrived());
    // If that connection were still read, its command would have been carried out by then.
    ServedPeer other(*server);
    QCOMPARE(response(other.ask(command("SERVER_INFO"))), u"OK"_s);
    QCOMPARE(peer->received(), QByteArray());

    host.waitingReaders.front()(hasText ? std::optional(u"late"_s) : std::nullopt);
    const TokenMap first = peer->answer();
    QCOMPARE(first.value(u"cmdType"_s), QVariant(u"SERVER_CLIPBOARD_REQUEST"_s));
    QCOMPARE(first.value(u"cmdParameters"_s).toStringList(),
             QStringList{hasText ? u"late"_s : u"kept"_s});
    QCOMPARE(response(first), hasText ? u"OK"_s : u"ERROR"_s);
    const TokenMap second = peer->answer();
    QCOMPARE(second.value(u"cmdType"_s), QVariant(u"SERVER_INFO"_s));
    QCOMPARE(second.value(u"cmdParameters"_s).toStringList().size(), 3);
    QCOMPARE(response(second), u"OK"_s);
}

void tst_ServerCommands::commandsOfADeviceThatLeftAreCarriedOutBehindTheClipboard()
{
    host.isClipboardSlow = true;
    QVERIFY(peer->send(command("SERVER_CLIPBOARD_REQUEST")));
    peer->post(command("KEYBOARD_CMD", "fncCommand = A;"));
    QVERIFY(peer->hasArrived());
    peer->leave();
    ServedPeer other(*server);
    QCOMPARE(response(other.ask(command("SERVER_INFO"))), u"OK"_s);
    QCOMPARE(host.events.keyboardEvents().size(), 0U);
    host.waitingReaders.front()(u"late"_s);
    QVERIFY(waitUntil([&] { return host.events.keyboardEvents().size() == 2; }));
}

void tst_ServerCommands::aSlowClipboardMayOutlastTheDevice()
{
    host.isClipboardSlow = true;
    QVERIFY(peer->send(command("SERVER_CLIPBOARD_REQUEST")));
    QCOMPARE(host.waitingReaders.size(), 1U);
    peer->served()->abort();
    QVERIFY(waitUntil([&] { return peer->served() == nullptr; }));
    host.waitingReaders.front()(u"late"_s);
    QCOMPARE(messages->warnings(), QStringList{u"Device Disconnected "_s});
}

// ---- Files --------------------------------------------------------------------------------------

void tst_ServerCommands::aFileIsReceivedAndOpened()
{
    const QByteArray request =
        command("FILE_TRANSFER_AND_OPEN", "cmdParameters = (\"photo.jpg\", \"2048\");");
    const TokenMap answer = peer->ask(request);
    const QStringList parameters = {u"photo.jpg"_s, u"2048"_s};
    TokenMap expected = {{u"cmdType"_s, u"FILE_TRANSFER_AND_OPEN"_s},
                         {u"cmdParameters"_s, parameters},
                         {u"serverResponse"_s, u"START_BINARY_TRANSFER"_s}};
    QCOMPARE(answer, expected);
    const QString path = home->path(u"received/photo.jpg"_s);
    QCOMPARE(messages->all(),
             QStringList({u"warning: Received request to save file:  photo.jpg  of size  2048 "_s,
                          u"debug: File:  \""_s + path + u"\" "_s,
                          u"debug: \"Asked the client to start the file transfer...\" "_s}));

    const QByteArray content(2048, '\xff');
    QVERIFY(peer->send(content.first(2048 - request.size())));
    QCOMPARE(desktop->opened, QStringList());
    QVERIFY(peer->send(content.last(request.size())));
    expected[u"serverResponse"_s] = u"OK"_s;
    QCOMPARE(peer->answer(), expected);
    QCOMPARE(contentOf(path), request + content);
    QCOMPARE(desktop->opened, QStringList{u"file://"_s + path});
}

void tst_ServerCommands::aSizeThatIsNoNumberIsZero_data()
{
    QTest::addColumn<QByteArray>("size");
    for (const char *size : {"abc", "-1", "1.5", "0x10", "18446744073709551616"}) {
        QTest::newRow(size) << QByteArray(size);
    }
}

void tst_ServerCommands::aSizeThatIsNoNumberIsZero()
{
    QFETCH(QByteArray, size);
    // With size 0 the request itself already fills the file, so a second answer follows at once.
    peer->post(command("FILE_TRANSFER_AND_OPEN", "cmdParameters = (photo.jpg, " + size + ");"));
    QCOMPARE(response(peer->answer()), u"START_BINARY_TRANSFER"_s);
    QCOMPARE(response(peer->answer()), u"OK"_s);
    QCOMPARE(messages->warnings(),
             QStringList{u"Received request to save file:  photo.jpg  of size  0 "_s});
    QCOMPARE(desktop->opened, QStringList{u"file://"_s + home->path(u"received/photo.jpg"_s)});
}

void tst_ServerCommands::aFileMayLackItsParameters()
{
    // Without a name there is no file, and the transfer never ends.
    const TokenMap answer = peer->ask(command("FILE_TRANSFER_AND_OPEN"));
    QCOMPARE(response(answer), u"START_BINARY_TRANSFER"_s);
    QCOMPARE(messages->warnings(), QStringList{u"Received request to save file:    of size  0 "_s});
    QCOMPARE(desktop->opened, QStringList());
}

void tst_ServerCommands::aFilesNameIsOpenedAsAnAddressIs_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("opened");

    QTest::newRow("letter") << "n\u00e4me"
                            << "n\u00e4me";
    QTest::newRow("blank") << "a b"
                           << "a b";
    QTest::newRow("percent") << "100%.txt"
                             << "100%25.txt";
    QTest::newRow("encoded letter") << "%61.txt"
                                    << "a.txt";
    // For the desktop these names mean other files than the one that has arrived.
    QTest::newRow("encoded way out") << "%2e%2e%2fup.txt"
                                     << "..%2Fup.txt";
    QTest::newRow("question and fragment") << "q?x#y.txt"
                                           << "q?x#y.txt";
}

/// By design: the address is "file://" and the path as it is.
void tst_ServerCommands::aFilesNameIsOpenedAsAnAddressIs()
{
    QFETCH(QString, name);
    QFETCH(QString, opened);
    peer->post(command("FILE_TRANSFER_AND_OPEN", "cmdParameters = (" + name.toLatin1() + ", 0);"));
    QCOMPARE(response(peer->answer()), u"START_BINARY_TRANSFER"_s);
    QCOMPARE(response(peer->answer()), u"OK"_s);
    QVERIFY(QFile::exists(home->path(u"received/"_s) + name));
    QCOMPARE(desktop->opened, QStringList{u"file://"_s + home->path(u"received/"_s) + opened});
}

// ---- The map ------------------------------------------------------------------------------------

void tst_ServerCommands::answersCarryWhatEarlierMessagesLeft()
{
    QVERIFY(peer->send(command("MOUSE_CMD", "fncCommand = 5; extra = (x);")));
    const TokenMap expected = {{u"cmdType"_s, u"URL_OPEN"_s},
                               {u"fncCommand"_s, u"5"_s},
                               {u"extra"_s, QStringList{u"x"_s}},
                               {u"serverResponse"_s, u"OK"_s}};
    QCOMPARE(peer->ask(command("URL_OPEN")), expected);
}

void tst_ServerCommands::connectionsHaveMapsOfTheirOwn()
{
    QVERIFY(peer->send(command("MOUSE_CMD", "fncCommand = 5;")));
    ServedPeer other(*server);
    QVERIFY(!other.ask(command("SERVER_INFO")).contains(u"fncCommand"_s));
}

/// A screen that is not a square, so that height and width differ.
int main(int argc, char **argv)
{
    const QTemporaryDir directory;
    QFile screens(directory.filePath(u"screens.json"_s));
    if (!screens.open(QIODevice::WriteOnly)) {
        return 1;
    }
    screens.write(R"({"screens": [{"name": "one", "x": 0, "y": 0, "width": 1920, "height": 1080,
                                   "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})");
    screens.close();
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + QFile::encodeName(screens.fileName()));
    const QApplication application(argc, argv);
    tst_ServerCommands tests;
    return QTest::qExec(&tests, argc, argv);
}

#include "tst_ServerCommands.moc"
