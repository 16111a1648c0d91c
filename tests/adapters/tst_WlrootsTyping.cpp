// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Texts on a compositor with virtual keyboards.

#include "adapters/WlrootsScene.h"
#include "platform/linux/input/NamedKeySymbols.h"
#include "support/RandomText.h"

#include <QElapsedTimer>
#include <QRandomGenerator>

using namespace platform;
using namespace std::chrono_literals;

class tst_WlrootsTyping : public QObject
{
    Q_OBJECT

private slots:
    void everyCharacterArrives_data();
    void everyCharacterArrives();
    void theLayoutsCharactersNeedNoOtherKeymap();
    void foreignLettersOneByOneNeedOneKeymap();
    void afterATextShortcutsAreThoseOfTheLayout();
    void keysGoBetweenThePartsOfAText();
    void aTextIsTypedFast();
    void aProgramThatStopsForAWhileLosesNothing();
    void aProgramThatHangsIsNotCutOff();
    void aProgramThatHangsInTheBackgroundHoldsNothingUp();
    void aTextEndsWithItsContext();
    void textsComeOneAfterTheOther();
    void aTextFailsWhenTheCompositorEnds();
};

void tst_WlrootsTyping::everyCharacterArrives_data()
{
    QTest::addColumn<QByteArray>("layouts");
    for (const char *layouts : {"us", "de", "ru", "us,ru"}) {
        QTest::newRow(layouts) << QByteArray(layouts);
    }
}

