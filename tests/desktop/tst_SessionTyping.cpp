// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Texts from the session socket, as they arrive in programs of other makers.

#include "support/session/TypingScene.h"

#include <QElapsedTimer>
#include <QTest>

#include <algorithm>

using namespace std::chrono_literals;
using Hindrance = TypingScene::Hindrance;
using Kind = ControlsProgram::Kind;
Q_DECLARE_METATYPE(TypingScene::Hindrance)
Q_DECLARE_METATYPE(ControlsProgram::Kind)

namespace {

constexpr quint32 Seed = 20261122;

constexpr int FewCharacters = 120;

/// Whether each program gets so many that the window manager, which reads its keys anew at each
/// change of the map, needs minutes for it. Then each has a desktop of its own.
bool isAtLength()
{
    return !TypingDesk::isWayland() &&
           qEnvironmentVariableIntValue("VORNA_CHARACTERS") > FewCharacters;
}

/// How many characters each program gets: VORNA_CHARACTERS, or few.
int characters()
{
    return std::max(qEnvironmentVariableIntValue("VORNA_CHARACTERS"), FewCharacters);
}

/// Whether the text is there, though with more between its characters.
bool isWithin(const QString &text, const QString &arrived)
{
    qsizetype next = 0;
    for (const QChar unit : arrived) {
        next += next < text.size() && unit == text.at(next) ? 1 : 0;
    }
    return next == text.size();
}

} // namespace

class tst_SessionTyping : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();

    void everyCharacterArrives_data();
    void everyCharacterArrives();
    void programsThatAnswerAreNotWaitedFor_data();
    void programsThatAnswerAreNotWaitedFor();
    void aProgramThatStopsForAWhileLosesNothing_data();
    void aProgramThatStopsForAWhileLosesNothing();
    void layoutsCanBeSwitchedHalfway_data();
    void layoutsCanBeSwitchedHalfway();
    void layoutsCanBeReplacedHalfway_data();
    void layoutsCanBeReplacedHalfway();

private:
    void startAnew();
    static QString sample(Kind kind, const QString &layout);

    std::unique_ptr<TypingScene> typing;
};

void tst_SessionTyping::initTestCase()
{
    qInfo("The seed is %u.", Seed);
    startAnew();
}

void tst_SessionTyping::startAnew()
{
    typing.reset();
    typing = std::make_unique<TypingScene>();
    QVERIFY(typing->start());
}

void tst_SessionTyping::cleanupTestCase()
{
    QCOMPARE(typing->desk().problemAtEnd(), QByteArray());
}

void tst_SessionTyping::init()
{
    if (isAtLength()) {
        startAnew();
    }
    QVERIFY(typing->desk().useLayout(u"us"_s));
}

void tst_SessionTyping::everyCharacterArrives_data()
{
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<QString>("layout");
    QTest::addColumn<Hindrance>("hindrance");
    for (const auto &[name, kind] : TypingScene::programs()) {
        for (const char *layout : {"us", "de", "fr", "ru"}) {
            QTest::addRow("%s, %s", name.constData(), layout)
                << kind << QString::fromLatin1(layout) << Hindrance::None;
        }
        if (TypingDesk::sharesKeyboard() || !TypingDesk::canHinder()) {
            continue;
        }
        QTest::addRow("%s, Caps Lock", name.constData()) << kind << u"de"_s << Hindrance::CapsLock;
        QTest::addRow("%s, Shift held", name.constData())
            << kind << u"fr"_s << Hindrance::HeldShift;
    }
}

void tst_SessionTyping::everyCharacterArrives()
{
    QFETCH(Kind, kind);
    QFETCH(QString, layout);
    QFETCH(Hindrance, hindrance);
    QVERIFY(typing->desk().useLayout(layout));
    QVERIFY(typing->open(kind));
    QCOMPARE(typing->type(sample(kind, layout), hindrance), QByteArray());
}

QString tst_SessionTyping::sample(Kind kind, const QString &layout)
{
    RandomText text(Seed);
    QString keyCaps = TypingScene::keyCaps(layout);
    const auto isTaken = [kind](char32_t character) {
        return TypingScene::isTaken(kind, character);
    };
    if (!TypingDesk::typesAnything() && layout == "de"_L1) {
        // That layout has them only as accents for the next letter.
        keyCaps.remove(u'^').remove(u'`');
    }
    return TypingDesk::typesAnything() ? text.mixed(characters(), keyCaps, isTaken)
                                       : text.ofKeyCaps(characters(), keyCaps);
}

