// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <unistd.h>

#include <utility>

/// Owns a descriptor, or none.
class Descriptor
{
public:
    /// \param opened the result of an opening call: no descriptor if negative
    explicit Descriptor(int opened) : number(opened) {}
    Descriptor(Descriptor &&other) noexcept : number(other.release()) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(number, other.number);
        return *this;
    }
    ~Descriptor()
    {
        if (isOpen()) {
            close(number);
        }
    }

    bool isOpen() const { return number >= 0; }
    int get() const { return number; }
    /// Passes it to the caller, who must close it.
    int release() { return std::exchange(number, -1); }

private:
    int number;
};
