// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "adapters/PortalClipboardScene.h"
#include "support/ExactTexts.h"
#include "support/MessageRecorder.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

namespace {

const QStringList question{u"register vornaserver"_s, u"create"_s, u"select 3 2 -"_s,
                           u"request-clipboard"_s, u"start"_s};

} // namespace

/// The clipboard of the RemoteDesktop portal's session, with input by the same session. The portal
/// is a stand-in: the one of this system is too old for a clipboard.
class tst_PortalClipboard : public QObject, private PortalClipboardScene
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void askingForATextHasTheUserAsked();
    void aTextThatIsSetHasTheUserAsked();
    void whatIsSetBeforeTheConsentIsDropped();
    void inputAndClipboardShareTheSession();
    void aWatchDoesNotHaveTheUserAsked();
    void afterARefusalThereIsNoClipboard();
    void aClipboardThatIsNotAllowedIsSaidOnce();
    void aPortalWithoutAClipboardHasNobodyAsked();
    void aPortalWithoutAClipboardStillTakesInput();
    void aPortalIsNotStartedForTheQuestion();

    void textsOfOthersAreExact_data() { ExactTexts::addRows(); }
    void textsOfOthersAreExact();
    void ourTextsAreExact_data() { ExactTexts::addRows(); }
    void ourTextsAreExact();
    void theLongestTextsArrive();
    void aTextThatIsTooLongIsNone();
    void theBestTypeIsRead_data();
    void theBestTypeIsRead();
    void whatIsNoTextIsNotRead();
    void ownersThatNeverGiveTheirTextAreGivenUpAfterASecond_data();
    void ownersThatNeverGiveTheirTextAreGivenUpAfterASecond();
    void aTextThatComesInPiecesIsWhole();
    void whatCannotBeReadIsNoText_data();
    void whatCannotBeReadIsNoText();
    void anAnswerThatComesTooLateIsDropped();
    void requestsShareOnePipe();
    void noPipeIsLeftOver();

    void ourTextIsAnsweredWithoutAsking();
    void anotherTextReplacesOurs();
    void anEarlierOwnerDoesNotReplaceOurs();
    void ourTextIsServedUnderEveryType();
    void whatIsNoTextOfOursIsNotServed();
    void readersThatDoNotReadHoldNothingUp();
    void aReaderThatGoesAwayEndsNothing();
    void changesAreReported();

    void aClosedSessionIsMadeAgainByTheNextText();
    void aPortalThatDiesEndsNothing();
    void aClipboardMayEndAtAnyTime();
    void signalsThatAreNotOfTheSessionAreIgnored();
    void endlessTypesAreRead();

private:
    std::unique_ptr<MessageRecorder> messages;
};

void tst_PortalClipboard::init()
{
    messages = std::make_unique<MessageRecorder>();
    changes = 0;
}

void tst_PortalClipboard::cleanup()
{
    end();
    messages.reset();
}

void tst_PortalClipboard::askingForATextHasTheUserAsked()
{
    begin();
    QVERIFY(clipboard->isReadable());
    QCOMPARE(text(), std::nullopt);
    QVERIFY(scene->waitFor(question));
    // Nobody waits for the user.
    QElapsedTimer time;
    time.start();
    QCOMPARE(text(), std::nullopt);
    QVERIFY(time.elapsed() < 900);
    consent();
    QVERIFY(copy("theirs"));
    QCOMPARE(text(), u"theirs"_s);
}

void tst_PortalClipboard::aTextThatIsSetHasTheUserAsked()
{
    begin();
    clipboard->setText(u"early"_s);
    QVERIFY(scene->waitFor(question));
}

void tst_PortalClipboard::whatIsSetBeforeTheConsentIsDropped()
{
    begin();
    clipboard->setText(u"early"_s);
    QVERIFY(isAsked());
    clipboard->setText(u"also early"_s);
    QVERIFY(eventually([this] { return !messages->warnings().isEmpty(); }));
    consent();
    QCOMPARE(text(), std::nullopt);
    QVERIFY(set(u"later"_s));
    QVERIFY(scene->command(u"paste TEXT"_s));
    QVERIFY(isPasted(1, "later"));
    QCOMPARE(scene->record().count(ourTypes), 1);
    QCOMPARE(messages->warnings().size(), 1);
    QVERIFY(messages->warnings().constFirst().contains(u"send is dropped until then"_s));
}

