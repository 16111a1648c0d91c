// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "doubles/RecordingEventServices.h"
#include "interaction/InteractionManagerMac.h"
#include "program/KeyNames.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;
using platform::Flag::Command;
using platform::Flag::Shift;

namespace {

/// The key press that the server posts for the shortcut; none if it types nothing.
std::optional<platform::KeyboardEvent> pressFor(const std::optional<QString> &shortcut)
{
    if (!shortcut) {
        return std::nullopt;
    }
    EventRecord record;
    InteractionManagerMac server(std::make_unique<RecordingEventServices>(record));
    server.keyboardTapKeyEvent(*shortcut);
    const auto events = record.keyboardEvents();
    return events.empty() ? std::nullopt : std::optional(events.front());
}

} // namespace

class tst_KeyNames : public QObject
{
    Q_OBJECT

private slots:
    void keysReachTheServer_data();
    void keysReachTheServer();
    void whatTheServerCannotTypeIsNone_data();
    void whatTheServerCannotTypeIsNone();
    void charactersAreTyped_data();
    void charactersAreTyped();
    void charactersWithShiftAreNotOnAnyLayout();
};

void tst_KeyNames::keysReachTheServer_data()
{
    QTest::addColumn<QString>("shortcut");
    QTest::addColumn<int>("code");
    QTest::addColumn<quint64>("flags");
    QTest::newRow("letter") << u"q"_s << 12 << quint64(0);
    QTest::newRow("digit") << u"1"_s << 18 << quint64(0);
    QTest::newRow("function key") << u"F20"_s << 90 << quint64(0);
    QTest::newRow("shortcut") << u"Cmd+Q"_s << 12 << quint64(Command);
    QTest::newRow("space") << u"Space"_s << 49 << quint64(Shift);
    QTest::newRow("space with a modifier") << u"Cmd+Space"_s << 49 << quint64(Command);
    QTest::newRow("space with two") << u"Cmd+Shift+ "_s << 49 << quint64(Command | Shift);
    QTest::newRow("left bracket is the server's right one") << u"["_s << 33 << quint64(0);
    QTest::newRow("right bracket") << u"Cmd+]"_s << 30 << quint64(Command);
    QTest::newRow("semicolon") << u";"_s << 41 << quint64(0);
}

void tst_KeyNames::keysReachTheServer()
{
    QFETCH(QString, shortcut);
    QFETCH(int, code);
    QFETCH(quint64, flags);
    const auto press = pressFor(KeyNames::forServer(shortcut));
    QVERIFY(press.has_value());
    QCOMPARE(int(press->code), code);
    QCOMPARE(press->flags, flags);
}

void tst_KeyNames::whatTheServerCannotTypeIsNone_data()
{
    QTest::addColumn<QString>("shortcut");
    for (const char *name : {"", "Tab", "Ret", "Cmd", "Cmd+", "+", "Cmd+Cmd", "cmd+Q", "F0", "F21",
                             "AA", ".", "`", "\xc3\xa9", "Shift+Ret", "  "}) {
        QTest::addRow("\"%s\"", name) << QString::fromUtf8(name);
    }
}

void tst_KeyNames::whatTheServerCannotTypeIsNone()
{
    QFETCH(QString, shortcut);
    QVERIFY(!KeyNames::forServer(shortcut).has_value());
}

void tst_KeyNames::charactersAreTyped_data()
{
    QTest::addColumn<QChar>("character");
    QTest::addColumn<int>("code"); // -1: cannot be typed
    QTest::addColumn<quint64>("flags");
    QTest::newRow("a") << QChar(u'a') << 0 << quint64(0);
    QTest::newRow("A") << QChar(u'A') << 0 << quint64(Shift);
    QTest::newRow("!") << QChar(u'!') << 18 << quint64(Shift);
    QTest::newRow("+") << QChar(u'+') << 24 << quint64(Shift);
    QTest::newRow("[") << QChar(u'[') << 33 << quint64(0);
    QTest::newRow("{") << QChar(u'{') << 33 << quint64(Shift);
    QTest::newRow("}") << QChar(u'}') << 30 << quint64(Shift);
    QTest::newRow("blank") << QChar(u' ') << 49 << quint64(Shift);
    QTest::newRow("full stop") << QChar(u'.') << -1 << quint64(0);
    QTest::newRow("e with acute") << QChar(u'\u00e9') << -1 << quint64(0);
}

void tst_KeyNames::charactersAreTyped()
{
    QFETCH(QChar, character);
    QFETCH(int, code);
    QFETCH(quint64, flags);
    const auto press = pressFor(KeyNames::forCharacter(character));
    QCOMPARE(press ? int(press->code) : -1, code);
    QCOMPARE(press ? press->flags : 0, flags);
}

void tst_KeyNames::charactersWithShiftAreNotOnAnyLayout()
{
    for (const QChar character : u"!@#$%^&*()_+:\"<>?|{}.`~\u00e9"_s) {
        QVERIFY2(!KeyNames::forCharacterOfAnyLayout(character), qPrintable(QString(character)));
    }
    for (const QChar character : u"azAZ09=-[]';\\,/ "_s) {
        const auto shortcut = KeyNames::forCharacterOfAnyLayout(character);
        QVERIFY2(shortcut, qPrintable(QString(character)));
        QCOMPARE(shortcut, KeyNames::forCharacter(character));
    }
}

QTEST_GUILESS_MAIN(tst_KeyNames)
#include "tst_KeyNames.moc"
