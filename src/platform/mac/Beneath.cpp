// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/Beneath.h"

#include "platform/posix/ComponentWalk.h"

namespace platform {

const int passing = O_RDONLY;

int openBeneath(int directory, const QByteArray &path)
{
    return openByWalking(directory, path);
}

} // namespace platform
