// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The guard of the keys: a program that the server starts and that waits for the server's end. If
// the server is killed while it posts keys, the X server has received some presses without their
// releases, and only this process knows which. It has its own connection and does not use the
// toolkit, so it is small.
//
// Arguments: the descriptors of the shared memory and of the pipe whose other end only the server
// has, the window that is destroyed with the server's connection, and the server's process. Without
// such a window the server's keys and buttons are those of a Wayland compositor.

#include "platform/linux/input/HeldInput.h"
#include "platform/linux/input/PointerGuard.h"
#include "platform/linux/input/ServerWatch.h"
#include "platform/linux/x11/XInputDevices.h"
#include "platform/linux/x11/XcbHandles.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

namespace {

using platform::HeldInput;

struct Arguments
{
    int memory = -1;
    int pipe = -1;
    std::uint32_t marker = 0;
    pid_t server = 0;
};

template <typename Number> bool read(std::string_view text, Number &number)
{
    const char *const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end;
}

std::optional<Arguments> readArguments(int count, char **words)
{
    Arguments given;
    const bool areWell = count == 5 && read(words[1], given.memory) && read(words[2], given.pipe) &&
                         read(words[3], given.marker) && read(words[4], given.server);
    return areWell ? std::optional(given) : std::nullopt;
}

/// Closes all connections, files and terminals of the server.
void closeAllBut(int one, int other)
{
    const auto [lower, upper] = std::minmax({unsigned(one), unsigned(other)});
    const auto closeBetween = [](unsigned first, unsigned last) {
        if (first <= last) {
            close_range(first, last, 0);
        }
    };
    closeBetween(STDERR_FILENO + 1, lower - 1);
    closeBetween(lower + 1, upper - 1);
    closeBetween(upper + 1, ~0U);
}

void interrupt(int) {}

/// Signals that end the server must not end its guard first. The guard also gets a signal when the
/// server ends, in case another process has inherited the other end of the pipe.
void prepareSignals()
{
    for (const int asking : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) {
        std::signal(asking, SIG_IGN);
    }
    struct sigaction action
    {
    };
    action.sa_handler = interrupt;
    sigaction(SIGUSR1, &action, nullptr);
    sigset_t blocked{};
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1); // Except while it waits.
    sigprocmask(SIG_SETMASK, &blocked, nullptr);
    prctl(PR_SET_PDEATHSIG, SIGUSR1);
    setsid();
}

using Bits = std::array<std::uint8_t, 32>;

bool isSet(const Bits &bits, unsigned number)
{
    return bits[number / 8] >> (number % 8) & 1;
}

/// The keys or buttons that are down on that device, which plays faked input; the user's own
/// devices are others. If the server does not report them, all of them count as down.
Bits downOn(xcb_connection_t *connection, std::string_view device, std::uint8_t wantedClass)
{
    Bits down;
    down.fill(0xff);
    const auto number = platform::inputDeviceNumber(connection, device);
    if (!number) {
        return down;
    }
    const auto cookie =
        xcb_input_query_device_state(connection, static_cast<std::uint8_t>(*number));
    const auto reply = xcbOwned(xcb_input_query_device_state_reply(connection, cookie, nullptr));
    if (!reply) {
        return down;
    }
    // Each class: its number, its length in bytes, the number of keys or buttons, a padding byte,
    // the bits.
    constexpr int headSize = 4;
    const auto *part = reinterpret_cast<const std::uint8_t *>(reply.get() + 1);
    const auto *const end = part + reply->length * 4;
    for (int left = reply->num_classes; left > 0 && end - part >= headSize + 32; --left) {
        if (part[0] == wantedClass) {
            std::memcpy(down.data(), part + headSize, down.size());
            break;
        }
        part += std::max<int>(part[1], headSize);
    }
    return down;
}

void release(xcb_connection_t *connection, const HeldInput::Flags &held, const Bits &down,
             std::uint8_t request)
{
    for (unsigned number = 0; number < held.size(); ++number) {
        if (held[number] && isSet(down, number)) {
            xcb_test_fake_input(connection, request, static_cast<std::uint8_t>(number),
                                XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        }
    }
}

void releaseAll(xcb_connection_t *connection, const HeldInput &held)
{
    release(connection, held.keys,
            downOn(connection, platform::xtestKeyboardName, XCB_INPUT_INPUT_CLASS_KEY),
            XCB_KEY_RELEASE);
    release(connection, held.buttons,
            downOn(connection, platform::xtestPointerName, XCB_INPUT_INPUT_CLASS_BUTTON),
            XCB_BUTTON_RELEASE);
    // When a connection ends, an X server drops the requests that it has not read.
    const auto cookie = xcb_get_input_focus(connection);
    xcbOwned(xcb_get_input_focus_reply(connection, cookie, nullptr));
}

} // namespace

int main(int count, char **words)
{
    const std::optional<Arguments> arguments = readArguments(count, words);
    if (!arguments) {
        std::fprintf(stderr, "%s: started by VornaServer only\n", count > 0 ? words[0] : "guard");
        return 2;
    }
    prepareSignals();
    closeAllBut(arguments->memory, arguments->pipe);
    const void *const memory =
        mmap(nullptr, sizeof(HeldInput), PROT_READ, MAP_SHARED, arguments->memory, 0);
    if (memory == MAP_FAILED) {
        return 1;
    }
    if (arguments->marker == platform::noMarker) {
        platform::guardButtons(*static_cast<const HeldInput *>(memory), arguments->pipe,
                               arguments->server);
        return 0;
    }
    const XcbConnection connection(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(connection.get())) {
        return 1;
    }
    // Open menus and window managers grab the X server.
    xcb_test_grab_control(connection.get(), true);
    platform::ServerWatch watch(connection.get(), arguments->marker, arguments->pipe,
                                arguments->server);
    if (watch.wait()) {
        releaseAll(connection.get(), *static_cast<const HeldInput *>(memory));
    }
    return 0;
}
