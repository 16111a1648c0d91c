// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Folder.h"
#include "platform/posix/DirectoryNames.h"

#include <QByteArray>

#include <set>

namespace platform {

/// Passes over all names and keeps the first ones, so its memory does not depend on the directory.
class FileListing final : public Folder::Listing
{
public:
    FileListing(DirectoryNames names, const QByteArray &after, int limit);

    bool step() override;
    QList<Folder::Entry> entries() const override { return found; }
    bool hasMore() const override { return hasOthers; }

private:
    void consider(const dirent &entry);
    void finish();

    DirectoryNames names;
    QByteArray lowest;
    size_t limit;
    std::set<QByteArray> first; // One more than the limit, to know that there are others.
    QList<Folder::Entry> found;
    bool hasOthers = false;
};

} // namespace platform
