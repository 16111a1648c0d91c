// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How long a key takes from the handheld's send() until another program sees it, and beside it the
// same of a bare program that does nothing else. The two take turns in one run, so that whatever
// else the machine does bears on both.
//
// Needs VORNA_SERVER (the server's executable) and the bare program as first argument; a second
// one is the number of keys.

#include "support/DesktopSession.h"
#include "support/Handheld.h"
#include "support/ServerProcess.h"

#include <QCoreApplication>
#include <QThread>

#include <xcb/xinput.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <poll.h>

using std::chrono::duration;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

using Microseconds = duration<double, std::micro>;

constexpr int UsualNumberOfKeys = 200;
constexpr milliseconds Pause{100};
constexpr milliseconds LongestWait{5000};
constexpr quint8 CodeOfA = 38; ///< The key A of Xvfb's keyboard.

/// Another client of the display, told of every key that any device makes.
class KeyObserver
{
public:
    explicit KeyObserver(const QString &display)
        : m_display(xcb_connect(display.toLocal8Bit().constData(), nullptr))
    {
        struct
        {
            xcb_input_event_mask_t head;
            uint32_t mask;
        } wanted{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                 XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE};
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_display)).data->root;
        std::free(xcb_input_xi_query_version_reply(
            m_display, xcb_input_xi_query_version(m_display, 2, 2), nullptr));
        xcb_input_xi_select_events(m_display, root, 1, &wanted.head);
        // An answer proves that the selection is in force.
        std::free(xcb_get_input_focus_reply(m_display, xcb_get_input_focus(m_display), nullptr));
    }
    ~KeyObserver() { xcb_disconnect(m_display); }
    KeyObserver(const KeyObserver &) = delete;
    KeyObserver &operator=(const KeyObserver &) = delete;

    /// Waits for the next press or release (an XInput event type); false when none comes in time.
    bool waitFor(uint16_t rawType)
    {
        const auto end = steady_clock::now() + LongestWait;
        while (steady_clock::now() < end) {
            while (xcb_generic_event_t *event = xcb_poll_for_event(m_display)) {
                const auto type = reinterpret_cast<xcb_ge_generic_event_t *>(event)->event_type;
                std::free(event);
                if (type == rawType)
                    return true;
            }
            pollfd waiting{xcb_get_file_descriptor(m_display), POLLIN, 0};
            ::poll(&waiting, 1, static_cast<int>(LongestWait.count()));
        }
        return false;
    }

private:
    xcb_connection_t *m_display;
};

/// The times of one of the two programs.
struct Times
{
    std::vector<Microseconds> times;

    Microseconds atShare(double share)
    {
        std::sort(times.begin(), times.end());
        const auto index = static_cast<size_t>(share * static_cast<double>(times.size()));
        return times.at(std::min(index, times.size() - 1));
    }
    Microseconds median() { return atShare(0.5); }

    void print(const char *name)
    {
        std::printf("%-8s median %8.1f us   p99 %8.1f us   (%zu keys)\n", name, median().count(),
                    atShare(0.99).count(), times.size());
    }
};

/// Sends the bytes and takes the time until the press is seen; false when it is not.
bool measure(Handheld &sender, const QByteArray &bytes, KeyObserver &observer, Times &times)
{
    const auto start = steady_clock::now();
    if (!sender.send(bytes) || !observer.waitFor(XCB_INPUT_RAW_KEY_PRESS))
        return false;
    times.times.push_back(steady_clock::now() - start);
    return observer.waitFor(XCB_INPUT_RAW_KEY_RELEASE);
}

[[noreturn]] void giveUp(const QByteArray &why)
{
    std::fprintf(stderr, "%s\n", why.constData());
    std::exit(1);
}

void compare(quint16 serverPort, quint16 floorPort, const QString &display, int keys)
{
    Handheld server(serverPort);
    Handheld floor(floorPort);
    KeyObserver observer(display);
    const QByteArray token = commandText(QStringLiteral("KEYBOARD_CMD"),
                                         {{QStringLiteral("fncCommand"), QStringLiteral("A")}});
    const QByteArray byte(1, static_cast<char>(CodeOfA));
    Times ofServer;
    Times ofFloor;
    for (int i = 0; i < keys; ++i) {
        QThread::msleep(static_cast<unsigned long>(Pause.count() / 2));
        if (!measure(server, token, observer, ofServer))
            giveUp("the server's key did not arrive");
        QThread::msleep(static_cast<unsigned long>(Pause.count() / 2));
        if (!measure(floor, byte, observer, ofFloor))
            giveUp("the bare program's key did not arrive");
    }
    ofServer.print("server");
    ofFloor.print("floor");
    std::printf("ratio of the medians %.2f (goal: at most 2)\n",
                ofServer.median().count() / ofFloor.median().count());
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const DesktopSession session;
    if (!session.problem().isEmpty())
        giveUp(session.problem());
    const ServerProcess server(session);
    ChildProcess floor;
    floor.setProcessEnvironment(session.environment());
    floor.start(arguments.value(1), {});
    if (!floor.waitForReadyRead())
        giveUp("the bare program did not start");
    const auto floorPort = floor.readLine().trimmed().toUShort();
    const quint16 serverPort = server.port();
    if (serverPort == 0)
        giveUp("the server did not start: " + server.errorText());
    const int keys = arguments.value(2).toInt();
    compare(serverPort, floorPort, session.display(), keys > 0 ? keys : UsualNumberOfKeys);
}
