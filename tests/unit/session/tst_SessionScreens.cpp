// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionScreens.h"

#include "doubles/RecordingScreens.h"
#include "platform/EventServices.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QJsonArray bothScreens{
    QJsonObject{{u"name"_s, u"DP-1"_s},
                {u"x"_s, 800},
                {u"y"_s, 0},
                {u"width"_s, 1920},
                {u"height"_s, 1080},
                {u"scale"_s, 2}},
    QJsonObject{{u"name"_s, u"LVDS"_s},
                {u"x"_s, 0},
                {u"y"_s, -20},
                {u"width"_s, 800},
                {u"height"_s, 600},
                {u"scale"_s, 1}},
};

} // namespace

class tst_SessionScreens : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void everyScreenIsDescribed();
    void changesAreReportedWhileTheyAreWatched();
    void theHostIsWatchedWhileAnySessionWatches();
    void aWatchIsOnOrOff();
    void placesAreSharesOfAScreen_data();
    void placesAreSharesOfAScreen();

private:
    SessionReply ask(void (SessionScreens::*request)(const SessionRequest &, const SessionAnswer &),
                     const QJsonObject &fields = {})
    {
        SessionReply reply = SessionReply::refused(u"none"_s, {});
        (session.get()->*request)({1, {}, fields, {}},
                                  [&](const SessionReply &given) { reply = given; });
        return reply;
    }
    std::unique_ptr<SessionScreens> makeSession()
    {
        return std::make_unique<SessionScreens>(
            *screens, *watch, [this](const QJsonObject &event) { events.append(event); });
    }

    std::unique_ptr<RecordingScreens> screens;
    std::unique_ptr<SharedWatch> watch;
    std::unique_ptr<SessionScreens> session;
    QList<QJsonObject> events;
};

void tst_SessionScreens::init()
{
    session.reset();
    events.clear();
    screens = std::make_unique<RecordingScreens>();
    screens->screens = {{u"DP-1"_s, QRect(800, 0, 1920, 1080), 2},
                        {u"LVDS"_s, QRect(0, -20, 800, 600), 1}};
    watch = std::make_unique<SharedWatch>(
        [this](std::function<void()> changed) { screens->watch(std::move(changed)); });
    session = makeSession();
}

void tst_SessionScreens::everyScreenIsDescribed()
{
    const SessionReply reply = ask(&SessionScreens::list);
    QCOMPARE(reply.fields, (QJsonObject{{u"screens"_s, bothScreens}}));
    QCOMPARE(reply.error, QString());
}

void tst_SessionScreens::changesAreReportedWhileTheyAreWatched()
{
    QVERIFY(!screens->changed);
    QCOMPARE(ask(&SessionScreens::watch).error, QString());
    QCOMPARE(ask(&SessionScreens::watch, {{u"on"_s, true}}).error, QString());
    screens->changed();
    QCOMPARE(events,
             QList<QJsonObject>({{{u"event"_s, u"screens"_s}, {u"screens"_s, bothScreens}}}));
    QCOMPARE(ask(&SessionScreens::watch, {{u"on"_s, false}}).error, QString());
    QVERIFY(!screens->changed);
}

void tst_SessionScreens::theHostIsWatchedWhileAnySessionWatches()
{
    auto other = makeSession();
    ask(&SessionScreens::watch);
    other->watch({}, [](const SessionReply &) {});
    screens->changed();
    QCOMPARE(events.size(), 2);
    session.reset();
    screens->changed();
    QCOMPARE(events.size(), 3);
    other.reset();
    QVERIFY(!screens->changed);
}

void tst_SessionScreens::aWatchIsOnOrOff()
{
    QCOMPARE(ask(&SessionScreens::watch, {{u"on"_s, 1}}).error, u"bad-request"_s);
    QVERIFY(!screens->changed);
}

void tst_SessionScreens::placesAreSharesOfAScreen_data()
{
    QTest::addColumn<int>("screen");
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("y");
    QTest::addColumn<QPointF>("place");
    QTest::newRow("left, top") << 0 << 0.0 << 0.0 << QPointF(800, 0);
    QTest::newRow("right, bottom") << 0 << 1.0 << 1.0 << QPointF(2719, 1079);
    QTest::newRow("middle") << 0 << 0.5 << 0.5 << QPointF(1759.5, 539.5);
    QTest::newRow("second screen") << 1 << 1.0 << 0.0 << QPointF(799, -20);
    QTest::newRow("no third screen") << 2 << 0.0 << 0.0 << QPointF(-1, -1);
    QTest::newRow("before the first") << -1 << 0.0 << 0.0 << QPointF(-1, -1);
}

void tst_SessionScreens::placesAreSharesOfAScreen()
{
    QFETCH(int, screen);
    QFETCH(double, x);
    QFETCH(double, y);
    const auto place = session->placeOn(screen, x, y).value_or(platform::Location{-1, -1});
    QTEST(QPointF(place.x, place.y), "place");
}

QTEST_GUILESS_MAIN(tst_SessionScreens)
#include "tst_SessionScreens.moc"