void tst_PortalClipboard::inputAndClipboardShareTheSession()
{
    begin();
    services->input().moveBy(1, 1);
    consent();
    QVERIFY(copy("theirs"));
    QCOMPARE(text(), u"theirs"_s);
    services->input().moveBy(2, 3);
    QVERIFY(scene->waitForLine(u"motion 2.0 3.0"_s));
    QCOMPARE(scene->record().count(u"create"_s), 0);
    // Whichever ends first, the other one goes on.
    services.reset();
    QCOMPARE(text(), u"theirs"_s);
    QVERIFY(!scene->record().contains(u"session-closed"_s));
    clipboard.reset();
    portal.reset();
    QVERIFY(scene->waitForLine(u"session-closed"_s));
}

void tst_PortalClipboard::aWatchDoesNotHaveTheUserAsked()
{
    begin();
    QVERIFY(clipboard->isWatchable());
    clipboard->watch([this] { ++changes; });
    // This comes after whatever the watch would have done.
    QVERIFY(scene->command(u"text 61"_s));
    QCOMPARE(state(), State::Idle);
    services->input().moveBy(1, 1);
    consent();
    QVERIFY(scene->command(u"copy text/plain"_s));
    QVERIFY(eventually([this] { return changes == 1; }));
}

void tst_PortalClipboard::afterARefusalThereIsNoClipboard()
{
    begin();
    QCOMPARE(text(), std::nullopt);
    QVERIFY(isAsked());
    QVERIFY(scene->command(u"answer 1"_s));
    QVERIFY(eventually([this] { return state() == State::Refused; }));
    QVERIFY(!clipboard->isReadable());
    QVERIFY(!clipboard->isWatchable());
    clipboard->setText(u"ours"_s);
    QCOMPARE(text(), std::nullopt);
    QCOMPARE(scene->record().count(u"create"_s), 1);
    QCOMPARE(messages->warnings().filter(u"was refused"_s).size(), 1);
    QCOMPARE(messages->warnings().filter(u"clipboard"_s).size(), 0);
}

void tst_PortalClipboard::aClipboardThatIsNotAllowedIsSaidOnce()
{
    begin();
    QVERIFY(scene->command(u"enabled 0"_s));
    QCOMPARE(text(), std::nullopt);
    consent();
    QVERIFY(!clipboard->isReadable());
    clipboard->setText(u"ours"_s);
    clipboard->setText(u"ours"_s);
    QCOMPARE(text(), std::nullopt);
    QVERIFY(scene->command(u"copy text/plain"_s));
    QVERIFY(scene->command(u"paste text/plain"_s));
    QCOMPARE(text(), std::nullopt);
    QCOMPARE(messages->warnings().filter(u"clipboard was not allowed"_s).size(), 1);
    services->input().moveBy(1, 1);
    QVERIFY(scene->waitFor({u"motion 1.0 1.0"_s}));
}

void tst_PortalClipboard::aPortalWithoutAClipboardHasNobodyAsked()
{
    begin(Role::Portal);
    QVERIFY(eventually([this] { return !clipboard->isReadable(); }));
    QVERIFY(!clipboard->isWatchable());
    clipboard->setText(u"ours"_s);
    clipboard->setText(u"ours"_s);
    QCOMPARE(text(), std::nullopt);
    QCOMPARE(state(), State::Idle);
    QCOMPARE(messages->warnings().size(), 1);
    QVERIFY(messages->warnings().constFirst().contains(u"choose an X11"_s));
}

void tst_PortalClipboard::aPortalWithoutAClipboardStillTakesInput()
{
    begin(Role::Portal);
    services->input().moveBy(1, 1);
    QVERIFY(isAsked());
    QVERIFY(!scene->record().contains(u"request-clipboard"_s));
    consent();
    QVERIFY(!clipboard->isReadable());
    QCOMPARE(text(), std::nullopt);
}

void tst_PortalClipboard::aPortalIsNotStartedForTheQuestion()
{
    begin(Role::Backend);
    const auto isRunning = [this] {
        return scene->connection()
            .interface()
            ->isServiceRegistered(u"org.freedesktop.portal.Desktop"_s)
            .value();
    };
    // The bus has answered the clipboard's question before this one.
    QVERIFY(!isRunning());
    QVERIFY(clipboard->isReadable());
    // The real one of this system has no clipboard.
    services->input().moveBy(1, 1);
    QVERIFY(isAsked());
    QVERIFY(isRunning());
    QVERIFY(eventually([this] { return !clipboard->isReadable(); }));
}

