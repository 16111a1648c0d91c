// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

/// The rules of writing a token, implemented step by step and without the toolkit, to compare the
/// real writer with.
namespace NaiveTokenWriter {

struct Entry
{
    std::u16string key;
    bool isList = false;
    std::vector<std::u16string> texts; // a single one unless it is a list
};

/// The entries in the order in which they are to be written.
inline std::u16string write(const std::vector<Entry> &entries)
{
    std::u16string text = u"{";
    for (const Entry &entry : entries) {
        text += entry.key;
        text += u" = ";
        if (entry.isList) {
            text += u"(";
            for (const std::u16string &item : entry.texts) {
                text += u"\"" + item + u"\", ";
            }
            text.erase(text.size() - 2, 1);
            text += u");";
        } else {
            text += u"\"" + entry.texts.front() + u"\";";
        }
    }
    return text + u"}";
}

/// One byte a character; beyond Latin-1 a question mark.
inline std::string onTheWire(const std::u16string &text)
{
    std::string bytes;
    for (const char16_t character : text) {
        bytes += character <= 0xff ? static_cast<char>(character) : '?';
    }
    return bytes;
}

} // namespace NaiveTokenWriter
