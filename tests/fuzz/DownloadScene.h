// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <filesystem>
#include <map>
#include <string>

/// Two download directories below the folder for temporary files, the server's and that of a model,
/// with the same files in them, each at the end of a long path: whoever climbs out of one by "../"
/// is caught on the way up.
class DownloadScene
{
public:
    /// What is below a folder: relative path to content, or to its kind if it is not a file.
    using Listing = std::map<std::string, std::string>;

    DownloadScene();
    /// Takes everything away again.
    ~DownloadScene();
    DownloadScene(const DownloadScene &) = delete;
    DownloadScene &operator=(const DownloadScene &) = delete;

    /// Both download directories as they were at first; nothing above them may have changed.
    void reset();
    /// Takes both download directories away.
    void removeDirectories();

    QString settingsDirectory() const { return path(settings()); }
    QString serverDirectory() const { return path(received(server())); }
    QString modelDirectory() const { return path(received(model())); }
    /// Everything below the folders that only the server, or only the model, may write to.
    Listing serverListing() const { return listing(server()); }
    Listing modelListing() const { return listing(model()); }
    /// True when nothing but these folders stands beside them.
    bool isAloneInItsFolder() const;

private:
    using Path = std::filesystem::path;

    static QString path(const Path &path) { return QString::fromStdString(path.string()); }
    static Path received(const Path &root);
    static Listing listing(const Path &root);
    static void fill(const Path &root);
    // Names of one length, so that a name that is too long for one is so for the other.
    Path server() const { return base / "server"; }
    Path model() const { return base / "copied"; }
    Path settings() const { return base / "config"; }

    Path base;
};
