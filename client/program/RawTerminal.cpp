// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/RawTerminal.h"

#include <array>
#include <csignal>
#include <cstring>
#include <termios.h>
#include <unistd.h>

namespace quillmote {
namespace {

// Alternate screen, reports of any mouse motion, in decimal form (xterm's control sequences).
constexpr auto enterSequence = "\x1b[?1049h\x1b[?1003h\x1b[?1006h\x1b[2J\x1b[H";
constexpr auto leaveSequence = "\x1b[?1006l\x1b[?1003l\x1b[?1049l";

// Bracketed pastes, xterm's modifyOtherKeys, kitty's keyboard protocol. The latter belongs to the
// screen, so it ends before the screen is left.
constexpr auto enterAllKeys = "\x1b[?2004h\x1b[>4;1m\x1b[>1u";
constexpr auto leaveAllKeys = "\x1b[<u\x1b[>4m\x1b[?2004l";

constexpr std::array deadlySignals = {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM, SIGPIPE,
                                      SIGSEGV, SIGABRT, SIGBUS,  SIGFPE,  SIGILL};

termios savedSettings{};
bool reportsAllKeys = false;

void emitSequence(const char *sequence)
{
    [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, sequence, std::strlen(sequence));
}

/// Makes only calls that are allowed in a signal handler.
void restore()
{
    if (reportsAllKeys) {
        emitSequence(leaveAllKeys);
    }
    emitSequence(leaveSequence);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &savedSettings);
}

void restoreAndDie(int signal)
{
    restore();
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void onDeadlySignals(void (*handler)(int))
{
    for (const int signal : deadlySignals) {
        std::signal(signal, handler);
    }
}

} // namespace

RawTerminal::RawTerminal(Reports reports)
{
    if (isatty(STDIN_FILENO) != 1 || tcgetattr(STDIN_FILENO, &savedSettings) != 0) {
        return;
    }
    active = true;
    reportsAllKeys = reports == Reports::MouseAndAllKeys;
    onDeadlySignals(restoreAndDie);
    termios raw = savedSettings;
    cfmakeraw(&raw);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &raw);
    emitSequence(enterSequence);
    if (reportsAllKeys) {
        emitSequence(enterAllKeys);
    }
}

RawTerminal::~RawTerminal()
{
    if (active) {
        restore();
        onDeadlySignals(SIG_DFL);
    }
}

} // namespace quillmote
