// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

/// Two download directories below the folder for temporary files, the server's and that of a model,
/// with the same contents, each at the end of a long path, so that a name that leaves one by "../"
/// is caught on the way up. Links lead from them to folders and files inside and outside, in
/// circles and to nothing; there are pipes with readers, and files that must not be written.
///
/// The process that creates one obeys permissions from then on, even if it runs as root.
class DownloadScene
{
public:
    /// What is below a folder: relative path to content, or to its kind if it is not a file.
    using Listing = std::map<std::string, std::string>;

    DownloadScene();
    /// Removes everything.
    ~DownloadScene();
    DownloadScene(const DownloadScene &) = delete;
    DownloadScene &operator=(const DownloadScene &) = delete;

    /// Restores both download directories; nothing above them may have changed.
    void reset();
    /// Removes both download directories.
    void removeDirectories();

    QString settingsDirectory() const { return path(settings()); }
    QString serverDirectory() const { return path(received(server())); }
    QString modelDirectory() const { return path(received(model())); }

    /// Ends the process with a finding unless the server's files are those of the model and nothing
    /// was written where neither may write. It asks the system, whatever the model says.
    void compare() const;

private:
    using Path = std::filesystem::path;

    static QString path(const Path &path) { return QString::fromStdString(path.string()); }
    static Path received(const Path &root);
    static Path beside(const Path &root);
    Listing listing(const Path &root) const;
    std::string describe(const std::filesystem::directory_entry &entry, const Path &root) const;
    Listing outside() const;
    bool isAloneInItsFolder() const;
    void fill(const Path &root);
    void fillBeside(const Path &root);
    // Names of the same length, so that a name that is too long for one is too long for the other.
    Path server() const { return base / "server"; }
    Path model() const { return base / "copied"; }
    Path settings() const { return base / "config"; }

    Path base;
    std::vector<int> readers;       // of the pipes in the download directories
    std::vector<int> readersBeside; // and of those beside them
    Listing outsideAtFirst;
};
