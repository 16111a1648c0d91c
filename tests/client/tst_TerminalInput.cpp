// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/TerminalInput.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;
using namespace TerminalInput;

class tst_TerminalInput : public QObject
{
    Q_OBJECT

private slots:
    void readsWhatAPersonDid_data();
    void readsWhatAPersonDid();
    void waitsForTheRestOfASequence();
    void anyBytesEnd();
};

Q_DECLARE_METATYPE(std::vector<TerminalInput::Event>)

void tst_TerminalInput::readsWhatAPersonDid_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<std::vector<Event>>("events");
    const auto row = [](const char *name, const char *bytes, std::vector<Event> events) {
        QTest::newRow(name) << QByteArray(bytes) << std::move(events);
    };
    row("letters", "aB", {Character{u'a'}, Character{u'B'}});
    row("UTF-8", "\xc3\xa9", {Character{u'\u00e9'}});
    row("emoji", "\xf0\x9f\x98\x80", {Other{u"\U0001f600"_s}});
    row("Ctrl+C", "\x03", {ControlLetter{u'C'}});
    row("leave", "\x1d", {Leave{}});
    row("Return", "\r", {Other{u"Return"_s}});
    row("Tab", "\t", {Other{u"Tab"_s}});
    row("Backspace", "\x7f", {Other{u"Backspace"_s}});
    row("Escape", "\x1b", {Other{u"Escape"_s}});
    row("arrows", "\x1b[A\x1b[B\x1bOC\x1b[D",
        {Arrow{0, -1, false}, Arrow{0, 1, false}, Arrow{1, 0, false}, Arrow{-1, 0, false}});
    row("fast arrow", "\x1b[1;2C", {Arrow{1, 0, true}});
    row("F1", "\x1bOP", {FunctionKey{1}});
    row("F5 and F12", "\x1b[15~\x1b[24~", {FunctionKey{5}, FunctionKey{12}});
    row("Delete", "\x1b[3~", {Other{u"that key"_s}});
    row("motion", "\x1b[<35;10;5M", {MouseMotion{10, 5}});
    row("left press and release", "\x1b[<0;1;1M\x1b[<0;1;1m", {MousePress{0}});
    row("right press", "\x1b[<2;1;1M", {MousePress{2}});
    row("wheel", "\x1b[<64;1;1M", {});
}

void tst_TerminalInput::readsWhatAPersonDid()
{
    QFETCH(QByteArray, bytes);
    QFETCH(std::vector<Event>, events);
    QVERIFY(take(bytes) == events);
    QVERIFY(bytes.isEmpty());
}

void tst_TerminalInput::waitsForTheRestOfASequence()
{
    QByteArray bytes = "a\x1b[<35;1";
    QCOMPARE(take(bytes).size(), size_t(1));
    QCOMPARE(bytes, QByteArray("\x1b[<35;1"));
    bytes += "0;5M";
    QVERIFY(take(bytes) == (std::vector<Event>{MouseMotion{10, 5}}));
}

void tst_TerminalInput::anyBytesEnd()
{
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            QByteArray bytes;
            bytes += static_cast<char>(first);
            bytes += static_cast<char>(second);
            const auto before = bytes.size();
            take(bytes);
            QVERIFY(bytes.size() <= before);
        }
    }
}

QTEST_GUILESS_MAIN(tst_TerminalInput)
#include "tst_TerminalInput.moc"
