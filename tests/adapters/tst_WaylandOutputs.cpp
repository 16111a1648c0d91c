// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What sway does not do with its outputs.

#include "platform/linux/wayland/WaylandOutputs.h"

#include "support/Waiting.h"
#include "support/wayland/StandInCompositor.h"
#include "support/wayland/StandInOutput.h"

#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using platform::Screen;
using platform::WaylandConnection;
using platform::WaylandOutputs;

class tst_WaylandOutputs : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void withoutLogicalMeasuresTheScaleCounts_data();
    void withoutLogicalMeasuresTheScaleCounts();
    void anOutputThatIsUnpluggedIsGone();
    void whatDoesNotChangeIsNotReported();
    void sizesThatCannotBeDoNoHarm_data();
    void sizesThatCannotBeDoNoHarm();
    void endlessOutputsAreNotKept();

private:
    bool becomes(const QList<Screen> &expected)
    {
        return waitUntil([&] { return outputs->all() == expected; });
    }

    std::unique_ptr<StandInCompositor> compositor;
    std::unique_ptr<WaylandConnection> connection;
    std::unique_ptr<WaylandOutputs> outputs;
};

void tst_WaylandOutputs::init()
{
    compositor = std::make_unique<StandInCompositor>();
    QVERIFY(compositor->isRunning());
    connection = std::make_unique<WaylandConnection>();
    outputs = std::make_unique<WaylandOutputs>(*connection);
}

void tst_WaylandOutputs::cleanup()
{
    outputs.reset();
    connection.reset();
    compositor.reset();
}

void tst_WaylandOutputs::withoutLogicalMeasuresTheScaleCounts_data()
{
    QTest::addColumn<int>("scale");
    QTest::addColumn<int>("transform");
    QTest::addColumn<QSize>("size");
    QTest::newRow("as it is") << 1 << 0 << QSize(800, 600);
    QTest::newRow("scaled") << 2 << 0 << QSize(400, 300);
    QTest::newRow("turned") << 1 << 1 << QSize(600, 800);
    QTest::newRow("upside down") << 1 << 2 << QSize(800, 600);
    QTest::newRow("scaled, mirrored and turned") << 2 << 7 << QSize(300, 400);
}

void tst_WaylandOutputs::withoutLogicalMeasuresTheScaleCounts()
{
    QFETCH(int, scale);
    QFETCH(int, transform);
    QFETCH(QSize, size);
    const QPoint place(-30, 40);
    const StandInOutput output(*compositor, {"one", place, {800, 600}, scale, transform});
    QVERIFY(becomes({{u"one"_s, QRect(place, size), static_cast<double>(scale)}}));
    QCOMPARE(outputs->bounds(), QRect(place, size));
}

void tst_WaylandOutputs::anOutputThatIsUnpluggedIsGone()
{
    const Screen left{u"left"_s, QRect(0, 0, 800, 600), 1};
    const Screen right{u"right"_s, QRect(800, 0, 400, 300), 1};
    const StandInOutput first(*compositor, {"right", {800, 0}, {400, 300}});
    QVERIFY(becomes({right}));
    {
        const StandInOutput second(*compositor, {"left", {0, 0}, {800, 600}});
        QVERIFY(becomes({left, right}));
        QCOMPARE(outputs->bounds(), QRect(0, 0, 1200, 600));
    }
    QSignalSpy changes(outputs.get(), &WaylandOutputs::changed);
    QVERIFY(becomes({right}));
    QCOMPARE(changes.size(), 1);
    QCOMPARE(outputs->bounds(), right.place);
}

void tst_WaylandOutputs::whatDoesNotChangeIsNotReported()
{
    const StandInOutput::Description same{"one", {0, 0}, {800, 600}};
    StandInOutput output(*compositor, same);
    QVERIFY(becomes({{u"one"_s, QRect(0, 0, 800, 600), 1}}));
    const QSignalSpy changes(outputs.get(), &WaylandOutputs::changed);
    output.change(same);
    output.change({"two", {0, 0}, {800, 600}});
    QVERIFY(becomes({{u"two"_s, QRect(0, 0, 800, 600), 1}}));
    QCOMPARE(changes.size(), 1);
}

void tst_WaylandOutputs::sizesThatCannotBeDoNoHarm_data()
{
    constexpr int most = std::numeric_limits<int>::max();
    constexpr int least = std::numeric_limits<int>::min();
    QTest::addColumn<QPoint>("place");
    QTest::addColumn<QSize>("pixels");
    QTest::addColumn<int>("scale");
    QTest::newRow("nothing") << QPoint() << QSize(0, 0) << 0;
    QTest::newRow("largest") << QPoint(most, most) << QSize(most, most) << most;
    QTest::newRow("smallest") << QPoint(least, least) << QSize(least, least) << least;
    QTest::newRow("far") << QPoint(least, most) << QSize(most, 1) << -1;
}

/// The sanitizers would complain.
void tst_WaylandOutputs::sizesThatCannotBeDoNoHarm()
{
    QFETCH(QPoint, place);
    QFETCH(QSize, pixels);
    QFETCH(int, scale);
    const StandInOutput other(*compositor, {"other", {0, 0}, {800, 600}});
    const StandInOutput output(*compositor, {"one", place, pixels, scale, -1});
    QVERIFY(waitUntil([this] { return outputs->all().size() == 2; }));
    QVERIFY(outputs->bounds().contains(QRect(0, 0, 800, 600)));
    QVERIFY(std::isfinite(outputs->all().last().scale));
}

void tst_WaylandOutputs::endlessOutputsAreNotKept()
{
    std::vector<std::unique_ptr<StandInOutput>> many;
    for (int i = 0; i < 100; ++i) {
        many.push_back(std::make_unique<StandInOutput>(
            *compositor, StandInOutput::Description{"many", {0, 0}, {800, 600}}));
    }
    QVERIFY(waitUntil([this] { return outputs->all().size() == 64; }));
    bool isAnswered = false;
    connection->afterEverything([&] { isAnswered = true; });
    QVERIFY(waitUntil([&] { return isAnswered; }));
    QCOMPARE(outputs->all().size(), 64);
}

QTEST_GUILESS_MAIN(tst_WaylandOutputs)
#include "tst_WaylandOutputs.moc"
