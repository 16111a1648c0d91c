// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The clipboard under the common name of data control, against a compositor and programs that do
// what they should not, too.

#include "platform/linux/clipboard/DataControlClipboard.h"

#include "support/Waiting.h"
#include "support/wayland/StandInCompositor.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

#include <array>
#include <csignal>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using platform::DataControlClipboard;
using platform::WaylandConnection;

namespace {

/// Far more than the second that an owner has.
constexpr auto patience = 10s;

/// The program that owns the clipboard writes this much at once and closes the pipe.
StandInCompositor::Owner ownerOf(const QByteArray &text)
{
    return [text](const QByteArray & /*type*/, const Descriptor &target) {
        QCOMPARE(write(target.get(), text.constData(), static_cast<std::size_t>(text.size())),
                 text.size());
    };
}

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

    /// Whether all who could write have closed the pipe.
    bool isClosed() const
    {
        int waiting = 0;
        std::array<char, 65536> bytes{};
        ioctl(source.get(), FIONREAD, &waiting);
        return waiting == 0 && read(source.get(), bytes.data(), bytes.size()) == 0;
    }
};

int openDescriptors()
{
    return static_cast<int>(QDir(u"/proc/self/fd"_s).entryList().size());
}

} // namespace

class tst_DataControlClipboard : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theTextOfAnOwnerIsRead();
    void theBestTypeIsTaken_data();
    void theBestTypeIsTaken();
    void whatIsNoTextIsNotAskedFor();
    void anEmptyClipboardHasNoText();
    void anOwnerThatNeverAnswersIsGivenUpAfterASecond();
    void anOwnerThatKeepsWritingIsGivenUpAfterASecond();
    void aTextThatIsTooLongIsNotRead();
    void requestsShareOnePipe();
    void noPipeIsLeftOver();

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

    void changesAreReported();
    void thePrimarySelectionIsNoChange();
    void anEndedWatchReportsNothing();
    void aFinishedDeviceIsReplaced();
    void offersDoNotPileUp();

private:
    /// The next answer to a request.
    std::optional<QString> text();
    bool becomes(const QString &expected);

    std::unique_ptr<StandInCompositor> compositor;
    std::unique_ptr<DataControlClipboard> clipboard;
    int changes = 0;
};

void tst_DataControlClipboard::init()
{
    changes = 0;
    // As a program has it that nobody has prepared.
    std::signal(SIGPIPE, SIG_DFL);
    compositor = std::make_unique<StandInCompositor>();
    QVERIFY(compositor->isRunning());
    clipboard = std::make_unique<DataControlClipboard>(std::make_unique<WaylandConnection>());
    QVERIFY(waitUntil([this] { return compositor->devices() == 1; }));
}

void tst_DataControlClipboard::cleanup()
{
    clipboard.reset();
    compositor.reset();
}

std::optional<QString> tst_DataControlClipboard::text()
{
    const auto answer = std::make_shared<std::optional<std::optional<QString>>>();
    clipboard->requestText([answer](const std::optional<QString> &given) { *answer = given; });
    QTest::qVerify(waitUntil([&] { return answer->has_value(); }, patience, 1ms), "is answered", "",
                   __FILE__, __LINE__);
    return answer->value_or(std::nullopt);
}

bool tst_DataControlClipboard::becomes(const QString &expected)
{
    return waitUntil([&] { return text() == expected; });
}

void tst_DataControlClipboard::theTextOfAnOwnerIsRead()
{
    compositor->copy({"text/plain;charset=utf-8"}, ownerOf("a\n\xe2\x82\xac"));
    // At once, though nothing of it has been read.
    QCOMPARE(text(), u"a\n€"_s);
    compositor->copy({"text/plain;charset=utf-8"}, ownerOf(""));
    QCOMPARE(text(), QString());
}

void tst_DataControlClipboard::theBestTypeIsTaken_data()
{
    QTest::addColumn<QByteArrayList>("types");
    QTest::addColumn<QByteArray>("best");
    const QByteArrayList all = {"text/plain;charset=utf-8", "text/plain", "UTF8_STRING", "STRING",
                                "TEXT"};
    for (qsizetype i = 0; i < all.size(); ++i) {
        QByteArrayList some = all.mid(i);
        QTest::addRow("forwards %d", static_cast<int>(i)) << some << all.at(i);
        std::reverse(some.begin(), some.end());
        some.prepend("text/html");
        some.append("image/png");
        QTest::addRow("backwards %d", static_cast<int>(i)) << some << all.at(i);
    }
}

