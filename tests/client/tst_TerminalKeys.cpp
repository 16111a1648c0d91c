// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/TerminalKeys.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;
using namespace TerminalKeys;

Q_DECLARE_METATYPE(std::vector<TerminalKeys::Event>)

namespace {

KeyStroke key(const char *words)
{
    QStringList parts = QString::fromUtf8(words).split(u'+');
    const QString last = parts.takeLast();
    return {last, parts};
}

} // namespace

class tst_TerminalKeys : public QObject
{
    Q_OBJECT

private slots:
    void readsWhatAPersonDid_data();
    void readsWhatAPersonDid();
    void sequencesMayArriveInPieces_data();
    void sequencesMayArriveInPieces();
    void anEscapeAloneWaitsAndThenIsTheKey();
    void aPasteIsWaitedFor();
    void anyBytesEnd();
};

void tst_TerminalKeys::readsWhatAPersonDid_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<std::vector<Event>>("events");
    const auto row = [](const char *name, const QByteArray &bytes, std::vector<Event> events) {
        QTest::newRow(name) << bytes << std::move(events);
    };
    row("letters", "aB.", {Text{u"aB."_s}});
    row("UTF-8 and emoji", "\xc3\xa9\xf0\x9f\x98\x80", {Text{u"\u00e9\U0001f600"_s}});
    row("Enter between", "a\rb", {Text{u"a"_s}, key("Enter"), Text{u"b"_s}});
    row("Tab and Backspace", "\t\x7f\b", {key("Tab"), key("Backspace"), key("Backspace")});
    row("Ctrl+C", "\x03", {key("Control+c")});
    row("Ctrl+Space", QByteArray("\0", 1), {key("Control+ ")});
    row("Ctrl+_", "\x1f", {key("Control+_")});
    row("leave", "\x1d", {Leave{}});
    row("leave, kitty", "\x1b[93;5u", {Leave{}});
    row("switch", "\x1c", {SwitchMode{}});
    row("switch, xterm", "\x1b[27;5;92~", {SwitchMode{}});
    row("Shift+Tab", "\x1b[Z", {key("Shift+Tab")});
    row("arrows", "\x1b[A\x1b[B\x1bOC\x1b[D",
        {key("ArrowUp"), key("ArrowDown"), key("ArrowRight"), key("ArrowLeft")});
    row("arrow with Ctrl", "\x1b[1;5C", {key("Control+ArrowRight")});
    row("arrow with all", "\x1b[1;16A", {key("Shift+Alt+Control+Meta+ArrowUp")});
    row("Home and End", "\x1b[H\x1b[F\x1b[1~\x1b[4~\x1b[7~\x1b[8~\x1bOH",
        {key("Home"), key("End"), key("Home"), key("End"), key("Home"), key("End"), key("Home")});
    row("Insert, Delete, pages", "\x1b[2~\x1b[3;3~\x1b[5~\x1b[6;2~",
        {key("Insert"), key("Alt+Delete"), key("PageUp"), key("Shift+PageDown")});
    row("F1 to F4", "\x1bOP\x1bOQ\x1b[13~\x1b[1;5S",
        {key("F1"), key("F2"), key("F3"), key("Control+F4")});
    row("F1 of the Linux console", "\x1b[[A\x1b[[E", {key("F1"), key("F5")});
    row("F5 to F12", "\x1b[15~\x1b[17~\x1b[18~\x1b[19~\x1b[20~\x1b[21~\x1b[23~\x1b[24;6~",
        {key("F5"), key("F6"), key("F7"), key("F8"), key("F9"), key("F10"), key("F11"),
         key("Shift+Control+F12")});
    row("Alt+letter",
        "\x1b"
        "f\x1b\xc3\xa9",
        {key("Alt+f"), key("Alt+\xc3\xa9")});
    row("Alt+Enter", "\x1b\r", {key("Alt+Enter")});
    row("Alt+Ctrl+A", "\x1b\x01", {key("Alt+Control+a")});
    row("Escape before a sequence", "\x1b\x1b[A", {key("Escape"), key("ArrowUp")});
    row("kitty's Escape", "\x1b[27u", {key("Escape")});
    row("kitty's Ctrl+Enter", "\x1b[13;5u", {key("Control+Enter")});
    row("kitty's keypad", "\x1b[57399u\x1b[57414u", {Text{u"0"_s}, key("Enter")});
    row("kitty's letter of another layout", "\x1b[1089::99;5u", {key("Control+\xd1\x81")});
    row("xterm's Ctrl+Shift+A", "\x1b[27;6;65~", {key("Shift+Control+a")});
    row("motion", "\x1b[<35;10;5M", {Motion{10, 5}});
    row("drag", "\x1b[<0;1;1M\x1b[<32;2;1M\x1b[<0;2;1m",
        {MouseButton{u"left"_s, true}, Motion{2, 1}, MouseButton{u"left"_s, false}});
    row("buttons", "\x1b[<1;1;1M\x1b[<2;1;1M\x1b[<128;1;1M\x1b[<129;1;1m",
        {MouseButton{u"middle"_s, true}, MouseButton{u"right"_s, true},
         MouseButton{u"back"_s, true}, MouseButton{u"forward"_s, false}});
    row("button with Ctrl", "\x1b[<16;1;1M", {MouseButton{u"left"_s, true}});
    row("wheel", "\x1b[<64;1;1M\x1b[<65;1;1M\x1b[<66;1;1M\x1b[<67;1;1M",
        {Wheel{0, -1}, Wheel{0, 1}, Wheel{-1, 0}, Wheel{1, 0}});
    row("paste", "\x1b[200~a\rb\x1b[A\xe2\x82\xac\x1b[201~c", {Text{u"a\rb[A\u20acc"_s}});
    row("the terminal's own answer", "\x1b[?1u\x1b[>41;0;0c", {});
    row("unknown sequences", "\x1b[99~\x1b[5;5X\x1b[57500u", {});
    row("broken UTF-8",
        "\xff\x80\xc3"
        "a",
        {Text{u"a"_s}});
}

