// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/ComponentWalk.h"

#include "platform/posix/Beneath.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <utility>

#include <sys/stat.h>

namespace platform {
namespace {

constexpr size_t mostDirectories = 64;
/// As many as Linux follows.
constexpr int mostLinks = 40;

/// Where a link leads; empty when it is none.
QByteArray target(int directory, const QByteArray &name)
{
    QByteArray text(PATH_MAX, Qt::Uninitialized);
    const ssize_t length =
        readlinkat(directory, name.constData(), text.data(), static_cast<size_t>(text.size()));
    text.truncate(std::max<qsizetype>(length, 0));
    return text;
}

/// The permission that the system demands before it looks any name up, including "..".
bool maySearch(int directory)
{
    struct stat status
    {
    };
    return fstatat(directory, ".", &status, 0) == 0;
}

} // namespace

ComponentWalk::ComponentWalk(int start, const QByteArray &path) : root(start), rest(path.split('/'))
{
}

bool ComponentWalk::step()
{
    const QByteArray part = rest.takeFirst();
    if (part.isEmpty() || part == ".") {
        return true;
    }
    if (part == "..") {
        return goBack();
    }
    return enter(part) || follow(target(here(), part));
}

/// To where the walk came from: the system's ".." may lead elsewhere by now.
bool ComponentWalk::goBack()
{
    if (entered.empty() || !maySearch(here())) {
        return false;
    }
    entered.pop_back();
    return true;
}

bool ComponentWalk::enter(const QByteArray &name)
{
    if (entered.size() == mostDirectories) {
        return false;
    }
    Descriptor next(
        openat(here(), name.constData(), passing | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!next.isOpen()) {
        return false;
    }
    entered.push_back(std::move(next));
    return true;
}

bool ComponentWalk::follow(const QByteArray &link)
{
    if (link.isEmpty() || link.startsWith('/') || ++links > mostLinks) {
        return false;
    }
    rest = link.split('/') + rest;
    return true;
}

int openByWalking(int directory, const QByteArray &path)
{
    if (path.size() >= PATH_MAX || path.startsWith('/')) {
        return -1;
    }
    ComponentWalk walk(directory, path);
    while (!walk.isAtLastPart()) {
        if (!walk.step()) {
            return -1;
        }
    }
    // An empty name, "." and ".." cannot be opened for writing.
    const QByteArray name = walk.lastPart();
    int opened = -1;
    do {
        opened = openat(walk.here(), name.constData(), appending, newFileMode);
    } while (opened == -1 && errno == EINTR);
    return opened;
}

} // namespace platform