void tst_DataControlClipboard::theBestTypeIsTaken()
{
    QFETCH(QByteArrayList, types);
    QFETCH(QByteArray, best);
    compositor->copy(types, [](const QByteArray &type, const Descriptor &target) {
        QCOMPARE(write(target.get(), type.constData(), static_cast<std::size_t>(type.size())),
                 type.size());
    });
    QCOMPARE(text(), QString::fromUtf8(best));
}

void tst_DataControlClipboard::whatIsNoTextIsNotAskedFor()
{
    int asked = 0;
    compositor->copy({"image/png", "text/uri-list", "text/html", "text/plain2", ""},
                     [&](const QByteArray & /*type*/, const Descriptor & /*target*/) { ++asked; });
    QCOMPARE(text(), std::nullopt);
    QCOMPARE(asked, 0);
}

void tst_DataControlClipboard::anEmptyClipboardHasNoText()
{
    QCOMPARE(text(), std::nullopt);
    compositor->copy({"TEXT"}, ownerOf("text"));
    QCOMPARE(text(), u"text"_s);
    compositor->clear();
    QCOMPARE(text(), std::nullopt);
}

void tst_DataControlClipboard::anOwnerThatNeverAnswersIsGivenUpAfterASecond()
{
    std::vector<Descriptor> kept;
    compositor->copy({"TEXT"}, [&](const QByteArray & /*type*/, Descriptor target) {
        kept.push_back(std::move(target));
    });
    QElapsedTimer time;
    time.start();
    QCOMPARE(text(), std::nullopt);
    QVERIFY2(time.elapsed() >= 900, qPrintable(QString::number(time.elapsed())));
    QCOMPARE(kept.size(), 1U);
    // The owner learns that nobody reads.
    QCOMPARE(write(kept.front().get(), "a", 1), -1);
    compositor->copy({"TEXT"}, ownerOf("later"));
    QCOMPARE(text(), u"later"_s);
}

void tst_DataControlClipboard::anOwnerThatKeepsWritingIsGivenUpAfterASecond()
{
    Descriptor target(-1);
    compositor->copy({"TEXT"}, [&](const QByteArray & /*type*/, Descriptor given) {
        target = std::move(given);
    });
    QTimer typing;
    connect(&typing, &QTimer::timeout, this, [&] {
        if (target.isOpen()) {
            static_cast<void>(write(target.get(), "a", 1));
        }
    });
    typing.start(10ms);
    QCOMPARE(text(), std::nullopt);
    // In time it is a text like others.
    QTimer end;
    connect(&end, &QTimer::timeout, this, [&] {
        typing.stop();
        target = Descriptor(-1);
    });
    end.setSingleShot(true);
    target = Descriptor(-1);
    end.start(200ms);
    const auto found = text();
    QVERIFY(found);
    QVERIFY(found->size() > 1);
    QCOMPARE(*found, QString(found->size(), u'a'));
}

void tst_DataControlClipboard::aTextThatIsTooLongIsNotRead()
{
    // The owner writes as fast as it is read, without an end.
    qint64 written = 0;
    Descriptor target(-1);
    compositor->copy({"TEXT"}, [&](const QByteArray & /*type*/, Descriptor given) {
        target = std::move(given);
        fcntl(target.get(), F_SETFL, O_NONBLOCK);
    });
    const QByteArray piece(1024 * 1024, 'a');
    bool isGiven = false;
    bool isBroken = false;
    std::optional<QString> found;
    clipboard->requestText([&](const std::optional<QString> &given) {
        isGiven = true;
        found = given;
    });
    while (!isGiven && !isBroken) {
        QCoreApplication::processEvents();
        const ssize_t count = target.isOpen() ? write(target.get(), piece.constData(),
                                                      static_cast<std::size_t>(piece.size()))
                                              : 0;
        written += std::max<ssize_t>(count, 0);
        isBroken = count < 0 && errno == EPIPE;
    }
    QVERIFY(waitUntil([&] { return isGiven; }));
    QCOMPARE(found, std::nullopt);
    QVERIFY(written <= platform::maximumClipboardText + 1024 * 1024);
}

