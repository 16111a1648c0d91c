// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The Objective-C side of the stand-ins, as C++ sees it.

#pragma once

namespace standin {

/// Opens a pool, as a program's event loop would, and closes it.
class Pool
{
public:
    Pool();
    ~Pool();
    Pool(const Pool &) = delete;
    Pool &operator=(const Pool &) = delete;

private:
    void *pool;
};

/// Adds an object to the open pool; when the pool releases it, "released by the pool" is among the
/// calls.
void leaveObjectToPool();

/// Application objects that are not freed.
int liveApplications();

} // namespace standin
