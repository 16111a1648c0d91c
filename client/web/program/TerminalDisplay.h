// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/program/Invitation.h"

#include <QObject>
#include <QSocketNotifier>
#include <QString>

#include <memory>

namespace quillmote {

/// What a terminal shows: the QR code, and a fresh one when the user presses Enter.
class TerminalDisplay : public QObject
{
    Q_OBJECT

public:
    TerminalDisplay(PairingCodes &codes, const PageAddress &page);

    /// Whether a person sees what this program prints. Codes are printed for nobody else: what is
    /// written to a file or a journal is kept.
    static bool isTerminal();

    void showCode();
    /// A line for the person, if there is one.
    static void say(const QString &line);

private:
    void takeKeys();
    void reportUse();

    PairingCodes &codes;
    Invitation invitation;
    std::unique_ptr<QSocketNotifier> keys;
    bool isCodeShown = false;
};

} // namespace quillmote
