// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/TypingPlan.h"

#include "lib/Request.h"
#include "lib/RequestWriter.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

namespace {

constexpr TypingStyle byClipboard{true, false};
constexpr TypingStyle onUsKeyboard{false, true};

/// The steps in one line: keys as they are, pasted text in angle brackets.
QString shown(const TypingPlan &plan)
{
    QStringList words;
    for (const TypingStep &step : plan.steps) {
        words += step.kind == TypingStep::Kind::Paste ? u'<' + step.text + u'>' : step.text;
    }
    return words.join(u'|');
}

const QString blank = u"Shift+ +Shift"_s;

} // namespace

Q_DECLARE_METATYPE(TypingStyle)

class tst_TypingPlan : public QObject
{
    Q_OBJECT

private slots:
    void charactersBecomeKeysAndTheRestIsPasted_data();
    void charactersBecomeKeysAndTheRestIsPasted();
    void whatCannotBeTypedIsRefusedWithTheReason_data();
    void whatCannotBeTypedIsRefusedWithTheReason();
    void whatIsPastedCanBeSentAndGivesTheText();
};

void tst_TypingPlan::charactersBecomeKeysAndTheRestIsPasted_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<TypingStyle>("style");
    QTest::addColumn<QString>("steps");
    const TypingStyle usual;
    QTest::newRow("empty") << QString() << usual << QString();
    QTest::newRow("letters") << u"aZ9"_s << usual << u"a|Shift+Z|9"_s;
    QTest::newRow("blanks") << u" a  b "_s << usual
                            << QStringList{blank, u"a"_s, blank, blank, u"b"_s, blank}.join(u'|');
    QTest::newRow("brackets") << u"[]"_s << usual << u"]|["_s;
    QTest::newRow("full stop") << u"a.b"_s << usual << u"a|<.>|b"_s;
    QTest::newRow("a run in one go") << u"\u00fc\u00df!e"_s << usual << u"<\u00fc\u00df!>|e"_s;
    QTest::newRow("round bracket") << u"(a)"_s << usual << u"<(>|a|<)>"_s;
    QTest::newRow("not by Shift") << u"!?+"_s << usual << u"<!?+>"_s;
    QTest::newRow("by Shift") << u"!\"?."_s << onUsKeyboard << u"Shift+1|Shift+'|Shift+/|<.>"_s;
    QTest::newRow("all pasted") << u"Hello, World; ok."_s << byClipboard
                                << u"<Hello, World; ok.>"_s;
    QTest::newRow("blanks that the clipboard cannot take")
        << u" a  b "_s << byClipboard
        << QStringList{blank, u"<a>"_s, blank, blank, u"<b>"_s, blank}.join(u'|');
    QTest::newRow("one that looks like a list")
        << u"(a, b) c"_s << byClipboard << u"<(a,>|"_s + blank + u"|<b) c>"_s;
    QTest::newRow("marker") << u"x[[[IGNORE]]]y"_s << byClipboard << u"<x[[[>|<IGNORE]]]y>"_s;
    QTest::newRow("long") << QString(2500, u'.') << usual
                          << u"<%1>|<%1>|<%2>"_s.arg(QString(1200, u'.'), QString(100, u'.'));
}

void tst_TypingPlan::charactersBecomeKeysAndTheRestIsPasted()
{
    QFETCH(QString, text);
    QFETCH(TypingStyle, style);
    QFETCH(QString, steps);
    const TypingPlan plan = TypingPlan::of(text, style);
    QCOMPARE(plan.refusal, QString());
    QCOMPARE(shown(plan), steps);
    QCOMPARE(plan.usesClipboard(), steps.contains(u'<'));
}

void tst_TypingPlan::whatCannotBeTypedIsRefusedWithTheReason_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("reason");
    QTest::newRow("line break") << u"a\nb"_s << u"cannot type Return"_s;
    QTest::newRow("carriage return") << u"a\r"_s << u"cannot type Return"_s;
    QTest::newRow("tab") << u"a\tb"_s << u"cannot type Tab"_s;
    QTest::newRow("double quote") << u"say \"hi\""_s << u"--us-keyboard"_s;
    QTest::newRow("euro") << u"5 \u20ac"_s << u"the character \u20ac, which is beyond Latin-1"_s;
    QTest::newRow("emoji") << u"\U0001f600"_s << u"the character \U0001f600, which"_s;
    QTest::newRow("looks like a letter modulo 256") << u"\u0161"_s << u"\u0161, which is beyond"_s;
    QTest::newRow("escape") << u"\u001b[2J"_s << u"the character U+001B. "_s;
    QTest::newRow("NUL") << QString(QChar(u'\0')) << u"the character U+0000. "_s;
    QTest::newRow("no-break space") << u"a\u00a0b"_s << u"the character U+00A0. "_s;
}

void tst_TypingPlan::whatCannotBeTypedIsRefusedWithTheReason()
{
    QFETCH(QString, text);
    QFETCH(QString, reason);
    for (const TypingStyle &style : {TypingStyle(), byClipboard}) {
        const TypingPlan plan = TypingPlan::of(text, style);
        QVERIFY2(plan.refusal.contains(reason), qPrintable(plan.refusal));
        QVERIFY(plan.refusal.startsWith(u"The text cannot be typed: "_s));
        QVERIFY(plan.steps.empty());
    }
}

/// Random texts of difficult characters are put together again from the steps.
void tst_TypingPlan::whatIsPastedCanBeSentAndGivesTheText()
{
    const QStringList pieces = {u"a"_s, u" "_s, u"."_s, u"("_s,     u")"_s,   u", "_s,
                                u","_s, u";"_s, u"["_s, u"]"_s,     u"[[["_s, u"IGNORE]]]"_s,
                                u"{"_s, u"}"_s, u"="_s, u"\u00e9"_s};
    QRandomGenerator random(1);
    for (int round = 0; round < 20'000; ++round) {
        QString text;
        for (int length = random.bounded(12); length > 0; --length) {
            text += pieces[random.bounded(pieces.size())];
        }
        const TypingPlan plan = TypingPlan::of(text, {random.bounded(2) == 0, false});
        QCOMPARE(plan.refusal, QString());
        QString typed;
        for (const TypingStep &step : plan.steps) {
            if (step.kind == TypingStep::Kind::Paste) {
                const auto request = Request::copy(step.text);
                QCOMPARE(writeRequest(request, 1).refusal, QString());
                typed += step.text;
            } else {
                // Servers have the names of the square brackets swapped.
                typed += step.text == blank    ? u" "_s
                         : step.text == u"["_s ? u"]"_s
                         : step.text == u"]"_s ? u"["_s
                                               : step.text.right(1);
            }
        }
        QCOMPARE(typed, text);
    }
}

QTEST_GUILESS_MAIN(tst_TypingPlan)
#include "tst_TypingPlan.moc"
