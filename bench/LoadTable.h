// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <cstdio>

/// The rows that a bench prints: load, promise, measurement, and whether the promise held.
class LoadTable
{
public:
    /// The program's argument, from 1 to 100, is the percentage of the load; the default is 100.
    static void takeShare(int argc, char **argv)
    {
        if (argc > 1) {
            percentage = std::clamp(QByteArray(argv[1]).toInt(), 1, 100);
        }
    }

    static int scaled(int whole)
    {
        return std::max(1, static_cast<int>(qint64(whole) * percentage / 100));
    }

    static void report(const QString &load, const QString &promised, const QString &measured,
                       bool hasHeld)
    {
        allHeld = allHeld && hasHeld;
        std::printf("| %s | %s | %s | %s |\n", qPrintable(load), qPrintable(promised),
                    qPrintable(measured), hasHeld ? "yes" : "**no**");
        std::fflush(stdout);
    }

    /// False once a promise has been broken.
    static bool haveAllHeld() { return allHeld; }

private:
    static inline int percentage = 100;
    static inline bool allHeld = true;
};