void tst_SessionTyping::programsThatAnswerAreNotWaitedFor_data()
{
    QTest::addColumn<Kind>("kind");
    for (const auto &[name, kind] : TypingScene::programs()) {
        if (kind != Kind::Terminal) {
            QTest::newRow(name.constData()) << kind;
        }
    }
}

/// With a second for each time that the spare keys are used up it would take at least ten.
void tst_SessionTyping::programsThatAnswerAreNotWaitedFor()
{
    QFETCH(Kind, kind);
    QVERIFY(typing->open(kind));
    QString text;
    for (char16_t number = 0; number < 200; ++number) {
        text += QChar(static_cast<char16_t>(u'一' + number));
    }
    QElapsedTimer time;
    time.start();
    QCOMPARE(typing->type(text), QByteArray());
    QVERIFY2(time.elapsed() < 8'000, QByteArray::number(time.elapsed()).constData());
}

void tst_SessionTyping::aProgramThatStopsForAWhileLosesNothing_data()
{
    QTest::addColumn<Kind>("kind");
    for (const auto &[name, kind] : TypingScene::programs()) {
        QTest::newRow(name.constData()) << kind;
    }
}

/// While it stops, more is typed than its socket holds. Through a portal fewer keys fill that. And
/// there a press and its release are sent apart, so a program that stops between them repeats a
/// key.
void tst_SessionTyping::aProgramThatStopsForAWhileLosesNothing()
{
    QFETCH(Kind, kind);
    QVERIFY(typing->desk().useLayout(u"us"_s));
    QVERIFY(typing->open(kind));
    const bool isPortal = TypingDesk::isGnome() || TypingDesk::isPlasma();
    const QString text =
        RandomText(Seed).ofKeyCaps(isPortal ? 1'000 : 10'000, TypingScene::keyCaps(u"us"_s));
    bool hasPaused = false;
    const QByteArray difference =
        typing->type(text, Hindrance::None, [&] { hasPaused = typing->program().pause(3s); });
    QVERIFY(hasPaused);
    if (isPortal) {
        QVERIFY2(isWithin(text, typing->program().text()), difference.constData());
    } else {
        QCOMPARE(difference, QByteArray());
    }
}

void tst_SessionTyping::layoutsCanBeSwitchedHalfway_data()
{
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<QString>("layouts");
    for (const auto &[name, kind] : TypingScene::programs()) {
        QTest::addRow("%s, to another alphabet", name.constData()) << kind << u"us,ru"_s;
        QTest::addRow("%s, to the same letters elsewhere", name.constData()) << kind << u"de,fr"_s;
    }
}

void tst_SessionTyping::layoutsCanBeSwitchedHalfway()
{
    QFETCH(Kind, kind);
    QFETCH(QString, layouts);
    QVERIFY(typing->desk().useLayout(layouts));
    QVERIFY(typing->open(kind));
    const QString text = RandomText(Seed).ofKeyCaps(4000, TypingScene::keyCaps(layouts));
    QCOMPARE(typing->type(text, Hindrance::None, [this] { typing->desk().switchToLayout(1); }),
             QByteArray());
    typing->desk().switchToLayout(0);
}

void tst_SessionTyping::layoutsCanBeReplacedHalfway_data()
{
    QTest::addColumn<Kind>("kind");
    for (const auto &[name, kind] : TypingScene::programs()) {
        QTest::newRow(name.constData()) << kind;
    }
}

void tst_SessionTyping::layoutsCanBeReplacedHalfway()
{
    QFETCH(Kind, kind);
    QVERIFY(typing->open(kind));
    const QString text = RandomText(Seed).ofKeyCaps(4000, TypingScene::keyCaps(u"us"_s));
    QCOMPARE(typing->type(text, Hindrance::None, [this] { typing->desk().useLayout(u"fr"_s); }),
             QByteArray());
}

QTEST_GUILESS_MAIN(tst_SessionTyping)
#include "tst_SessionTyping.moc"
