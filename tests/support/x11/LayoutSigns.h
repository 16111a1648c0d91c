// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "interaction/KeyTable.h"

#include <QLatin1StringView>
#include <QStringList>

#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

/// Which keysyms the layouts of the tests have, taken from xkb-data's symbols for model pc105.
namespace LayoutSigns {

/// Keys that today's kernels have under other names: the layouts call the key F13 "Tools", and so
/// on. They are found by position everywhere.
inline QStringList namesOfLateFunctionKeys()
{
    return {u"F13"_s, u"F14"_s, u"F15"_s, u"F16"_s, u"F17"_s, u"F18"_s, u"F19"_s, u"F20"_s};
}

/// Names of the key table whose keysym is not assigned to any key of the layout.
inline QStringList namesNotBorne(const QString &layout)
{
    QStringList names = namesOfLateFunctionKeys();
    if (layout == "fr"_L1 || layout == "de"_L1) {
        names << u"RAlt"_s; // It is AltGr there.
    }
    if (layout == "ru"_L1) {
        names << u"["_s << u"]"_s << u"'"_s;
        for (char letter = 'A'; letter <= 'Z'; ++letter) {
            names << QString(QLatin1Char(letter));
        }
    }
    return names;
}

/// Names that mean nothing here at all.
inline QStringList namesWithoutMeaning()
{
    return {u"Fn"_s, u"UArrow"_s};
}

/// Every row of the key table that has a meaning here, and whether the layout has its keysym.
inline std::vector<std::pair<KeyTable::Row, bool>> rowsOf(const QString &layout)
{
    std::vector<std::pair<KeyTable::Row, bool>> rows;
    const QStringList notBorne = namesNotBorne(layout);
    for (const KeyTable::Row &row : KeyTable::rows()) {
        if (!namesWithoutMeaning().contains(row.name)) {
            rows.emplace_back(row, !notBorne.contains(row.name));
        }
    }
    return rows;
}

} // namespace LayoutSigns
