// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "fuzz/DownloadScene.h"

#include "fuzz/Finding.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

fs::path makeBase()
{
    std::string name = (fs::temp_directory_path() / "vornaserver-fuzz-XXXXXX").string();
    Finding::require(mkdtemp(name.data()) != nullptr, "no folder for the files");
    return name;
}

std::string contentOf(const fs::path &path)
{
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

/// The capabilities that let root bypass permissions.
constexpr unsigned passingOver = 1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH;

void heedPermissions()
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3]{};
    Finding::require(syscall(SYS_capget, &header, sets) == 0, "no capabilities");
    sets[0].effective &= ~passingOver;
    Finding::require(syscall(SYS_capset, &header, sets) == 0, "permissions are passed over");
}

/// Which file it is and when it was written, as reported by the system, whatever it contains.
std::string traits(const fs::path &path)
{
    struct stat status
    {
    };
    lstat(path.c_str(), &status);
    std::ostringstream text;
    text << " inode " << status.st_ino << " mode " << status.st_mode;
    // A folder's change when the download directory is made anew; what is in it is listed.
    if (!S_ISDIR(status.st_mode)) {
        text << " size " << status.st_size << " written " << status.st_mtim.tv_sec << '.'
             << status.st_mtim.tv_nsec;
    }
    return text.str();
}

void makePipe(const fs::path &path)
{
    Finding::require(mkfifo(path.c_str(), 0600) == 0, "no named pipe");
}

/// \return its reader
int makeHeardPipe(const fs::path &path)
{
    makePipe(path);
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    Finding::require(reader != -1, "nobody reads the named pipe");
    return reader;
}

void closeAll(std::vector<int> &descriptors)
{
    std::for_each(descriptors.begin(), descriptors.end(), close);
    descriptors.clear();
}

bool haveReadNothing(const std::vector<int> &descriptors)
{
    return std::none_of(descriptors.begin(), descriptors.end(), [](int reader) {
        char byte = 0;
        return read(reader, &byte, 1) > 0;
    });
}

/// What cannot be listed cannot be removed.
void unlock(const fs::path &folder)
{
    std::error_code mayBeGone;
    fs::permissions(folder / "closed", fs::perms::owner_all, mayBeGone);
}

} // namespace

DownloadScene::DownloadScene() : base(makeBase())
{
    heedPermissions();
    fs::create_directories(settings());
    for (const Path &root : {server(), model()}) {
        fs::create_directories(beside(root));
        fillBeside(root);
    }
    reset();
    outsideAtFirst = outside();
}

DownloadScene::~DownloadScene()
{
    removeDirectories();
    closeAll(readersBeside);
    fs::remove_all(base);
}

DownloadScene::Path DownloadScene::received(const Path &root)
{
    return root / "a/b/c/d/received";
}

DownloadScene::Path DownloadScene::beside(const Path &root)
{
    return root / "a/b/c/d/beside";
}

void DownloadScene::reset()
{
    removeDirectories();
    for (const Path &root : {server(), model()}) {
        fs::create_directories(received(root));
        fill(root);
    }
}

void DownloadScene::fill(const Path &root)
{
    const Path directory = received(root);
    fs::create_directory(directory / "sub");
    fs::create_directory(directory / "closed");
    std::ofstream(directory / "old") << "old\n";
    std::ofstream(directory / "sealed") << "sealed\n";
    makePipe(directory / "pipe");
    readers.push_back(makeHeardPipe(directory / "heard"));
    for (const auto &[link, target] : {std::pair<const char *, Path>{"in", "sub"},
                                       {"sub/same", "."},
                                       {"out", "../beside"},
                                       {"far", beside(root)},
                                       {"home", directory / "sub"},
                                       {"up", ".."},
                                       {"own", "old"},
                                       {"note", "../beside/kept"},
                                       {"gone", "../beside/new"},
                                       {"loop", "loop"}}) {
        fs::create_symlink(target, directory / link);
    }
    fs::create_directory(directory / "locked");
    fs::permissions(directory / "locked", fs::perms::owner_read | fs::perms::owner_exec);
    fs::permissions(directory / "sealed", fs::perms::owner_read);
    fs::permissions(directory / "closed", fs::perms::none);
}

void DownloadScene::fillBeside(const Path &root)
{
    fs::create_directory(beside(root) / "inner");
    std::ofstream(beside(root) / "kept") << "kept\n";
    std::ofstream(beside(root).parent_path() / "kept") << "kept too\n";
    makePipe(beside(root) / "pipe");
    readersBeside.push_back(makeHeardPipe(beside(root) / "heard"));
}

void DownloadScene::removeDirectories()
{
    closeAll(readers);
    for (const Path &root : {server(), model()}) {
        unlock(received(root));
        fs::remove_all(received(root));
    }
}

std::string DownloadScene::describe(const fs::directory_entry &entry, const Path &root) const
{
    switch (entry.symlink_status().type()) {
    case fs::file_type::regular:
        return contentOf(entry.path());
    case fs::file_type::directory:
        return "(folder)";
    case fs::file_type::symlink: {
        const Path target = fs::read_symlink(entry.path());
        return "(link) " +
               (target.is_absolute() ? target.lexically_relative(root) : target).string();
    }
    default:
        return "(no file)";
    }
}

DownloadScene::Listing DownloadScene::listing(const Path &root) const
{
    Listing found;
    const auto options = fs::directory_options::skip_permission_denied;
    for (const auto &entry :
         fs::recursive_directory_iterator(received(root).parent_path(), options)) {
        found[entry.path().lexically_relative(root).string()] = describe(entry, root);
    }
    return found;
}

/// All below both roots but the download directories.
DownloadScene::Listing DownloadScene::outside() const
{
    Listing found;
    for (const Path &root : {server(), model()}) {
        auto entries = fs::recursive_directory_iterator(root);
        for (; entries != fs::recursive_directory_iterator(); ++entries) {
            if (entries->path() == received(root)) {
                entries.disable_recursion_pending();
            } else {
                found[entries->path().string()] =
                    describe(*entries, root) + traits(entries->path());
            }
        }
    }
    return found;
}

bool DownloadScene::isAloneInItsFolder() const
{
    const auto entries = fs::directory_iterator(base);
    return std::all_of(begin(entries), end(entries), [this](const fs::directory_entry &entry) {
        return entry == server() || entry == model() || entry == settings();
    });
}

void DownloadScene::compare() const
{
    Finding::require(haveReadNothing(readers) && haveReadNothing(readersBeside),
                     "bytes for a named pipe");
    Finding::require(outside() == outsideAtFirst, "a change outside the download directory");
    Finding::require(isAloneInItsFolder(), "a file far outside the download directory");
    Finding::require(listing(server()) == listing(model()), "other files");
}
