// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/PairingCodes.h"

#include <algorithm>

namespace quillmote {

using std::chrono::milliseconds;

PairingCodes::PairingCodes(milliseconds codeLifetime) : lifetime(codeLifetime)
{
    ageing.setSingleShot(true);
    ageing.setTimerType(Qt::PreciseTimer);
    connect(&ageing, &QTimer::timeout, this, &PairingCodes::dropOld);
}

OneTimeCode PairingCodes::make()
{
    dropOld();
    if (codes.size() == most) {
        codes.erase(codes.begin());
    }
    codes.push_back({OneTimeCode::random(), Clock::now() + lifetime});
    if (codes.size() == 1) {
        ageing.start(lifetime);
    }
    return codes.back().code;
}

bool PairingCodes::isValid(const OneTimeCode &code) const
{
    return timeLeft(code).has_value();
}

std::optional<milliseconds> PairingCodes::timeLeft(const OneTimeCode &code) const
{
    const auto found = find(code);
    if (found == codes.end() || found->end <= Clock::now()) {
        return std::nullopt;
    }
    return std::chrono::ceil<milliseconds>(found->end - Clock::now());
}

std::vector<OneTimeCode> PairingCodes::valid() const
{
    std::vector<OneTimeCode> all;
    for (const Made &made : codes) {
        if (made.end > Clock::now()) {
            all.push_back(made.code);
        }
    }
    return all;
}

bool PairingCodes::use(const OneTimeCode &code)
{
    const bool wasValid = isValid(code);
    const auto found = find(code);
    if (found != codes.end()) {
        codes.erase(found);
        emit changed();
    }
    return wasValid;
}

std::vector<PairingCodes::Made>::const_iterator PairingCodes::find(const OneTimeCode &code) const
{
    return std::find_if(codes.begin(), codes.end(),
                        [&code](const Made &made) { return made.code.secret() == code.secret(); });
}

void PairingCodes::dropOld()
{
    const auto now = Clock::now();
    const auto dropped = std::erase_if(codes, [now](const Made &made) { return made.end <= now; });
    if (!codes.empty()) {
        ageing.start(std::chrono::ceil<milliseconds>(codes.front().end - now));
    }
    if (dropped > 0) {
        emit changed();
    }
}

} // namespace quillmote
