// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace platform {

/// Lets this process open up to 8,192 descriptors, one a connection, if the system's hard limit
/// allows that many, and else as many as that. Sessions usually start programs with 1,024.
///
/// Programs that this process starts inherit the limit, which is why it is not raised further: some
/// walk through all possible descriptors when they start.
void raiseDescriptorLimit();

/// How many descriptors this process may have open.
int descriptorLimit();

/// How many it has open now.
int countOpenDescriptors();

} // namespace platform