void tst_WlrootsTyping::everyCharacterArrives()
{
    QFETCH(QByteArray, layouts);
    const WlrootsScene scene(layouts);
    QVERIFY(scene.isReady());
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    const QString text =
        RandomText(seed).mixed(10'000, u"abc XYZ 0123\t{[]}|@\\\"'~^`äöüßéйцуЖЭ€"_s,
                               [](char32_t character) { return keysymOf(character) != 0; });
    QVERIFY(scene.type(text));
    QVERIFY(waitUntil([&] { return scene.window->typed().size() >= text.size(); }));
    QCOMPARE(scene.window->typed(), text);
}

void tst_WlrootsTyping::theLayoutsCharactersNeedNoOtherKeymap()
{
    const WlrootsScene scene("us,ru");
    QVERIFY(scene.isReady());
    scene.window->clear();
    QVERIFY(scene.type(u"Hello, мир!\n"_s));
    QTRY_COMPARE(scene.window->typed(), u"Hello, мир!\n"_s);
    QCOMPARE(scene.window->keymaps(), 0);
}

void tst_WlrootsTyping::foreignLettersOneByOneNeedOneKeymap()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    const QString text = u"Привет, привет. Hello"_s;
    for (const QChar letter : text) {
        QVERIFY(scene.type(letter));
    }
    QTRY_COMPARE(scene.window->typed(), text);
    scene.window->clear();
    for (const QChar letter : text) {
        QVERIFY(scene.type(letter));
    }
    QTRY_COMPARE(scene.window->typed(), text);
    QCOMPARE(scene.window->keymaps(), 0);
}

void tst_WlrootsTyping::afterATextShortcutsAreThoseOfTheLayout()
{
    const WlrootsScene scene("de");
    QVERIFY(scene.isReady());
    QVERIFY(scene.type(u"漢字"_s));
    QVERIFY(scene.tap({.character = U'z'}, {.hasControl = true}));
    QTRY_COMPARE(scene.window->typed(), u"漢字"_s);
    QTRY_VERIFY(!scene.window->keys().empty() && scene.window->keys().back().keysym == 0xffe3);
    const auto &keys = scene.window->keys();
    QCOMPARE(keys.at(keys.size() - 3),
             (WaylandWindow::KeyEvent{29, true, 'z', 0b100})); // Z and Y have changed places.
}

void tst_WlrootsTyping::keysGoBetweenThePartsOfAText()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    const QString text = u"äöü xyz"_s.repeated(600);
    std::optional<bool> done;
    scene.input().type(text, nullptr, [&](bool isDone) { done = isDone; });
    QTest::qWait(20);
    QVERIFY(scene.tap({.name = NamedKey::F5}));
    QVERIFY(!done);
    QTRY_VERIFY(done && *done);
    QTRY_COMPARE(scene.window->typed(), text);
    const auto &keys = scene.window->keys();
    const auto place = std::ranges::find(keys, 0xffc2U, &WaylandWindow::KeyEvent::keysym);
    QVERIFY(place != keys.end() && place - keys.begin() < std::ssize(keys) - 100);
}

void tst_WlrootsTyping::aTextIsTypedFast()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    const QString text = u"the quick brown fox jumps over the lazy dog\n"_s.repeated(500);
    QElapsedTimer time;
    time.start();
    QVERIFY(scene.type(text));
    QTRY_COMPARE(scene.window->typed().size(), text.size());
    const double rate = text.size() * 1000. / static_cast<double>(time.elapsed());
    qInfo("%.0f characters per second", rate);
    QCOMPARE(scene.window->typed(), text);
    QVERIFY(rate < 8000);
}

/// Longer than the text takes, which is more than a socket holds.
void tst_WlrootsTyping::aProgramThatStopsForAWhileLosesNothing()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    const QString text = u"Aa"_s.repeated(5000);
    std::optional<bool> done;
    scene.input().type(text, nullptr, [&](bool isDone) { done = isDone; });
    scene.window->stall();
    QTest::qWait(5000);
    QVERIFY(!done);
    scene.window->resume();
    QTRY_VERIFY(done && *done);
    QVERIFY(!scene.window->isCutOff());
    QTRY_COMPARE(scene.window->typed().size(), text.size());
    QVERIFY(!scene.window->isCutOff());
    QCOMPARE(scene.window->typed(), text);
}

void tst_WlrootsTyping::aProgramThatHangsIsNotCutOff()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    const QString text = u"Aa"_s.repeated(5000);
    scene.window->stall();
    const auto start = TypingBrake::Clock::now();
    QVERIFY(!scene.type(text));
    QVERIFY(TypingBrake::Clock::now() - start > TypingBrake::patience);
    scene.window->resume();
    scene.window->catchUp();
    QVERIFY(!scene.window->isCutOff());
    QVERIFY(scene.window->typed().size() < text.size());
    scene.window->clear();
    QVERIFY(scene.type(text));
    QTRY_COMPARE(scene.window->typed().size(), text.size());
    QCOMPARE(scene.window->typed(), text);
}

void tst_WlrootsTyping::aProgramThatHangsInTheBackgroundHoldsNothingUp()
{
    WlrootsScene scene;
    QVERIFY(scene.isReady());
    const QString text = u"Aa"_s.repeated(5000);
    scene.window->stall();
    auto context = std::make_unique<QObject>();
    scene.input().type(text, context.get(), [](bool) {});
    const ProgramSockets programs(ProgramSockets::nameFromEnvironment());
    const auto hasMuchUnread = [](const auto &each) {
        return each.second > TypingBrake::muchUnread;
    };
    QTRY_VERIFY(std::ranges::any_of(programs.unread().value_or(UnreadEvents()), hasMuchUnread));
    QTest::qWait(500);
    context.reset();

    const auto hanging = std::move(scene.window);
    scene.window = std::make_unique<WaylandWindow>(scene.session.display());
    QVERIFY(scene.isReady());
    const auto start = TypingBrake::Clock::now();
    QVERIFY(scene.type(text));
    QVERIFY(TypingBrake::Clock::now() - start < TypingBrake::patience);
    QTRY_COMPARE(scene.window->typed().size(), text.size());
    QCOMPARE(scene.window->typed(), text);
    hanging->catchUp();
    QVERIFY(!hanging->isCutOff());
}

void tst_WlrootsTyping::aTextEndsWithItsContext()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    auto context = std::make_unique<QObject>();
    bool isAnswered = false;
    scene.input().type(u"x"_s.repeated(5000), context.get(), [&](bool) { isAnswered = true; });
    QTest::qWait(50);
    context.reset();
    QVERIFY(scene.type(u"."_s));
    QTRY_VERIFY(scene.window->typed().endsWith(u'.'));
    QVERIFY(scene.window->typed().size() < 5000);
    QVERIFY(!isAnswered);
}

void tst_WlrootsTyping::textsComeOneAfterTheOther()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    QString expected;
    int answers = 0;
    for (int number = 0; number < 50; ++number) {
        const QString text = QString::number(number) + u"…ß\n"_s;
        scene.input().type(text, nullptr, [&answers, number](bool isDone) {
            answers += isDone && answers == number ? 1 : 1000;
        });
        expected += text;
    }
    QTRY_COMPARE(answers, 50);
    QTRY_COMPARE(scene.window->typed(), expected);
}

void tst_WlrootsTyping::aTextFailsWhenTheCompositorEnds()
{
    WlrootsScene scene;
    QVERIFY(scene.isReady());
    std::optional<bool> done;
    scene.input().type(u"x"_s.repeated(50'000), nullptr, [&](bool isDone) { done = isDone; });
    QTest::qWait(20);
    scene.session.end();
    QTRY_VERIFY(done);
    QVERIFY(!*done);
    QVERIFY(!scene.type(u"more"_s));
}

QTEST_GUILESS_MAIN(tst_WlrootsTyping)
#include "tst_WlrootsTyping.moc"