void tst_DataControlClipboard::requestsShareOnePipe()
{
    std::vector<Descriptor> kept;
    compositor->copy({"TEXT"}, [&](const QByteArray & /*type*/, Descriptor target) {
        kept.push_back(std::move(target));
    });
    int answers = 0;
    const auto ask = [&] {
        clipboard->requestText([&](const std::optional<QString> & /*text*/) { ++answers; });
    };
    ask();
    QVERIFY(waitUntil([&] { return kept.size() == 1; }));
    // All of these wait for the first one, and share the next.
    for (int i = 0; i < 1000; ++i) {
        ask();
    }
    QCOMPARE(write(kept.front().get(), "a", 1), 1);
    kept.clear();
    QVERIFY(waitUntil([&] { return kept.size() == 1; }));
    QCOMPARE(answers, 1);
    kept.clear();
    QVERIFY(waitUntil([&] { return answers == 1001; }));
    QVERIFY(kept.empty());
}

void tst_DataControlClipboard::noPipeIsLeftOver()
{
    QCOMPARE(text(), std::nullopt);
    const int before = openDescriptors();
    for (int i = 0; i < 50; ++i) {
        compositor->copy({"TEXT"}, ownerOf("text"));
        QCOMPARE(text(), u"text"_s);
    }
    QVERIFY(waitUntil([&] { return openDescriptors() == before; }));
}

void tst_DataControlClipboard::ourTextIsOfferedUnderEveryName()
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

void tst_DataControlClipboard::ourTextIsServed()
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

void tst_DataControlClipboard::ourTextIsReadWithoutAPipe()
{
    // What no encoding can carry.
    const QString ours = u"a"_s + QChar(0xd800) + u"b"_s;
    clipboard->setText(ours);
    QCOMPARE(text(), ours);
}

void tst_DataControlClipboard::anotherTextReplacesOurs()
{
    clipboard->setText(u"ours"_s);
    QVERIFY(waitUntil([&] { return !compositor->clientTypes().isEmpty(); }));
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    QCOMPARE(text(), u"theirs"_s);
    QVERIFY(waitUntil([&] { return compositor->sources() == 0; }));
    clipboard->setText(u"ours again"_s);
    QCOMPARE(text(), u"ours again"_s);
}

void tst_DataControlClipboard::aTextThatIsSetWithoutADeviceIsOfferedLater()
{
    clipboard.reset();
    clipboard = std::make_unique<DataControlClipboard>(std::make_unique<WaylandConnection>());
    // The compositor has not told yet what it has.
    clipboard->setText(u"early"_s);
    QVERIFY(waitUntil([&] { return !compositor->clientTypes().isEmpty(); }));
    QCOMPARE(text(), u"early"_s);
}

void tst_DataControlClipboard::aReaderThatDoesNotReadIsDropped()
{
    clipboard->setText(QString(1024 * 1024, u'a'));
    QVERIFY(waitUntil([&] { return !compositor->clientTypes().isEmpty(); }));
    Reader idle;
    const int before = openDescriptors() - 1;
    QVERIFY(compositor->paste("TEXT", idle.target));
    idle.target = Descriptor(-1);
    QVERIFY(waitUntil([&] { return openDescriptors() > before; }));
    QVERIFY(waitUntil([&] { return openDescriptors() == before; }));
    const auto read = idle.readAll();
    QVERIFY(read);
    QVERIFY(read->size() < 1024 * 1024);
}

