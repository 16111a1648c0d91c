// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QTest>

/// Rows of texts that a clipboard may easily change on their way, in the column "text".
namespace ExactTexts {

inline void addRows()
{
    using namespace Qt::StringLiterals;
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << u"hello"_s;
    QTest::newRow("lines") << u"a\nb\r\nc\rd\te\n"_s;
    QTest::newRow("controls") << u"a\u0001\u001b[0m\u007f\u0085"_s;
    QTest::newRow("zero") << u"a\0b"_s;
    QTest::newRow("marks of the byte order") << u"\ufeffa\ufeff"_s;
    QTest::newRow("replacement") << u"\ufffd"_s;
    QTest::newRow("no characters") << u"\ufffe\uffff"_s;
    QTest::newRow("second plane") << u"\U00010000\U0001f600"_s;
    QTest::newRow("last plane") << u"\U0010ffff"_s;
    QTest::newRow("long") << u"\U0001f600\u20acx"_s.repeated(200'000);
}

} // namespace ExactTexts
