// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>

namespace quillmote {

/// How long to wait between a command without an answer and the question that confirms it.
///
/// If the server reads both at once, the command is not carried out, the answer says so, and the
/// command is sent again (see Answer::confirmation()). So the wait decides only about the speed.
/// A wait that is too short costs a round trip, and the next one is longer. While it is long enough
/// it shrinks, fast until it was too short for the first time.
class Pacing
{
public:
    using Duration = std::chrono::microseconds;

    Duration gap() const { return currentGap; }

    void noteReadApart();
    void noteReadTogether();

private:
    /// Longer at first: the server has to accept the connection.
    Duration currentGap{5'000};
    bool wasTooShort = false;
};

} // namespace quillmote
