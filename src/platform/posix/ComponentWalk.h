// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/posix/Descriptor.h"

#include <QByteArray>
#include <QByteArrayList>

#include <vector>

namespace platform {

/// A walk from one directory downwards, component by component, that never leaves it. Links inside
/// are followed, at most 40 of them; at most 64 directories are entered.
class ComponentWalk
{
public:
    /// `start` is the descriptor of the directory; it must outlive the walk.
    ComponentWalk(int start, const QByteArray &path);

    bool isAtLastPart() const { return rest.size() == 1; }
    QByteArray lastPart() const { return rest.last(); }
    /// The descriptor of the directory that the walk has reached.
    int here() const { return entered.empty() ? root : entered.back().get(); }

    /// Takes the next part. False when it leads nowhere or out.
    bool step();

private:
    bool goBack();
    bool enter(const QByteArray &name);
    bool follow(const QByteArray &link);

    int root;
    std::vector<Descriptor> entered; // The directories between the root and here.
    QByteArrayList rest;             // Never empty.
    int links = 0;
};

/// What openBeneath() does, by the means of any system.
int openByWalking(int directory, const QByteArray &path);

} // namespace platform
