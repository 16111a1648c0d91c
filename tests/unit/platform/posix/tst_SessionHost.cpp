// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/SessionHost.h"

#include "support/process/PretendedUser.h"

#include <QTemporaryDir>
#include <QTest>

#include <array>

#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// Both ends of a local stream.
std::pair<std::unique_ptr<platform::LocalStream>, std::unique_ptr<platform::LocalStream>> pairOf()
{
    std::array<int, 2> ends{};
    socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data());
    return {std::make_unique<platform::LocalStream>(ends[0]),
            std::make_unique<platform::LocalStream>(ends[1])};
}

} // namespace

class tst_SessionHost : public QObject
{
    Q_OBJECT

private slots:
    void theDisplaysNameIsTheSockets_data();
    void theDisplaysNameIsTheSockets();
    void theRuntimeDirectoryIsTheUsers();
    void theOtherEndIsKnown();
    void anotherUsersEndIsNoneOfOurs();
    void bytesPassAndTheEndIsSeen();
    void aFullStreamTakesNothing();
};

void tst_SessionHost::theDisplaysNameIsTheSockets_data()
{
    QTest::addColumn<QByteArray>("wayland");
    QTest::addColumn<QByteArray>("display");
    QTest::addColumn<QString>("name");

    const auto row = [](const QByteArray &wayland, const QByteArray &display, const QString &name) {
        QTest::addRow("%s, %s", wayland.constData(), display.constData())
            << wayland << display << name;
    };
    row("", "", u"desktop"_s);
    row("", ":0", u"_0"_s);
    row("", ":0.0", u"_0"_s);
    row("", ":12.34", u"_12"_s);
    row("", "den.example.net:10.1", u"den.example.net_10"_s);
    row("", "unix:/tmp/x", u"unix__tmp_x"_s);
    row("", "[::1]:0", u"___1__0"_s);
    row("", "a b\xc3\xa9-_", u"a_b_-_"_s);
    row("wayland-0", ":0", u"wayland-0"_s);
    row("/run/user/1000/wayland-1", ":0", u"wayland-1"_s);
    row("/run/user/1000/", ":0", u"_0"_s);
    row("a..b", "", u"a..b"_s);
}

void tst_SessionHost::theDisplaysNameIsTheSockets()
{
    QFETCH(QByteArray, wayland);
    QFETCH(QByteArray, display);
    QFETCH(QString, name);
    qputenv("WAYLAND_DISPLAY", wayland);
    qputenv("DISPLAY", display);
    QCOMPARE(platform::displayName(), name);
}

void tst_SessionHost::theRuntimeDirectoryIsTheUsers()
{
    const QTemporaryDir folder;
    qputenv("XDG_RUNTIME_DIR", folder.path().toUtf8());
    QCOMPARE(platform::runtimeDirectory(), folder.path());
    for (const QByteArray &path : {QByteArray(), folder.path().toUtf8() + "/none", QByteArray("."),
                                   QByteArray("/dev/null")}) {
        qputenv("XDG_RUNTIME_DIR", path);
        QCOMPARE(platform::runtimeDirectory(), QString());
    }
    if (geteuid() == 0) {
        QCOMPARE(chown(folder.path().toUtf8().constData(), 65'534, 65'534), 0);
        qputenv("XDG_RUNTIME_DIR", folder.path().toUtf8());
        QCOMPARE(platform::runtimeDirectory(), QString());
    }
}

void tst_SessionHost::theOtherEndIsKnown()
{
    const auto [one, other] = pairOf();
    QVERIFY(one->isPeerSameUser());
    QCOMPARE(one->peerProgram(), u"tst_SessionHost"_s);
}

void tst_SessionHost::anotherUsersEndIsNoneOfOurs()
{
    const auto [one, other] = pairOf();
    const PretendedUser somebodyElse;
    QVERIFY(!one->isPeerSameUser());
}

void tst_SessionHost::bytesPassAndTheEndIsSeen()
{
    auto [one, other] = pairOf();
    std::array<char, 10> room{};
    QCOMPARE(one->receive(room), std::optional<qsizetype>(0));
    QCOMPARE(other->send(std::span("bytes", 5)), std::optional<qsizetype>(5));
    QCOMPARE(one->receive(room), std::optional<qsizetype>(5));
    QCOMPARE(QByteArray(room.data(), 5), QByteArray("bytes"));
    QVERIFY(!one->isPeerGone());

    ::shutdown(static_cast<int>(other->descriptor()), SHUT_WR);
    QCOMPARE(one->receive(room), std::nullopt);
    QVERIFY(!one->isPeerGone());
    QCOMPARE(one->send(std::span("x", 1)), std::optional<qsizetype>(1));

    other.reset();
    QVERIFY(one->isPeerGone());
    QCOMPARE(one->send(std::span("x", 1)), std::nullopt);
}

void tst_SessionHost::aFullStreamTakesNothing()
{
    const auto [one, other] = pairOf();
    const QByteArray piece(100'000, 'x');
    qsizetype sum = 0;
    for (auto sent = one->send(piece); sent.value_or(0) > 0; sent = one->send(piece)) {
        sum += *sent;
    }
    QVERIFY(sum > 0);
    QCOMPARE(one->send(piece), std::optional<qsizetype>(0));
}

QTEST_GUILESS_MAIN(tst_SessionHost)
#include "tst_SessionHost.moc"
