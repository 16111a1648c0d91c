// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArrayView>

#include <algorithm>
#include <array>
#include <cstddef>

namespace quillmote {

/// Overwrites the bytes in a way that no compiler leaves out.
void wipe(void *bytes, std::size_t size);

/// As C functions take them. Those forbid null even for no bytes.
inline const unsigned char *unsignedBytes(QByteArrayView view)
{
    return reinterpret_cast<const unsigned char *>(view.isNull() ? "" : view.data());
}

/// Key material of a fixed size. It is moved, never copied, and nothing stays where it was.
template <std::size_t Size> class SecretBytes
{
public:
    static constexpr qsizetype size = Size;

    SecretBytes() = default; // zeros
    /// At least `Size` bytes must be given; what is behind them is left out.
    explicit SecretBytes(QByteArrayView source)
    {
        Q_ASSERT(source.size() >= size);
        std::copy_n(source.begin(), size, bytes.begin());
    }
    SecretBytes(SecretBytes &&other) noexcept : bytes(other.bytes) { other.clear(); }
    SecretBytes &operator=(SecretBytes &&other) noexcept
    {
        if (this != &other) {
            bytes = other.bytes;
            other.clear();
        }
        return *this;
    }
    SecretBytes(const SecretBytes &) = delete;
    SecretBytes &operator=(const SecretBytes &) = delete;
    ~SecretBytes() { clear(); }

    QByteArrayView view() const { return {bytes.data(), size}; }
    unsigned char *data() { return reinterpret_cast<unsigned char *>(bytes.data()); }
    const unsigned char *data() const
    {
        return reinterpret_cast<const unsigned char *>(bytes.data());
    }

private:
    void clear() { wipe(bytes.data(), Size); }

    std::array<char, Size> bytes{};
};

using Key = SecretBytes<32>;
using Digest = SecretBytes<64>;

} // namespace quillmote
