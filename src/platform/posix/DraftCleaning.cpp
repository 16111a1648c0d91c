// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/DraftCleaning.h"

#include "platform/posix/FileDraft.h"

#include <utility>

namespace platform {
namespace {

/// How many names one step passes over: about a millisecond of work. A draft, which is opened and
/// perhaps removed, takes as long as so many others.
constexpr int namesInStep = 2048;
constexpr int namesOfDraft = 64;

} // namespace

DraftCleaning::DraftCleaning(DirectoryNames opened) : names(std::move(opened)) {}

bool DraftCleaning::step()
{
    for (int left = namesInStep; left > 0; --left) {
        const dirent *entry = names.next();
        if (entry == nullptr) {
            return false;
        }
        if (FileDraft::isDraftName(entry->d_name)) {
            FileDraft::removeAbandoned(names.descriptor(), entry->d_name);
            left -= namesOfDraft;
        }
    }
    return true;
}

} // namespace platform