void tst_PortalClipboard::textsOfOthersAreExact()
{
    QFETCH(QString, text);
    open();
    QVERIFY(copy(text.toUtf8()));
    QCOMPARE(this->text(), text);
}

void tst_PortalClipboard::ourTextsAreExact()
{
    QFETCH(QString, text);
    open();
    QVERIFY(set(text));
    QVERIFY(scene->command(u"paste text/plain"_s));
    QVERIFY(isPasted(1, text.toUtf8()));
}

void tst_PortalClipboard::theLongestTextsArrive()
{
    open();
    QVERIFY(scene->command(u"fill %1"_s.arg(maximumClipboardText)));
    QVERIFY(scene->command(u"copy text/plain"_s));
    QVERIFY(becomes(QString(maximumClipboardText, u'a')));
    QVERIFY(set(QString(maximumClipboardText, u'b')));
    QVERIFY(scene->command(u"paste text/plain"_s));
    QVERIFY(isPasted(1, QByteArray(maximumClipboardText, 'b')));
}

void tst_PortalClipboard::aTextThatIsTooLongIsNone()
{
    open();
    QVERIFY(copy("a"));
    QVERIFY(scene->command(u"fill %1"_s.arg(maximumClipboardText + 1)));
    QCOMPARE(text(), std::nullopt);
    // The owner learns that nobody reads.
    QVERIFY(scene->command(u"owner endless"_s));
    QCOMPARE(text(), std::nullopt);
    QVERIFY(scene->waitForLine(u"nobody reads"_s));
    QVERIFY(scene->command(u"owner whole"_s));
    QVERIFY(scene->command(u"text 61"_s));
    QCOMPARE(text(), u"a"_s);
}

void tst_PortalClipboard::theBestTypeIsRead_data()
{
    QTest::addColumn<QString>("types");
    QTest::addColumn<QString>("best");
    QTest::newRow("the only one") << u"TEXT"_s << u"TEXT"_s;
    QTest::newRow("first") << u"text/plain;charset=utf-8 text/plain STRING"_s
                           << u"text/plain;charset=utf-8"_s;
    QTest::newRow("last") << u"image/png STRING UTF8_STRING text/html"_s << u"UTF8_STRING"_s;
    QTest::newRow("as GNOME sends it") << u"wrapped text/html TEXT text/plain"_s << u"text/plain"_s;
}

void tst_PortalClipboard::theBestTypeIsRead()
{
    QFETCH(QString, types);
    QFETCH(QString, best);
    open();
    QVERIFY(copy("theirs", types));
    QCOMPARE(text(), u"theirs"_s);
    QCOMPARE(scene->record(), QStringList{u"read "_s + best});
}

void tst_PortalClipboard::whatIsNoTextIsNotRead()
{
    open();
    // Nor is what has never been announced.
    QCOMPARE(text(), std::nullopt);
    for (const QString &types : {u"image/png text/uri-list text/html text/plain2"_s, QString(),
                                 u"wrapped image/png"_s, u"wrapped"_s}) {
        QVERIFY(copy("text", u"text/plain"_s));
        QCOMPARE(text(), u"text"_s);
        scene->forgetRecord();
        QVERIFY(copy("theirs", types));
        QCOMPARE(text(), std::nullopt);
        QCOMPARE(scene->record(), QStringList());
    }
}

