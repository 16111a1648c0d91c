// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/mac/CFText.h"

#include <algorithm>
#include <string_view>

namespace platform {
namespace {

/// The string in its own storage if it can be read there without a copy, else null.
const char *cString(CFStringRef string)
{
    return CFStringGetCStringPtr(string, CFStringGetSystemEncoding());
}

/// The system's encoding may be any of many one-byte encodings, which have only ASCII in common.
bool isAscii(std::string_view bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte < 0x80; });
}

QString charactersOf(CFStringRef string)
{
    const CFIndex length = CFStringGetLength(string);
    QString text(length, Qt::Uninitialized);
    CFStringGetCharacters(string, {0, length}, reinterpret_cast<UniChar *>(text.data()));
    return text;
}

} // namespace

QString textOf(CFTypeRef string)
{
    if (string == nullptr || CFGetTypeID(string) != CFStringGetTypeID()) {
        return {};
    }
    const auto checked = static_cast<CFStringRef>(string);
    const char *bytes = cString(checked);
    return bytes != nullptr && isAscii(bytes) ? QString::fromLatin1(bytes) : charactersOf(checked);
}

CFOwner<CFStringRef> stringOf(const QString &text)
{
    return CFOwner<CFStringRef>(CFStringCreateWithCharacters(
        kCFAllocatorDefault, reinterpret_cast<const UniChar *>(text.utf16()), text.size()));
}

} // namespace platform
