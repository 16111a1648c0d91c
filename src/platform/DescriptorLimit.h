// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace platform {

/// Lets this process open up to 8,192 descriptors, one for each connection, or as many as the
/// system's hard limit allows. Sessions usually start programs with 1,024.
///
/// Programs that this process starts inherit the limit. It is not raised further because some of
/// them walk through all possible descriptors when they start.
void raiseDescriptorLimit();

/// How many descriptors this process may have open.
int descriptorLimit();

/// How many it has open now.
int countOpenDescriptors();

} // namespace platform
