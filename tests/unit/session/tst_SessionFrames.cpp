// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionFrames.h"

#include <QList>
#include <QTest>

#include <algorithm>
#include <string_view>
#include <utility>

using Frame = SessionFrames::Frame;
using Kind = SessionFrames::Kind;
using Delivery = SessionFrames::Delivery;

namespace {

/// Puts those that belong to a body where they belong, and adds the others.
void addByPlaces(SessionFrames &frames, std::span<const char> bytes)
{
    const std::span<char> place = frames.place();
    const size_t placed = std::min(place.size(), bytes.size());
    std::copy_n(bytes.begin(), placed, place.begin());
    frames.placed(static_cast<qsizetype>(placed));
    frames.add(bytes.subspan(placed));
}

/// All frames of the bytes, which come in pieces of that size. A line that is a number announces a
/// body of that size. The parts of a body are put together again.
QList<Frame> framesOf(const QByteArray &bytes, qsizetype pieceSize, bool byPlaces = false,
                      Delivery delivery = Delivery::Whole)
{
    QByteArray parts;
    SessionFrames frames;
    QList<Frame> found;
    for (qsizetype begin = 0; begin < bytes.size(); begin += pieceSize) {
        const auto piece = std::span(bytes).subspan(
            static_cast<size_t>(begin),
            static_cast<size_t>(std::min(pieceSize, bytes.size() - begin)));
        byPlaces ? addByPlaces(frames, piece) : frames.add(piece);
        while (const auto frame = frames.next()) {
            if (frame->kind == Kind::Part) {
                parts += frame->bytes;
                continue;
            }
            found.append({frame->kind, std::exchange(parts, {}) + frame->bytes});
            bool isNumber = false;
            const qint64 size = frame->bytes.toLongLong(&isNumber);
            if (frame->kind == Kind::Line && isNumber) {
                frames.expectBody(size, delivery);
            }
        }
    }
    return found;
}

} // namespace

class tst_SessionFrames : public QObject
{
    Q_OBJECT

private slots:
    void bytesAreDividedWhateverPiecesTheyComeIn_data();
    void bytesAreDividedWhateverPiecesTheyComeIn();
    void theLongestLineIsTaken();
    void aLongerLineIsSkipped();
    void theLongestBodyIsTaken();
    void aLongerBodyIsSkipped();
    void whatIsIncompleteWaits();
    void aBodyHasItsPlaceWhenNothingIsBeforeIt();
    void partsAreTakenAsTheyCome();
    void whatIsSkippedIsNotStored_data();
    void whatIsSkippedIsNotStored();
    void whatIsTakenIsNotStored();
};

void tst_SessionFrames::bytesAreDividedWhateverPiecesTheyComeIn_data()
{
    QTest::addColumn<int>("pieceSize");
    for (const int size : {1, 2, 3, 7, 1000}) {
        QTest::addRow("%d bytes", size) << size;
    }
}

void tst_SessionFrames::bytesAreDividedWhateverPiecesTheyComeIn()
{
    QFETCH(int, pieceSize);
    const QList<Frame> expected = {
        {Kind::Line, "first"}, {Kind::Line, ""}, {Kind::Line, "5"},   {Kind::Body, "a\nb\n\n"},
        {Kind::Line, "0"},     {Kind::Body, ""}, {Kind::Line, "x\r"}, {Kind::Line, "with \t tab"},
    };
    const QByteArray bytes = "first\n\n5\na\nb\n\n0\nx\r\nwith \t tab\nrest";
    for (const Delivery delivery : {Delivery::Whole, Delivery::InParts}) {
        QCOMPARE(framesOf(bytes, pieceSize, false, delivery), expected);
        QCOMPARE(framesOf(bytes, pieceSize, true, delivery), expected);
    }
}

