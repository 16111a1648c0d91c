// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/program/PageAddress.h"
#include "web/program/PairingCodes.h"

#include <QHostAddress>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

namespace quillmote {

/// What one screen shows to a phone that is not known yet: a code, and where to go with it.
class Invitation
{
public:
    Invitation(PairingCodes &codes, const PageAddress &page);
    /// Takes the code back.
    ~Invitation();
    Invitation(const Invitation &) = delete;
    Invitation &operator=(const Invitation &) = delete;

    /// Which of this computer's addresses it leads to, from the next code on. A null one, or one
    /// that is gone, stands for the best one.
    void setAddress(const QHostAddress &address) { chosen = address; }
    /// Null without a network.
    QHostAddress address() const;

    /// Makes a fresh code in place of the one before.
    void renew();
    void cancel();

    struct Shown
    {
        QString text;     ///< the code, for people who type it
        QString page;     ///< the address, without the code
        QString url;      ///< the address with the code
        QStringList rows; ///< of the QR code, one character a module
        std::chrono::milliseconds timeLeft{};
    };
    /// Nothing if there is no code, or no network.
    std::optional<Shown> shown() const;

private:
    PairingCodes &codes;
    const PageAddress &page;
    QHostAddress chosen;
    std::optional<OneTimeCode> code;
};

} // namespace quillmote
