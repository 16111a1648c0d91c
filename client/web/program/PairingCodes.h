// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/wire/OneTimeCode.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <optional>
#include <vector>

namespace quillmote {

/// The codes by which a new phone may come in. Each works once and for two minutes.
class PairingCodes : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::minutes usualLifetime{2};
    /// More at once make the oldest one end.
    static constexpr size_t most = 4;

    explicit PairingCodes(std::chrono::milliseconds lifetime = usualLifetime);

    OneTimeCode make();
    /// Whether a phone can still come in by it.
    bool isValid(const OneTimeCode &code) const;
    /// None if it is not valid.
    std::optional<std::chrono::milliseconds> timeLeft(const OneTimeCode &code) const;
    std::vector<OneTimeCode> valid() const;
    /// Ends the code.
    /// \return whether it was valid
    bool use(const OneTimeCode &code);

signals:
    /// A code was used or has become too old.
    void changed();

private:
    using Clock = std::chrono::steady_clock;
    struct Made
    {
        OneTimeCode code;
        Clock::time_point end;
    };

    std::vector<Made>::const_iterator find(const OneTimeCode &code) const;
    void dropOld();

    std::chrono::milliseconds lifetime;
    std::vector<Made> codes; // in the order of their ends
    QTimer ageing;
};

} // namespace quillmote
