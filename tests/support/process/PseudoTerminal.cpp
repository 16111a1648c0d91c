// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/process/PseudoTerminal.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

PseudoTerminal::PseudoTerminal() : screen(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK))
{
    if (grantpt(screen) == 0 && unlockpt(screen) == 0) {
        programSide = open(ptsname(screen), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }
}

PseudoTerminal::~PseudoTerminal()
{
    close(programSide);
    close(screen);
}

std::function<void()> PseudoTerminal::asErrorOutput() const
{
    return [program = programSide] { dup2(program, STDERR_FILENO); };
}

std::function<void()> PseudoTerminal::asStandardStreams() const
{
    return [program = programSide] {
        for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            dup2(program, standard);
        }
    };
}

QString PseudoTerminal::device() const
{
    return QString::fromLocal8Bit(ptsname(screen));
}

void PseudoTerminal::type(const QByteArray &keys) const
{
    [[maybe_unused]] const ssize_t written =
        write(screen, keys.constData(), static_cast<size_t>(keys.size()));
}

QByteArray PseudoTerminal::text()
{
    std::array<char, 4096> buffer{};
    ssize_t count = 0;
    while ((count = read(screen, buffer.data(), buffer.size())) > 0) {
        shownText.append(buffer.data(), count);
    }
    return shownText;
}
