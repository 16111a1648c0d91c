// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>

namespace platform {

/// A key map as it goes over the wire: the text and a null byte, in a file without a name that
/// nobody can change.
class KeymapFile
{
public:
    /// descriptor() is -1 if the system has no memory or descriptors left.
    explicit KeymapFile(const QByteArray &text);
    ~KeymapFile();
    Q_DISABLE_COPY_MOVE(KeymapFile)

    int descriptor() const { return file; }
    /// Bytes, with the null byte.
    std::uint32_t size() const { return length; }

    /// The text in a file that was sent, of which it says that it has `size` bytes. Closes it.
    /// Nothing if it cannot be read or is longer than any key map.
    static std::optional<QByteArray> read(int descriptor, std::uint32_t size);

private:
    int file;
    std::uint32_t length;
};

} // namespace platform