void tst_DataControlClipboard::onlyAFewReadersAreServedAtOnce()
{
    clipboard->setText(QString(1024 * 1024, u'a'));
    QVERIFY(waitUntil([&] { return !compositor->clientTypes().isEmpty(); }));
    std::array<Reader, 40> readers;
    const int before = openDescriptors() - static_cast<int>(readers.size());
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

void tst_DataControlClipboard::aReaderThatGoesAwayEndsNothing()
{
    clipboard->setText(QString(1024 * 1024, u'a'));
    QVERIFY(waitUntil([&] { return !compositor->clientTypes().isEmpty(); }));
    const int before = openDescriptors();
    {
        const Reader gone;
        QVERIFY(compositor->paste("TEXT", gone.target));
        QVERIFY(waitUntil([&] {
            int waiting = 0;
            ioctl(gone.source.get(), FIONREAD, &waiting);
            return waiting > 0;
        }));
    }
    QVERIFY(waitUntil([&] { return openDescriptors() == before; }));
    QVERIFY(becomes(QString(1024 * 1024, u'a')));
}

void tst_DataControlClipboard::whatIsNoPipeIsClosed()
{
    clipboard->setText(u"ours"_s);
    QVERIFY(waitUntil([&] { return !compositor->clientTypes().isEmpty(); }));
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
void tst_DataControlClipboard::aReaderCannotMakeUsWait()
{
    clipboard->setText(QString(1024 * 1024, u'a'));
    QVERIFY(waitUntil([&] { return !compositor->clientTypes().isEmpty(); }));
    Reader idle;
    QVERIFY(compositor->paste("TEXT", idle.target));
    const auto limit = std::chrono::steady_clock::now() + 500ms;
    while (std::chrono::steady_clock::now() < limit) {
        QTest::qWait(1);
        QCOMPARE(fcntl(idle.target.get(), F_GETFL) & O_NONBLOCK, 0);
    }
    QVERIFY(becomes(QString(1024 * 1024, u'a')));
}

void tst_DataControlClipboard::changesAreReported()
{
    clipboard->watch([this] { ++changes; });
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    QCOMPARE(changes, 0);
    QVERIFY(waitUntil([this] { return changes == 1; }));
    clipboard->setText(u"ours"_s);
    QVERIFY(waitUntil([this] { return changes == 2; }));
    compositor->copy({"image/png"}, ownerOf("picture"));
    QVERIFY(waitUntil([this] { return changes == 3; }));
    compositor->clear();
    QVERIFY(waitUntil([this] { return changes == 4; }));
    QCOMPARE(text(), std::nullopt);
    QCOMPARE(changes, 4);
}

void tst_DataControlClipboard::thePrimarySelectionIsNoChange()
{
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    QCOMPARE(text(), u"theirs"_s);
    clipboard->watch([this] { ++changes; });
    compositor->select({"TEXT", "text/plain"});
    QCOMPARE(text(), u"theirs"_s);
    QCOMPARE(changes, 0);
    QCOMPARE(compositor->offers(), 1U);
}

void tst_DataControlClipboard::anEndedWatchReportsNothing()
{
    clipboard->watch([this] {
        ++changes;
        clipboard->watch({});
    });
    compositor->copy({"TEXT"}, ownerOf("first"));
    QCOMPARE(text(), u"first"_s);
    compositor->copy({"TEXT"}, ownerOf("second"));
    QCOMPARE(text(), u"second"_s);
    QCOMPARE(changes, 1);
}

void tst_DataControlClipboard::aFinishedDeviceIsReplaced()
{
    for (int i = 0; i < 20; ++i) {
        compositor->finishDevices();
        QCOMPARE(text(), std::nullopt);
    }
    QVERIFY(waitUntil([this] { return compositor->devices() == 1; }));
    compositor->copy({"TEXT"}, ownerOf("later"));
    QVERIFY(becomes(u"later"_s));
    clipboard->setText(u"ours"_s);
    QVERIFY(becomes(u"ours"_s));
    // A text of ours stays.
    compositor->finishDevices();
    QVERIFY(waitUntil([this] { return compositor->devices() == 1; }));
    QVERIFY(waitUntil([this] { return compositor->sources() == 1; }));
    QVERIFY(waitUntil([this] { return !compositor->clientTypes().isEmpty(); }));
    QCOMPARE(text(), u"ours"_s);
}

void tst_DataControlClipboard::offersDoNotPileUp()
{
    for (int i = 0; i < 200; ++i) {
        for (int j = 0; j < 10; ++j) {
            compositor->announce({"TEXT"});
            compositor->copy({"image/png"}, {});
            compositor->select({"TEXT"});
            compositor->copy({"TEXT"}, ownerOf("last"));
        }
        QCoreApplication::processEvents();
    }
    QCOMPARE(text(), u"last"_s);
    QVERIFY(waitUntil([this] { return compositor->offers() <= 5; }));
}

QTEST_GUILESS_MAIN(tst_DataControlClipboard)
#include "tst_DataControlClipboard.moc"
