// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How other programs get our text.

#include "adapters/DataControlScene.h"

#include <QTest>

#include <array>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace {

/// A program that wants the clipboard; reads only when told to.
struct Reader
{
    Descriptor target{-1};
    Descriptor source{-1};

    Reader()
    {
        std::array<int, 2> ends = {-1, -1};
        if (pipe2(ends.data(), O_CLOEXEC) == 0) {
            source = Descriptor(ends[0]);
            target = Descriptor(ends[1]);
            fcntl(source.get(), F_SETFL, O_NONBLOCK);
        }
    }

    /// Everything up to the end; none if that does not come.
    std::optional<QByteArray> readAll()
    {
        QByteArray all;
        const bool isAtEnd = waitUntil(
            [&] {
                std::array<char, 65536> bytes{};
                ssize_t count = 0;
                while ((count = read(source.get(), bytes.data(), bytes.size())) > 0) {
                    all.append(bytes.data(), count);
                }
                return count == 0;
            },
            GenerousLimit, 1ms);
        return isAtEnd ? std::optional(all) : std::nullopt;
    }
};

} // namespace

class tst_DataControlServing : public QObject, private DataControlScene
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { end(); }

    void ourTextIsOfferedUnderEveryName();
    void ourTextIsServed();
    void ourTextIsReadWithoutAPipe();
    void anotherTextReplacesOurs();
    void aTextThatIsSetWithoutADeviceIsOfferedLater();
    void aReaderThatDoesNotReadIsDropped();
    void onlyAFewReadersAreServedAtOnce();
    void aReaderThatGoesAwayEndsNothing();
    void whatIsNoPipeIsClosed();
    void aReaderCannotMakeUsWait();
};

void tst_DataControlServing::init()
{
    QVERIFY(start());
}

void tst_DataControlServing::ourTextIsOfferedUnderEveryName()
{
    clipboard->setText(u"ours"_s);
    const QByteArrayList all = {"text/plain;charset=utf-8", "text/plain", "UTF8_STRING", "STRING",
                                "TEXT"};
    QVERIFY(waitUntil([&] { return compositor->clientTypes() == all; }));
    for (const QByteArray &type : all) {
        Reader reader;
        QVERIFY(compositor->paste(type, reader.target));
        reader.target = Descriptor(-1);
        QCOMPARE(reader.readAll(), "ours");
    }
    // What is not offered is not given.
    Reader reader;
    QVERIFY(compositor->paste("text/html", reader.target));
    reader.target = Descriptor(-1);
    QCOMPARE(reader.readAll(), "");
}

void tst_DataControlServing::ourTextIsServed()
{
    const QString large = u"€uro\n\U0001f600"_s.repeated(500'000);
    for (const QString &ours : {u"a"_s, QString(), large}) {
        clipboard->setText(ours);
        QVERIFY(waitUntil([&] { return compositor->sources() == 1; }));
        QVERIFY(becomes(ours));
        Reader first;
        Reader second;
        QVERIFY(compositor->paste("TEXT", first.target));
        QVERIFY(compositor->paste("text/plain", second.target));
        first.target = Descriptor(-1);
        second.target = Descriptor(-1);
        QVERIFY(first.readAll() == ours.toUtf8());
        QVERIFY(second.readAll() == ours.toUtf8());
    }
}

void tst_DataControlServing::ourTextIsReadWithoutAPipe()
{
    // What no encoding can carry.
    const QString ours = u"a"_s + QChar(0xd800) + u"b"_s;
    clipboard->setText(ours);
    QCOMPARE(text(), ours);
}

void tst_DataControlServing::anotherTextReplacesOurs()
{
    QVERIFY(set(u"ours"_s));
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    QCOMPARE(text(), u"theirs"_s);
    QVERIFY(waitUntil([&] { return compositor->sources() == 0; }));
    clipboard->setText(u"ours again"_s);
    QCOMPARE(text(), u"ours again"_s);
}

void tst_DataControlServing::aTextThatIsSetWithoutADeviceIsOfferedLater()
{
    clipboard.reset();
    makeClipboard();
    // The compositor has not told yet what it has.
    QVERIFY(set(u"early"_s));
    QCOMPARE(text(), u"early"_s);
}

void tst_DataControlServing::aReaderThatDoesNotReadIsDropped()
{
    QVERIFY(set(QString(1024 * 1024, u'a')));
    Reader idle;
    const qsizetype before = openDescriptors() - 1;
    QVERIFY(compositor->paste("TEXT", idle.target));
    idle.target = Descriptor(-1);
    QVERIFY(waitUntil([&] { return openDescriptors() > before; }));
    QVERIFY(waitUntil([&] { return openDescriptors() == before; }));
    const auto read = idle.readAll();
    QVERIFY(read);
    QVERIFY(read->size() < 1024 * 1024);
}

void tst_DataControlServing::onlyAFewReadersAreServedAtOnce()
{
    QVERIFY(set(QString(1024 * 1024, u'a')));
    std::array<Reader, 40> readers;
    const qsizetype before = openDescriptors() - std::ssize(readers);
    for (Reader &reader : readers) {
        QVERIFY(compositor->paste("TEXT", reader.target));
        reader.target = Descriptor(-1);
        QTest::qWait(1);
    }
    QVERIFY(waitUntil([&] {
        int waiting = 0;
        ioctl(readers.back().source.get(), FIONREAD, &waiting);
        return waiting > 0;
    }));
    QVERIFY2(openDescriptors() <= before + 8, qPrintable(QString::number(openDescriptors())));
    // The latest one still gets all of it.
    QCOMPARE(readers.back().readAll(), QByteArray(1024 * 1024, 'a'));
}

void tst_DataControlServing::aReaderThatGoesAwayEndsNothing()
{
    QVERIFY(set(QString(1024 * 1024, u'a')));
    const qsizetype before = openDescriptors();
    {
        const Reader gone;
        QVERIFY(compositor->paste("TEXT", gone.target));
        QVERIFY(waitUntil([&] {
            int waiting = 0;
            ioctl(gone.source.get(), FIONREAD, &waiting);
            return waiting > 0;
        }));
    }
    // Long before it would be dropped for its silence.
    QVERIFY(waitUntil([&] { return openDescriptors() == before; }, 3s));
    QVERIFY(becomes(QString(1024 * 1024, u'a')));
}

void tst_DataControlServing::whatIsNoPipeIsClosed()
{
    QVERIFY(set(u"ours"_s));
    std::array<int, 2> ends = {-1, -1};
    QCOMPARE(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    Reader reader;
    reader.source = Descriptor(ends[0]);
    reader.target = Descriptor(ends[1]);
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    QVERIFY(compositor->paste("TEXT", reader.target));
    reader.target = Descriptor(-1);
    QCOMPARE(reader.readAll(), "");
}

/// The descriptor is shared, and whoever has it may change its flags.
void tst_DataControlServing::aReaderCannotMakeUsWait()
{
    QVERIFY(set(QString(1024 * 1024, u'a')));
    Reader idle;
    QVERIFY(compositor->paste("TEXT", idle.target));
    const auto limit = std::chrono::steady_clock::now() + 500ms;
    while (std::chrono::steady_clock::now() < limit) {
        QTest::qWait(1);
        QCOMPARE(fcntl(idle.target.get(), F_GETFL) & O_NONBLOCK, 0);
    }
    QVERIFY(becomes(QString(1024 * 1024, u'a')));
}

QTEST_GUILESS_MAIN(tst_DataControlServing)
#include "tst_DataControlServing.moc"