void tst_PortalClipboard::ownersThatNeverGiveTheirTextAreGivenUpAfterASecond_data()
{
    QTest::addColumn<QString>("behaviour");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("writes nothing") << u"never"_s << QByteArray("theirs");
    QTest::newRow("goes on and on") << u"bytes"_s << QByteArray(100'000, 'a');
    QTest::newRow("gets no answer from the portal") << u"silent"_s << QByteArray("theirs");
}

void tst_PortalClipboard::ownersThatNeverGiveTheirTextAreGivenUpAfterASecond()
{
    QFETCH(QString, behaviour);
    QFETCH(QByteArray, content);
    open();
    QVERIFY(copy(content));
    QVERIFY(scene->command(u"owner "_s + behaviour));
    QElapsedTimer time;
    time.start();
    QCOMPARE(text(), std::nullopt);
    QVERIFY2(time.elapsed() >= 900, qPrintable(QString::number(time.elapsed())));
    QVERIFY2(time.elapsed() < 5'000, qPrintable(QString::number(time.elapsed())));
    QVERIFY(scene->command(u"owner whole"_s));
    QVERIFY(copy("later"));
    QCOMPARE(text(), u"later"_s);
}

void tst_PortalClipboard::aTextThatComesInPiecesIsWhole()
{
    open();
    const QString theirs = u"é€😀"_s.repeated(5);
    QVERIFY(copy(theirs.toUtf8()));
    QVERIFY(scene->command(u"owner bytes"_s));
    QCOMPARE(text(), theirs);
}

void tst_PortalClipboard::whatCannotBeReadIsNoText_data()
{
    QTest::addColumn<QString>("behaviour");
    QTest::newRow("refused") << u"refuse"_s;
    QTest::newRow("no pipe") << u"no-pipe"_s;
}

void tst_PortalClipboard::whatCannotBeReadIsNoText()
{
    QFETCH(QString, behaviour);
    open();
    QVERIFY(copy("theirs"));
    QVERIFY(scene->command(u"owner "_s + behaviour));
    QElapsedTimer time;
    time.start();
    QCOMPARE(text(), std::nullopt);
    QVERIFY(time.elapsed() < 900);
    QVERIFY(scene->command(u"owner whole"_s));
    QCOMPARE(text(), u"theirs"_s);
}

void tst_PortalClipboard::anAnswerThatComesTooLateIsDropped()
{
    open();
    QVERIFY(copy("theirs"));
    QVERIFY(scene->command(u"owner never"_s));
    QList<std::optional<QString>> answers;
    const auto note = [&](const std::optional<QString> &given) { answers.append(given); };
    clipboard->requestText(note);
    QVERIFY(scene->waitForLine(u"read text/plain"_s));
    // Waits for the first one, and gets what is there then.
    clipboard->requestText(note);
    QVERIFY(scene->command(u"owner whole"_s));
    QVERIFY(eventually([&] { return answers.size() == 2; }));
    QCOMPARE(answers.constFirst(), std::nullopt);
    QCOMPARE(answers.constLast(), u"theirs"_s);
}

void tst_PortalClipboard::requestsShareOnePipe()
{
    open();
    QVERIFY(copy("theirs"));
    int answers = 0;
    for (int count = 0; count < 1000; ++count) {
        clipboard->requestText([&](const std::optional<QString> &given) {
            answers += given == u"theirs"_s ? 1 : 1'000'000;
        });
    }
    QVERIFY(eventually([&] { return answers == 1000; }));
    QCOMPARE(scene->record(), (QStringList{u"read text/plain"_s, u"read text/plain"_s}));
}

void tst_PortalClipboard::noPipeIsLeftOver()
{
    open();
    QVERIFY(copy("theirs"));
    const auto openDescriptors = [] { return QDir(u"/proc/self/fd"_s).entryList().size(); };
    QCOMPARE(text(), u"theirs"_s);
    const qsizetype before = openDescriptors();
    for (int count = 0; count < 50; ++count) {
        QCOMPARE(text(), u"theirs"_s);
    }
    QVERIFY(set(u"ours"_s));
    for (int count = 1; count <= 50; ++count) {
        QVERIFY(scene->command(u"paste TEXT"_s));
        QVERIFY(isPasted(count, "ours"));
    }
    QVERIFY(eventually([&] { return openDescriptors() == before; }));
}

void tst_PortalClipboard::ourTextIsAnsweredWithoutAsking()
{
    open();
    // What no encoding can carry.
    const QString ours = u"a"_s + QChar(0xd800) + u"b"_s;
    QVERIFY(copy("theirs"));
    clipboard->setText(ours);
    QCOMPARE(text(), ours);
    QVERIFY(set(ours));
    QCOMPARE(text(), ours);
    QVERIFY(scene->record().filter(u"read"_s).isEmpty());
}

void tst_PortalClipboard::anotherTextReplacesOurs()
{
    open();
    QVERIFY(set(u"ours"_s));
    QVERIFY(copy("theirs"));
    QCOMPARE(text(), u"theirs"_s);
    QVERIFY(scene->command(u"paste TEXT"_s));
    QVERIFY(scene->waitForLine(u"write-done 1 0"_s));
    QVERIFY(set(u"ours again"_s));
    QCOMPARE(text(), u"ours again"_s);
    QVERIFY(copy("picture", u"image/png"_s));
    QCOMPARE(text(), std::nullopt);
}

void tst_PortalClipboard::anEarlierOwnerDoesNotReplaceOurs()
{
    open();
    QVERIFY(scene->command(u"copy late text/plain"_s));
    clipboard->watch([this] { ++changes; });
    clipboard->setText(u"ours"_s);
    QVERIFY(eventually([this] { return changes == 2; }));
    QCOMPARE(text(), u"ours"_s);
    QVERIFY(scene->command(u"paste TEXT"_s));
    QVERIFY(isPasted(1, "ours"));
}

void tst_PortalClipboard::ourTextIsServedUnderEveryType()
{
    open();
    QVERIFY(set(u"ours €"_s));
    int number = 0;
    for (const QByteArray &type : typesOf(contentsOf(QString()))) {
        QVERIFY(scene->command(u"paste "_s + QLatin1String(type)));
        QVERIFY(isPasted(++number, "ours \xe2\x82\xac"));
    }
    QVERIFY(set(QString()));
    QVERIFY(scene->command(u"paste TEXT"_s));
    QVERIFY(isPasted(++number, ""));
}

void tst_PortalClipboard::whatIsNoTextOfOursIsNotServed()
{
    open();
    QVERIFY(scene->command(u"paste text/plain"_s));
    QVERIFY(scene->waitForLine(u"write-done 1 0"_s));
    QVERIFY(set(u"ours"_s));
    QVERIFY(scene->command(u"paste text/html"_s));
    QVERIFY(scene->waitForLine(u"write-done 2 0"_s));
    // The portal does not know that one, so there is nowhere to write to.
    QVERIFY(scene->command(u"odd unknown-transfer"_s));
    QVERIFY(scene->waitForLine(u"write-done 4294967295 0"_s));
}

void tst_PortalClipboard::readersThatDoNotReadHoldNothingUp()
{
    open();
    QVERIFY(set(QString(1024 * 1024, u'a')));
    constexpr int idle = 40;
    for (int count = 0; count < idle; ++count) {
        QVERIFY(scene->command(u"paste-idle TEXT"_s));
    }
    // Those that are too many are refused, the others are given up after a while.
    QVERIFY(eventually([&] { return scene->record().filter(u"write-done"_s).size() == idle; }));
    QVERIFY(scene->record().filter(u"write-done"_s).filter(QRegularExpression(u" 1$"_s)).isEmpty());
    QVERIFY(scene->command(u"paste TEXT"_s));
    QVERIFY(isPasted(idle + 1, QByteArray(1024 * 1024, 'a')));
}

void tst_PortalClipboard::aReaderThatGoesAwayEndsNothing()
{
    open();
    QVERIFY(set(QString(1024 * 1024, u'a')));
    QVERIFY(scene->command(u"paste-gone TEXT"_s));
    QVERIFY(scene->waitForLine(u"write-done 1 0"_s));
    QVERIFY(scene->command(u"paste TEXT"_s));
    QVERIFY(isPasted(2, QByteArray(1024 * 1024, 'a')));
}

void tst_PortalClipboard::changesAreReported()
{
    open();
    clipboard->watch([this] { ++changes; });
    QVERIFY(scene->command(u"copy TEXT"_s));
    QVERIFY(eventually([this] { return changes == 1; }));
    clipboard->setText(u"ours"_s);
    QVERIFY(eventually([this] { return changes == 2; }));
    QVERIFY(scene->command(u"copy image/png"_s));
    QVERIFY(eventually([this] { return changes == 3; }));
    clipboard->watch([this] {
        ++changes;
        clipboard->watch({});
    });
    QVERIFY(scene->command(u"copy TEXT"_s));
    QVERIFY(scene->command(u"copy TEXT"_s));
    QVERIFY(eventually([this] { return changes == 4; }));
    clipboard->setText(u"ours"_s);
    QVERIFY(scene->command(u"paste TEXT"_s));
    QVERIFY(isPasted(1, "ours"));
    QCOMPARE(changes, 4);
}

void tst_PortalClipboard::aClosedSessionIsMadeAgainByTheNextText()
{
    open();
    QVERIFY(copy("theirs"));
    QVERIFY(set(u"ours"_s));
    QVERIFY(copy("theirs"));
    QVERIFY(scene->command(u"owner never"_s));
    QVERIFY(scene->command(u"paste-idle TEXT"_s));
    std::optional<std::optional<QString>> answer;
    QElapsedTimer time;
    time.start();
    clipboard->requestText([&](const std::optional<QString> &given) { answer = given; });
    QVERIFY(scene->waitForLine(u"read text/plain"_s));
    QVERIFY(scene->command(u"close"_s));
    QVERIFY(eventually([&] { return answer.has_value(); }));
    QCOMPARE(*answer, std::nullopt);
    QCOMPARE(state(), State::Idle);
    QVERIFY(clipboard->isReadable());
    scene->forgetRecord();
    QVERIFY(scene->command(u"owner whole"_s));
    QVERIFY(eventually([this] {
        clipboard->setText(u"too early"_s);
        return state() == State::Opening;
    }));
    consent();
    // Nothing is known of the contents yet.
    QCOMPARE(text(), std::nullopt);
    QCOMPARE(scene->record(), QStringList());
    QVERIFY(copy("theirs"));
    QCOMPARE(text(), u"theirs"_s);
    QVERIFY(set(u"ours"_s));
}

void tst_PortalClipboard::aPortalThatDiesEndsNothing()
{
    open();
    QVERIFY(set(QString(1024 * 1024, u'a')));
    QVERIFY(scene->command(u"paste-idle TEXT"_s));
    QVERIFY(copy("theirs"));
    // An owner would not die with it, as the stand-in does.
    QVERIFY(scene->command(u"owner silent"_s));
    std::optional<std::optional<QString>> answer;
    clipboard->requestText([&](const std::optional<QString> &given) { answer = given; });
    QVERIFY(scene->waitForLine(u"read text/plain"_s));
    scene->killPortal();
    QVERIFY(eventually([&] { return answer.has_value(); }));
    QCOMPARE(*answer, std::nullopt);
    QVERIFY(eventually([this] { return state() == State::Idle; }));
    QSignalSpy failed(portal.get(), &RemoteDesktopPortal::failed);
    QVERIFY(eventually([&] {
        clipboard->setText(u"ours"_s);
        return !failed.isEmpty();
    }));
    QCOMPARE(text(), std::nullopt);
}

void tst_PortalClipboard::aClipboardMayEndAtAnyTime()
{
    open();
    QVERIFY(set(QString(1024 * 1024, u'a')));
    QVERIFY(scene->command(u"paste-idle TEXT"_s));
    QVERIFY(copy("theirs"));
    QVERIFY(scene->command(u"owner never"_s));
    bool isAnswered = false;
    clipboard->requestText([&](const std::optional<QString> & /*given*/) { isAnswered = true; });
    QVERIFY(scene->waitForLine(u"read text/plain"_s));
    services = makeServices(nullptr);
    clipboard.reset();
    QVERIFY(scene->command(u"paste TEXT"_s));
    QVERIFY(scene->command(u"copy TEXT"_s));
    services->input().moveBy(1, 1);
    QVERIFY(scene->waitForLine(u"motion 1.0 1.0"_s));
    QVERIFY(!isAnswered);
}

void tst_PortalClipboard::signalsThatAreNotOfTheSessionAreIgnored()
{
    open();
    QVERIFY(copy("theirs"));
    scene->forgetRecord();
    const int before = changes;
    QVERIFY(scene->command(u"odd other-session"_s));
    QVERIFY(scene->command(u"odd number"_s));
    // Another program, which is not the portal.
    auto stranger = QDBusConnection::connectToBus(scene->address(), u"stranger"_s);
    auto forged = QDBusMessage::createSignal(u"/org/freedesktop/portal/desktop"_s,
                                             u"org.freedesktop.portal.Clipboard"_s,
                                             u"SelectionOwnerChanged"_s);
    forged.setArguments({QVariant::fromValue(QDBusObjectPath(portal->session()->path())),
                         QVariantMap{{u"session_is_owner"_s, true}}});
    QVERIFY(stranger.send(forged));
    QDBusConnection::disconnectFromBus(u"stranger"_s);
    QCOMPARE(text(), u"theirs"_s);
    QCOMPARE(scene->record(), QStringList{u"read text/plain"_s});
    QCOMPARE(changes, before);
    for (const QString &name : {u"other-types"_s, u"no-types"_s}) {
        QVERIFY(scene->command(u"odd "_s + name));
        QVERIFY(becomes(std::nullopt));
        QVERIFY(copy("theirs"));
        QCOMPARE(text(), u"theirs"_s);
    }
}

void tst_PortalClipboard::endlessTypesAreRead()
{
    open();
    QVERIFY(copy("theirs"));
    const int before = changes;
    QVERIFY(scene->command(u"copy-many 300000"_s));
    QVERIFY(eventually([&] { return changes == before + 1; }));
    QCOMPARE(text(), std::nullopt);
    QVERIFY(copy("later"));
    QCOMPARE(text(), u"later"_s);
}

QTEST_GUILESS_MAIN(tst_PortalClipboard)
#include "tst_PortalClipboard.moc"
