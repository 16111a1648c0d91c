// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <functional>
#include <random>

/// Characters by chance, the same ones for the same seed.
class RandomText
{
public:
    /// Whether a program takes a character as it is. None has to take those that are composed.
    using Filter = std::function<bool(char32_t)>;

    explicit RandomText(quint32 seed) : random(seed) {}

    /// That many characters, up to 40 in a line: half of them from the key caps, the others from
    /// every plane of Unicode that the filter lets pass.
    QString mixed(int characters, const QString &keyCaps, const Filter &isTaken);
    /// That many of the key caps, up to 40 in a line.
    QString ofKeyCaps(int characters, const QString &keyCaps);

    /// A character that stands for something: no control, no half of a pair, none that is private
    /// or has not been assigned.
    static bool isAssigned(char32_t character);
    /// The locale's table for composing (Compose of en_US.UTF-8) makes two letters of it, in every
    /// program that reads that table and from whatever keyboard it comes.
    static bool isComposed(char32_t character);

private:
    char32_t below(char32_t limit) { return static_cast<char32_t>(random() % limit); }
    char32_t ofAnyPlane(const Filter &isTaken);
    /// Where to look for the next character: small scripts are as likely as the large ones.
    char32_t anywhere();

    std::mt19937 random;
};
