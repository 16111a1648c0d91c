// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>

namespace quillmote {

/// How long to wait between a command without an answer and the question that confirms it.
///
/// When the server reads both at once the command is not carried out, the answer says so, and the
/// command is sent again (see Answer::confirmation()). So the wait decides about speed only, never
/// about loss. Too short costs a round trip; then it grows. While all goes well it shrinks, fast
/// until the first time that it was too short.
class Pacing
{
public:
    using Duration = std::chrono::microseconds;

    Duration gap() const { return currentGap; }

    void noteReadApart();
    void noteReadTogether();

private:
    /// The server has a new connection to take in first.
    Duration currentGap{5'000};
    bool wasTooShort = false;
};

} // namespace quillmote
