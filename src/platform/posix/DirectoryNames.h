// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <dirent.h>

#include <memory>

namespace platform {

/// Reads the names in a directory, one after the other.
class DirectoryNames
{
public:
    /// \param directory its descriptor, which need not outlive this
    explicit DirectoryNames(int directory);

    bool isOpen() const { return stream != nullptr; }
    /// The next one, valid until the next call; null at the end.
    const dirent *next() { return readdir(stream.get()); }
    /// Whether that name of this directory is a plain file, not a link to one.
    bool isPlainFile(const dirent &entry) const;
    int descriptor() const { return dirfd(stream.get()); }

private:
    struct Closer
    {
        void operator()(DIR *directory) const { closedir(directory); }
    };

    std::unique_ptr<DIR, Closer> stream;
};

} // namespace platform
