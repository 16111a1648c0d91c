// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>

namespace quillmote {

/// How long to wait between a command without an answer and the question that confirms it.
///
/// The server takes what one read brings as one token. Two tokens sent too close are read as one:
/// the first is carried out, the second is lost. The second is always a question of ours, so a
/// wait that was too short loses nothing but the time until the question is asked again; then the
/// wait grows. While all goes well it shrinks.
class Pacing
{
public:
    using Duration = std::chrono::microseconds;

    Duration gap() const { return currentGap; }
    /// How long to wait for the answer to a question before asking it again.
    Duration patience(int earlierTries) const;

    /// A question was answered at its first try, after that time.
    void noteAnswer(Duration roundTrip);
    /// A question had to be asked again.
    void noteSilence();

private:
    Duration currentGap{150};
    Duration smoothedRoundTrip{0};
};

} // namespace quillmote