void tst_SessionFrames::theLongestLineIsTaken()
{
    const QByteArray line(1'048'576, 'x');
    for (const qsizetype pieceSize : {4'096, 1'048'576, 2'000'000}) {
        const QList<Frame> expected = {{Kind::Line, line}, {Kind::Line, "next"}};
        QCOMPARE(framesOf(line + "\nnext\n", pieceSize), expected);
    }
}

void tst_SessionFrames::aLongerLineIsSkipped()
{
    const QByteArray line(1'048'577, 'x');
    for (const qsizetype pieceSize : {4'096, 1'048'576, 2'000'000}) {
        const QList<Frame> expected = {{Kind::LongLine, ""}, {Kind::Line, "next"}};
        QCOMPARE(framesOf(line + "\nnext\n", pieceSize), expected);
    }
}

void tst_SessionFrames::theLongestBodyIsTaken()
{
    const QByteArray body(1'048'576, '\n');
    for (const qsizetype pieceSize : {4'096, 1'048'576, 2'000'000}) {
        const QList<Frame> expected = {
            {Kind::Line, "1048576"}, {Kind::Body, body}, {Kind::Line, "next"}};
        for (const Delivery delivery : {Delivery::Whole, Delivery::InParts}) {
            const QByteArray bytes = "1048576\n" + body + "next\n";
            QCOMPARE(framesOf(bytes, pieceSize, false, delivery), expected);
            QCOMPARE(framesOf(bytes, pieceSize, true, delivery), expected);
        }
    }
}

void tst_SessionFrames::aLongerBodyIsSkipped()
{
    const QByteArray body(1'048'577, '\n');
    for (const qsizetype pieceSize : {4'096, 1'048'576, 2'000'000}) {
        const QList<Frame> expected = {
            {Kind::Line, "1048577"}, {Kind::LongBody, ""}, {Kind::Line, "next"}};
        for (const Delivery delivery : {Delivery::Whole, Delivery::InParts}) {
            const QByteArray bytes = "1048577\n" + body + "next\n";
            QCOMPARE(framesOf(bytes, pieceSize, false, delivery), expected);
            QCOMPARE(framesOf(bytes, pieceSize, true, delivery), expected);
        }
    }
}

void tst_SessionFrames::whatIsIncompleteWaits()
{
    SessionFrames frames;
    frames.add(std::span("lin", 3));
    QCOMPARE(frames.next(), std::nullopt);
    frames.add(std::span("e\nbod", 5));
    QCOMPARE(frames.next(), (Frame{Kind::Line, "line"}));
    frames.expectBody(4, Delivery::Whole);
    QCOMPARE(frames.next(), std::nullopt);
    frames.add(std::span("y", 1));
    QCOMPARE(frames.next(), (Frame{Kind::Body, "body"}));
    QCOMPARE(frames.next(), std::nullopt);
}

void tst_SessionFrames::aBodyHasItsPlaceWhenNothingIsBeforeIt()
{
    SessionFrames frames;
    QVERIFY(frames.place().empty());
    frames.add(std::span("line\nb", 6));
    QVERIFY(!frames.isWithinBody());
    QVERIFY(frames.next());
    frames.expectBody(4, Delivery::Whole);
    QVERIFY(frames.isWithinBody());
    QVERIFY(frames.place().empty());
    QCOMPARE(frames.next(), std::nullopt);
    std::ranges::copy(std::string_view("od"), frames.place().begin());
    frames.placed(2);
    QCOMPARE(frames.stored(), 3);
    QVERIFY(frames.isWithinBody());
    QCOMPARE(frames.place().size(), size_t(1));
    frames.placed(0);
    frames.add(std::span("yrest", 5));
    QVERIFY(!frames.isWithinBody());
    QVERIFY(frames.place().empty());
    QCOMPARE(frames.next(), (Frame{Kind::Body, "body"}));
    QCOMPARE(frames.stored(), 4);
}

void tst_SessionFrames::partsAreTakenAsTheyCome()
{
    SessionFrames frames;
    frames.add(std::span("line\nfir", 8));
    QVERIFY(frames.next());
    frames.expectBody(1'000'000, Delivery::InParts);
    QVERIFY(!frames.isWithinBody());
    QCOMPARE(frames.next(), (Frame{Kind::Part, "fir"}));
    QVERIFY(frames.isWithinBody());
    QCOMPARE(frames.next(), std::nullopt);
    // A part has room for what a socket gives at once, however long the body is.
    const std::span<char> place = frames.place();
    QCOMPARE(place.size(), size_t(262'144));
    std::ranges::copy(std::string_view("st"), place.begin());
    frames.placed(2);
    QVERIFY(!frames.isWithinBody());
    QCOMPARE(frames.next(), (Frame{Kind::Part, "st"}));
    QCOMPARE(frames.stored(), 0);
    frames.add(QByteArray(999'995, 'x'));
    QCOMPARE(frames.next(), (Frame{Kind::Body, QByteArray(999'995, 'x')}));
}

void tst_SessionFrames::whatIsSkippedIsNotStored_data()
{
    QTest::addColumn<Delivery>("delivery");
    QTest::newRow("whole") << Delivery::Whole;
    QTest::newRow("in parts") << Delivery::InParts;
}

void tst_SessionFrames::whatIsSkippedIsNotStored()
{
    QFETCH(Delivery, delivery);
    SessionFrames frames;
    const QByteArray piece(100'000, 'x');
    for (int i = 0; i < 100; ++i) {
        frames.add(piece);
        QCOMPARE(frames.next(), std::nullopt);
        QVERIFY(frames.stored() <= 1'048'576);
    }
    QCOMPARE(frames.stored(), 0);
    frames.add(std::span("\n", 1));
    QVERIFY(frames.next());
    frames.expectBody(Q_INT64_C(9'000'000'000'000'000), delivery);
    for (int i = 0; i < 100; ++i) {
        frames.add(piece);
        QCOMPARE(frames.next(), std::nullopt);
        QCOMPARE(frames.stored(), 0);
    }
}

void tst_SessionFrames::whatIsTakenIsNotStored()
{
    SessionFrames frames;
    frames.add(std::span("one\ntwo\nthr", 11));
    QCOMPARE(frames.stored(), 11);
    QVERIFY(frames.next());
    QCOMPARE(frames.stored(), 7);
    QVERIFY(frames.next());
    QVERIFY(!frames.next());
    QCOMPARE(frames.stored(), 3);
}

QTEST_GUILESS_MAIN(tst_SessionFrames)
#include "tst_SessionFrames.moc"
