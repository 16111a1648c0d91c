// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// An end signal exits the program with status 0 even before its libraries are initialised, which
// takes most of its start. TerminationSignals takes over in main().

#include <csignal>
#include <cstdlib>
#include <unistd.h>

namespace {

// The sanitizers are not initialised yet.
#define BEFORE_SANITIZERS __attribute__((no_sanitize("address", "undefined")))

BEFORE_SANITIZERS void leave(int)
{
    _exit(EXIT_SUCCESS);
}

BEFORE_SANITIZERS void catchEndSignals(int, char **, char **)
{
    std::signal(SIGTERM, leave);
    std::signal(SIGINT, leave);
    std::signal(SIGHUP, leave);
}

/// Called by the loader once the libraries are in memory (System V ABI, chapter 5).
__attribute__((section(".preinit_array"),
               used)) void (*const beforeLibraries)(int, char **, char **) = catchEndSignals;

} // namespace
