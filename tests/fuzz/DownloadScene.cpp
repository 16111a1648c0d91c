// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "DownloadScene.h"

#include "Finding.h"

#include <fstream>
#include <sstream>

#include <sys/stat.h>

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

} // namespace

DownloadScene::DownloadScene() : base(makeBase())
{
    fs::create_directories(settings());
    reset();
}

DownloadScene::~DownloadScene()
{
    fs::remove_all(base);
}

DownloadScene::Path DownloadScene::received(const Path &root)
{
    return root / "a/b/c/d/received";
}

void DownloadScene::reset()
{
    removeDirectories();
    for (const Path &root : {server(), model()}) {
        fs::create_directories(received(root));
        fill(received(root));
    }
}

void DownloadScene::fill(const Path &directory)
{
    fs::create_directory(directory / "sub");
    std::ofstream(directory / "old") << "old\n";
    Finding::require(mkfifo((directory / "pipe").c_str(), 0600) == 0, "no named pipe");
}

void DownloadScene::removeDirectories()
{
    for (const Path &root : {server(), model()}) {
        fs::remove_all(received(root));
    }
}

DownloadScene::Listing DownloadScene::listing(const Path &root)
{
    Listing found;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root)) {
        const std::string name = entry.path().lexically_relative(root).string();
        if (entry.is_regular_file()) {
            found[name] = contentOf(entry.path());
        } else {
            found[name] = entry.is_directory() ? "(folder)" : "(no file)";
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
