// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/FileListing.h"

#include "platform/posix/FolderSystem.h"

#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace platform {
namespace {

/// How many names one step passes over: less than two milliseconds of work.
constexpr int namesListedInStep = 2048;

} // namespace

FileListing::FileListing(DirectoryNames opened, const QByteArray &after, int most)
    : names(std::move(opened))
    , lowest(after)
    , limit(static_cast<size_t>(most))
{
}

bool FileListing::step()
{
    for (int count = 0; count < namesListedInStep; ++count) {
        const dirent *entry = names.next();
        if (entry == nullptr) {
            finish();
            return false;
        }
        consider(*entry);
    }
    return true;
}

void FileListing::consider(const dirent &entry)
{
    const QByteArray name = entry.d_name;
    const bool isTooHigh = first.size() > limit && name >= *first.rbegin();
    if (name <= lowest || isTooHigh || !Folder::isName(name) || !names.isPlainFile(entry)) {
        return;
    }
    first.insert(name);
    if (first.size() > limit + 1) {
        first.erase(std::prev(first.end()));
    }
}

void FileListing::finish()
{
    hasOthers = first.size() > limit;
    if (hasOthers) {
        first.erase(std::prev(first.end()));
    }
    for (const QByteArray &name : std::exchange(first, {})) {
        struct stat status
        {
        };
        if (fstatat(names.descriptor(), name.constData(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(status.st_mode)) {
            found.append({name, status.st_size, modifiedMilliseconds(status)});
        }
    }
}

} // namespace platform
