// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The Objective-C side of the stand-ins, as C++ sees it.

#pragma once

namespace standin {

/// Opens a pool, which a program's event loop would have done, and closes it.
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

/// Leaves an object to the pool that is open; when the pool lets it go, "released by the pool" is
/// among the calls.
void leaveObjectToPool();

/// Application objects that are not freed.
int liveApplications();

} // namespace standin