void tst_TerminalKeys::readsWhatAPersonDid()
{
    QFETCH(QByteArray, bytes);
    QFETCH(std::vector<Event>, events);
    QVERIFY(take(bytes) == events);
    QCOMPARE(bytes, QByteArray());
}

void tst_TerminalKeys::sequencesMayArriveInPieces_data()
{
    readsWhatAPersonDid_data();
}

/// Byte by byte; only texts are in more parts then.
void tst_TerminalKeys::sequencesMayArriveInPieces()
{
    QFETCH(QByteArray, bytes);
    QFETCH(std::vector<Event>, events);
    const auto joined = [](const std::vector<Event> &parts) {
        std::vector<Event> all;
        for (const Event &part : parts) {
            const bool isText = std::holds_alternative<Text>(part);
            if (isText && !all.empty() && std::holds_alternative<Text>(all.back())) {
                std::get<Text>(all.back()).text += std::get<Text>(part).text;
            } else {
                all.push_back(part);
            }
        }
        return all;
    };
    QByteArray unread;
    std::vector<Event> found;
    for (const char byte : bytes) {
        unread += byte;
        const auto more = take(unread);
        found.insert(found.end(), more.begin(), more.end());
    }
    QVERIFY(joined(found) == events);
    QCOMPARE(unread, QByteArray());
}

void tst_TerminalKeys::anEscapeAloneWaitsAndThenIsTheKey()
{
    QByteArray bytes = "a\x1b";
    QVERIFY(take(bytes) == (std::vector<Event>{Text{u"a"_s}}));
    QCOMPARE(bytes, QByteArray("\x1b"));
    QVERIFY(takeUnfinished(bytes) == (std::vector<Event>{key("Escape")}));
    QCOMPARE(bytes, QByteArray());
    QVERIFY(takeUnfinished(bytes).empty());
    bytes = "\x1b[";
    QVERIFY(take(bytes).empty());
    QVERIFY(takeUnfinished(bytes) == (std::vector<Event>{key("Alt+[")}));
    bytes = "\x1bO";
    QVERIFY(take(bytes).empty());
    QVERIFY(takeUnfinished(bytes) == (std::vector<Event>{key("Alt+o")}));
}

void tst_TerminalKeys::aPasteIsWaitedFor()
{
    QByteArray bytes = "\x1b[200~" + QByteArray(100'000, 'x');
    QVERIFY(take(bytes).empty());
    QVERIFY(takeUnfinished(bytes).empty());
    bytes += "\x1b[201~";
    QVERIFY(take(bytes) == (std::vector<Event>{Text{QString(100'000, u'x')}}));
}

void tst_TerminalKeys::anyBytesEnd()
{
    const QByteArray seconds("\x1b;Mu~\xc3");
    for (int first = 0; first < 256; ++first) {
        for (const char second : seconds) {
            for (const char *before : {"", "\x1b", "\x1b[", "\x1b[<", "\x1b[1;"}) {
                QByteArray bytes = before;
                bytes += static_cast<char>(first);
                bytes += second;
                take(bytes);
                bytes += QByteArray(100, 'x');
                take(bytes);
                QVERIFY(bytes.isEmpty() || bytes.startsWith("\x1b[200~"));
            }
        }
    }
}

QTEST_GUILESS_MAIN(tst_TerminalKeys)
#include "tst_TerminalKeys.moc"
