// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/wayland/ProgramSockets.h"

#include "support/wayland/StandInPrograms.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <vector>

using namespace platform;
using namespace Qt::StringLiterals;

class tst_ProgramSockets : public QObject
{
    Q_OBJECT

private slots:
    void theNameIsThatOfTheEnvironment();
    void whatAProgramHasNotReadIsTold();
    void manySocketsAreLookedThrough();
    void withoutACompositorNothingIsTold();
};

namespace {

QByteArray pathIn(const QTemporaryDir &folder, const QString &name)
{
    return QFile::encodeName(folder.filePath(name));
}

} // namespace

void tst_ProgramSockets::theNameIsThatOfTheEnvironment()
{
    qputenv("XDG_RUNTIME_DIR", "/run/user/7");
    qputenv("WAYLAND_DISPLAY", "wayland-3");
    QCOMPARE(ProgramSockets::nameFromEnvironment(), "/run/user/7/wayland-3"_ba);
    qputenv("WAYLAND_DISPLAY", "/elsewhere/wayland-3");
    QCOMPARE(ProgramSockets::nameFromEnvironment(), "/elsewhere/wayland-3"_ba);
    qunsetenv("WAYLAND_DISPLAY");
    QCOMPARE(ProgramSockets::nameFromEnvironment(), QByteArray());
}

void tst_ProgramSockets::whatAProgramHasNotReadIsTold()
{
    const QTemporaryDir folder;
    const StandInSocket listener(pathIn(folder, u"wayland-0"_s));
    const StandInSocket elsewhere(pathIn(folder, u"wayland-01"_s));
    const StandInProgram slow(listener);
    const StandInProgram fast(listener);
    const StandInProgram foreign(elsewhere);
    const ProgramSockets programs(listener.name());
    QCOMPARE(programs.unread(), std::optional(UnreadEvents()));

    QVERIFY(slow.get(10'000) && fast.get(500) && foreign.get(10'000));
    QVERIFY(fast.read(500));
    const auto unread = programs.unread();
    QVERIFY(unread && unread->size() == 1);
    const auto size = unread->begin()->second;
    QVERIFY2(size >= 10'000 && size < 20'000, QByteArray::number(size).constData());

    QVERIFY(slow.get(10'000));
    QVERIFY(programs.unread().value().at(unread->begin()->first) >= size + 10'000);
    QVERIFY(slow.read(20'000));
    QCOMPARE(programs.unread(), std::optional(UnreadEvents()));
}

/// More than the kernel tells at once.
void tst_ProgramSockets::manySocketsAreLookedThrough()
{
    const QTemporaryDir folder;
    const StandInSocket listener(pathIn(folder, u"wayland-0"_s));
    std::vector<StandInProgram> connections;
    for (int number = 0; number < 400; ++number) {
        connections.emplace_back(listener);
        QVERIFY(connections.back().get(1));
    }
    const ProgramSockets programs(listener.name());
    QCOMPARE(programs.unread().value().size(), connections.size());
}

void tst_ProgramSockets::withoutACompositorNothingIsTold()
{
    QCOMPARE(ProgramSockets(QByteArray()).unread(), std::nullopt);
}

QTEST_APPLESS_MAIN(tst_ProgramSockets)
#include "tst_ProgramSockets.moc"
