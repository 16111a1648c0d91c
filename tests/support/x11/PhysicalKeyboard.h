// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <memory>

/// The keyboard at which the user of an Xvfb display would sit: what is pressed here comes from
/// that device, with its own key map, and not from the one that XTEST clients share.
class PhysicalKeyboard
{
public:
    /// Connects to the display, such as ":7".
    explicit PhysicalKeyboard(const QString &display);
    ~PhysicalKeyboard();
    PhysicalKeyboard(const PhysicalKeyboard &) = delete;
    PhysicalKeyboard &operator=(const PhysicalKeyboard &) = delete;

    bool isConnected() const;

    // Each returns once the server has processed the key.
    void press(int keycode);
    void release(int keycode);
    void tap(int keycode);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
