// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/TerminalDisplay.h"

#include "web/network/QrRows.h"

#include <array>
#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillmote {

TerminalDisplay::TerminalDisplay(PairingCodes &pairingCodes, const PageAddress &page)
    : codes(pairingCodes)
    , invitation(pairingCodes, page)
{
    connect(&codes, &PairingCodes::changed, this, &TerminalDisplay::reportUse);
    // A program in the background would be stopped when it reads.
    if (isatty(STDIN_FILENO) != 0 && tcgetpgrp(STDIN_FILENO) == getpgrp()) {
        keys = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
        connect(keys.get(), &QSocketNotifier::activated, this, &TerminalDisplay::takeKeys);
    }
}

bool TerminalDisplay::isTerminal()
{
    return isatty(STDOUT_FILENO) != 0;
}

void TerminalDisplay::say(const QString &line)
{
    std::fputs((line + u'\n').toLocal8Bit().constData(), stdout);
    std::fflush(stdout);
}

void TerminalDisplay::showCode()
{
    invitation.renew();
    const auto shown = invitation.shown();
    if (!shown) {
        say(u"This computer has no network. Connect it, then press Enter for a code."_s);
        return;
    }
    say(qrForTerminal(shown->rows));
    say(u"Scan this with the phone's camera, or open %1 there\nand enter the code %2.\nIt works "
        u"once, "
        "for two minutes. Enter shows another one, Ctrl+C ends the program."_s.arg(shown->page,
                                                                                   shown->text));
    isCodeShown = true;
}

void TerminalDisplay::takeKeys()
{
    std::array<char, 256> typed{};
    if (read(STDIN_FILENO, typed.data(), typed.size()) <= 0) {
        keys->setEnabled(false);
        return;
    }
    isCodeShown = false;
    showCode();
}

void TerminalDisplay::reportUse()
{
    if (isCodeShown && !invitation.shown()) {
        isCodeShown = false;
        say(u"The code is used up or too old. Press Enter for another one."_s);
    }
}

} // namespace quillmote
