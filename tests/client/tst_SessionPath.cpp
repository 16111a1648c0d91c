// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/SessionPath.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_SessionPath : public QObject
{
    Q_OBJECT

private slots:
    void eachDesktopHasASocketOfItsOwn_data();
    void eachDesktopHasASocketOfItsOwn();
    void thereIsNoneWithoutARuntimeFolder();
    void theEnvironmentNamesIt();
};

void tst_SessionPath::eachDesktopHasASocketOfItsOwn_data()
{
    QTest::addColumn<QString>("wayland");
    QTest::addColumn<QString>("display");
    QTest::addColumn<QString>("name");
    QTest::newRow("X11") << u""_s << u":0"_s << u"_0"_s;
    QTest::newRow("a screen of X11") << u""_s << u":1.0"_s << u"_1"_s;
    QTest::newRow("another computer's display")
        << u""_s << u"den.local:10.2"_s << u"den.local_10"_s;
    QTest::newRow("Wayland") << u"wayland-0"_s << u":0"_s << u"wayland-0"_s;
    QTest::newRow("Wayland by its path") << u"/run/user/7/way_land-1"_s << u""_s << u"way_land-1"_s;
    QTest::newRow("none") << u""_s << u""_s << u"desktop"_s;
    QTest::newRow("unusual characters") << u"a b\u00e4$"_s << u""_s << u"a_b__"_s;
    QTest::newRow("no screen") << u""_s << u"host1.0"_s << u"host1.0"_s;
}

void tst_SessionPath::eachDesktopHasASocketOfItsOwn()
{
    QFETCH(QString, wayland);
    QFETCH(QString, display);
    QFETCH(QString, name);
    const SessionPlace place{u"/run/user/7"_s, wayland, display};
    QCOMPARE(place.path(), u"/run/user/7/vornaserver/%1.socket"_s.arg(name));
}

void tst_SessionPath::thereIsNoneWithoutARuntimeFolder()
{
    QCOMPARE((SessionPlace{{}, u"wayland-0"_s, u":0"_s}.path()), QString());
}

void tst_SessionPath::theEnvironmentNamesIt()
{
    qputenv("WAYLAND_DISPLAY", "");
    qputenv("DISPLAY", ":3");
    qputenv("XDG_RUNTIME_DIR", "/run/user/8/");
    QCOMPARE(SessionPlace::ofEnvironment().path(), u"/run/user/8/vornaserver/_3.socket"_s);
    // The rules for such folders ignore a relative one.
    qputenv("XDG_RUNTIME_DIR", "run");
    QCOMPARE(SessionPlace::ofEnvironment().path(), QString());
    qunsetenv("XDG_RUNTIME_DIR");
    QCOMPARE(SessionPlace::ofEnvironment().path(), QString());
}

QTEST_APPLESS_MAIN(tst_SessionPath)
#include "tst_SessionPath.moc"
