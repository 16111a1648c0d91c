// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <deque>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

/// Where a received file goes, found by checking each component of its path. Sufficient while
/// nobody else changes anything.
namespace NaiveDownload {

constexpr size_t longestPath = 4095;
constexpr int mostLinks = 40;

inline std::deque<std::string> partsOf(const std::string &path)
{
    std::deque<std::string> parts(1);
    for (const char character : path) {
        if (character == '/') {
            parts.emplace_back();
        } else {
            parts.back() += character;
        }
    }
    return parts;
}

inline mode_t kindOf(const std::string &path)
{
    struct stat status
    {
    };
    return lstat(path.c_str(), &status) == 0 ? status.st_mode & S_IFMT : 0;
}

inline std::string targetOf(const std::string &link)
{
    std::string text(longestPath, '\0');
    const ssize_t size = readlink(link.c_str(), text.data(), text.size());
    text.resize(size > 0 ? static_cast<size_t>(size) : 0);
    return text;
}

/// The path, without links and "..", of the file that the name refers to; empty if it must not be
/// opened.
inline std::string resolve(const std::string &directory, const std::string &name)
{
    const size_t begin = name.find_first_not_of('/');
    if (begin == std::string::npos || name.size() - begin > longestPath) {
        return {};
    }
    std::deque<std::string> rest = partsOf(name.substr(begin));
    std::vector<std::string> reached = {directory}; // each a longer path than the one before
    int links = 0;
    while (rest.size() > 1) {
        const std::string part = rest.front();
        rest.pop_front();
        const std::string next = reached.back() + '/' + part;
        if (part.empty() || part == ".") {
            continue;
        }
        if (part == "..") {
            reached.pop_back();
            if (reached.empty()) {
                return {};
            }
        } else if (kindOf(next) == S_IFLNK) {
            const std::string target = targetOf(next);
            if (target.starts_with('/') || ++links > mostLinks) {
                return {};
            }
            const std::deque<std::string> inserted = partsOf(target);
            rest.insert(rest.begin(), inserted.begin(), inserted.end());
        } else if (kindOf(next + "/.") == S_IFDIR) {
            reached.push_back(next);
        } else {
            return {};
        }
    }
    const std::string last = rest.front();
    const std::string file = reached.back() + '/' + last;
    const mode_t kind = kindOf(file);
    const bool isName = !last.empty() && last != "." && last != "..";
    return isName && (kind == 0 || kind == S_IFREG) ? file : std::string();
}

/// A descriptor of the file, for appending; -1 if it must not be opened.
inline int open(const std::string &directory, const std::string &name)
{
    const std::string file = resolve(directory, name);
    return file.empty() ? -1 : ::open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0666);
}

} // namespace NaiveDownload
