// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Folder.h"
#include "platform/posix/DirectoryNames.h"

namespace platform {

/// Passes over all names of a directory and removes the abandoned drafts among them.
class DraftCleaning final : public Folder::Cleaning
{
public:
    explicit DraftCleaning(DirectoryNames opened);

    bool step() override;

private:
    DirectoryNames names;
};

} // namespace platform
