// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/Beneath.h"

#include "platform/posix/Descriptor.h"

#include <QByteArrayList>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <vector>

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

/// What the system asks for before it looks a name up, ".." too.
bool maySearch(int directory)
{
    struct stat status
    {
    };
    return fstatat(directory, ".", &status, 0) == 0;
}

/// A way from one directory downwards that never leaves it.
class Walk
{
public:
    Walk(int start, const QByteArray &path) : root(start), rest(path.split('/')) {}

    bool isAtLastPart() const { return rest.size() == 1; }
    QByteArray lastPart() const { return rest.last(); }
    /// The directory that the walk has come to.
    int here() const { return entered.empty() ? root : entered.back().get(); }

    /// False when the next part leads nowhere or out.
    bool step()
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

private:
    /// By the way it came: the system's ".." may lead elsewhere by now.
    bool goBack()
    {
        if (entered.empty() || !maySearch(here())) {
            return false;
        }
        entered.pop_back();
        return true;
    }

    bool enter(const QByteArray &name)
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

    bool follow(const QByteArray &link)
    {
        if (link.isEmpty() || link.startsWith('/') || ++links > mostLinks) {
            return false;
        }
        rest = link.split('/') + rest;
        return true;
    }

    int root;
    std::vector<Descriptor> entered; // the directories between the root and here
    QByteArrayList rest;             // never empty
    int links = 0;
};

} // namespace

int openByWalking(int directory, const QByteArray &path)
{
    if (path.size() >= PATH_MAX || path.startsWith('/')) {
        return -1;
    }
    Walk walk(directory, path);
    while (!walk.isAtLastPart()) {
        if (!walk.step()) {
            return -1;
        }
    }
    // Nothing, "." and ".." cannot be opened for writing.
    const QByteArray name = walk.lastPart();
    int opened = -1;
    do {
        opened = openat(walk.here(), name.constData(), appending, newFileMode);
    } while (opened == -1 && errno == EINTR);
    return opened;
}

} // namespace platform
