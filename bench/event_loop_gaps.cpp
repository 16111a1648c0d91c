// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How long each kind of command blocks the server for others: one device keeps sending the command,
// another requests the server's information every 2 ms.
//
// Needs VORNA_SERVER (the server's executable) and a folder for received files as first argument.

#include "ServerBench.h"
#include "support/protocol/Asker.h"
#include "support/session/ClipboardOwner.h"
#include "support/session/RecordingOpener.h"

#include <QDir>
#include <QTemporaryDir>

#include <functional>
#include <thread>

using namespace Qt::StringLiterals;

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr milliseconds Pace{2};
constexpr milliseconds TimeOfEach{3000};

using Step = std::function<void(Handheld &)>;

void measure(const ServerBench &bench, const char *name, milliseconds pause, const Step &step)
{
    Handheld busy(bench.port());
    Asker asker(bench.port(), Pace);
    const auto end = steady_clock::now() + TimeOfEach;
    int commands = 0;
    for (; steady_clock::now() < end; ++commands) {
        step(busy);
        std::this_thread::sleep_for(pause);
    }
    const Sample &times = asker.stop();
    ServerBench::require(asker.isServed(), "serving others");
    std::printf(
        "%-34s %5d commands   others wait: median %6.2f ms   p99 %6.2f ms   longest %6.2f ms\n",
        name, commands, times.median(), times.atShare(0.99), times.largest());
}

Step answered(const QByteArray &token)
{
    return [token](Handheld &handheld) {
        ServerBench::require(handheld.ask(token).has_value(), "an answer");
    };
}

Step unanswered(const QByteArray &token)
{
    return [token](Handheld &handheld) {
        ServerBench::require(handheld.send(token) && handheld.waitUntilRead(), "a command");
    };
}

QByteArray command(const char *name, const QString &function, const QStringList &parameters = {})
{
    return commandText(QLatin1String(name),
                       {{u"fncCommand"_s, function}, {u"cmdParameters"_s, parameters}});
}

/// A file of that many bytes beyond the one that ends the transfer.
Step file(qint64 bytes)
{
    return [bytes](Handheld &handheld) {
        const QByteArray request =
            command("FILE_TRANSFER_AND_OPEN", QString(), {u"file"_s, QString::number(bytes)});
        ServerBench::require(handheld.ask(request).has_value(), "the request of a transfer");
        if (bytes > 0) {
            ServerBench::require(handheld.send(QByteArray(bytes, 'x')), "sending a file");
        }
        ServerBench::require(handheld.answer().has_value(), "the end of a transfer");
    };
}

void measureClipboard(const ServerBench &bench, const char *name, const QByteArray &text)
{
    const ClipboardOwner owner(bench.session(), text);
    ServerBench::require(owner.isServing(), "taking the clipboard");
    measure(bench, name, milliseconds(0), answered(command("SERVER_CLIPBOARD_REQUEST", QString())));
}

void measureAll(const ServerBench &bench)
{
    const milliseconds none{0};
    const milliseconds seldom{200};
    measure(bench, "nothing", seldom, [](Handheld &) {});
    measure(bench, "SERVER_INFO", none, answered(command("SERVER_INFO", QString())));
    measure(bench, "SERVER_PAIR", none,
            answered(command("SERVER_PAIR", QString(), {u"id"_s, u"A"_s})));
    measure(bench, "KEYBOARD_CMD A", none, unanswered(command("KEYBOARD_CMD", u"A"_s)));
    measure(bench, "KEYBOARD_CMD Shift+A", none, unanswered(command("KEYBOARD_CMD", u"Shift+A"_s)));
    measure(bench, "KEYBOARD_CMD of an unknown key", seldom,
            unanswered(command("KEYBOARD_CMD", u"nonsense"_s)));
    measure(bench, "MOUSE_CMD move", none,
            unanswered(command("MOUSE_CMD", u"4"_s, {u"1"_s, u"-1"_s})));
    measure(bench, "APPLICATION_CMD", none, unanswered(command("APPLICATION_CMD", u"quit"_s)));
    measure(bench, "TEXT_TRANSFER_AND_OPEN", none,
            answered(command("TEXT_TRANSFER_AND_OPEN", u"some text"_s)));
    measureClipboard(bench, "SERVER_CLIPBOARD_REQUEST", "some text");
    measureClipboard(bench, "SERVER_CLIPBOARD_REQUEST, 3 MiB", QByteArray(3 * 1024 * 1024, 'x'));
    measure(bench, "URL_OPEN", seldom, answered(command("URL_OPEN", u"http://example.org/"_s)));
    measure(bench, "FILE_TRANSFER_AND_OPEN, empty", seldom, file(0));
    measure(bench, "FILE_TRANSFER_AND_OPEN, 64 MiB", none, file(64 * 1024 * 1024));
}

void measureWithFilesIn(const QString &place)
{
    const QTemporaryDir folder(QDir(place).absoluteFilePath(u"event-loop-gaps-XXXXXX"_s));
    ServerBench::require(folder.isValid(), "a folder for the files");
    ServerBench bench(folder.path());
    const RecordingOpener opener(bench.session());
    bench.start();
    measureAll(bench);
    std::printf("(goal: the longest at most 20 ms)\n");
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    return ServerBench::run([] { measureWithFilesIn(QCoreApplication::arguments().value(1)); });
}
