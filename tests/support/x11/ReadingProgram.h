// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <chrono>
#include <memory>

/// A program with a text field that has the focus, as programs of the desktop are: it runs by
/// itself, reads its events in their order and looks up what a key means when it reads it.
class ReadingProgram
{
public:
    struct Manners
    {
        bool answersPings = true;
        /// Before each look at its events it does something else for so long.
        std::chrono::milliseconds pause{0};
        bool isManaged = false; ///< By the window manager.
        /// Another connection reports changes of the key map. It is read after the other events.
        bool hasMapConnection = false;
    };

    /// Connects to the display, such as ":7", maps a window that is not managed, and takes the
    /// focus.
    ReadingProgram(const QString &display, Manners manners);
    ~ReadingProgram();
    ReadingProgram(const ReadingProgram &) = delete;
    ReadingProgram &operator=(const ReadingProgram &) = delete;

    bool isConnected() const;
    void takeFocus();
    /// It does something else for so long, beginning now.
    void beBusy(std::chrono::milliseconds time);

    /// What has been typed so far; Enter is a line feed.
    QString text() const;
    void clear();
    /// How many pings it has answered.
    int answers() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
