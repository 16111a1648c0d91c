// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QDebug>
#include <QString>

#include <cstdio>
#include <cstdlib>

/// How a fuzz target reports that an input shows a fault: it aborts, as the sanitizers do, and
/// libFuzzer keeps the input.
namespace Finding {

[[noreturn]] inline void report(const char *what, const QString &details)
{
    std::fprintf(stderr, "FOUND: %s\n%s\n", what, qPrintable(details));
    std::abort();
}

inline void require(bool isTrue, const char *what)
{
    if (!isTrue) {
        report(what, QString());
    }
}

/// Both are printed as the debug stream prints them.
template <typename Value>
void requireEqual(const Value &actual, const Value &expected, const char *what)
{
    if (!(actual == expected)) {
        QString details;
        QDebug(&details) << "actual:  " << actual << "\nexpected:" << expected;
        report(what, details);
    }
}

} // namespace Finding
