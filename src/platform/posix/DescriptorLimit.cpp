// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/DescriptorLimit.h"

#include <dirent.h>
#include <sys/resource.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace platform {

void raiseDescriptorLimit()
{
    constexpr rlim_t enough = 8192;
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= enough) {
        return;
    }
    limit.rlim_cur = std::min(enough, limit.rlim_max);
    setrlimit(RLIMIT_NOFILE, &limit);
}

int descriptorLimit()
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    return static_cast<int>(std::min<rlim_t>(limit.rlim_cur, std::numeric_limits<int>::max()));
}

int countOpenDescriptors()
{
    const auto close = [](DIR *directory) { closedir(directory); };
    const std::unique_ptr<DIR, decltype(close)> directory(opendir("/dev/fd"), close);
    int count = 0;
    while (directory != nullptr) {
        const dirent *entry = readdir(directory.get());
        if (entry == nullptr) {
            break;
        }
        count += entry->d_name[0] != '.';
    }
    // The descriptor of the directory itself does not count.
    return std::max(count - 1, 0);
}

} // namespace platform
