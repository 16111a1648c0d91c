// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The wheel and dragging by the session socket, as programs of other makers take them, and what a
// session leaves behind that is killed.

#include "support/session/TypingScene.h"
#include "support/x11/InputWatcher.h"

#include <QTest>

using Kind = ControlsProgram::Kind;
Q_DECLARE_METATYPE(ControlsProgram::Kind)

namespace {

/// A process of its own that speaks on the session socket, and can be killed.
class SessionProcess
{
public:
    explicit SessionProcess(const QString &socket)
    {
        process.start(u"socat"_s, {u"-"_s, u"UNIX-CONNECT:"_s + socket});
    }

    /// Sends the lines and waits until that many answers have come, besides the greeting.
    bool send(const QByteArrayList &lines)
    {
        for (const QByteArray &line : lines) {
            process.write(line + '\n');
        }
        return waitUntil([&] {
            said += process.readAllStandardOutput();
            return said.count("\"ok\":true") >= lines.size();
        });
    }

    void kill()
    {
        process.kill();
        process.waitForFinished();
    }

private:
    ChildProcess process;
    QByteArray said;
};

} // namespace

class tst_SessionPointer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void wheelScrollsLists_data() { addPrograms(); }
    void wheelScrollsLists();
    void draggingMovesSliders_data() { addPrograms(); }
    void draggingMovesSliders();
    void everyPixelCanBePointedAt();
    void killedSessionLeavesNothingDown();

private:
    static void addPrograms();

    std::unique_ptr<TypingScene> typing;
};

void tst_SessionPointer::initTestCase()
{
    typing = std::make_unique<TypingScene>();
    QVERIFY(typing->start());
}

void tst_SessionPointer::cleanupTestCase()
{
    QCOMPARE(typing->desk().problemAtEnd(), QByteArray());
}

void tst_SessionPointer::addPrograms()
{
    QTest::addColumn<Kind>("kind");
    for (const auto &[name, kind] : TypingScene::programs()) {
        if (kind != Kind::Terminal) {
            QTest::newRow(name.constData()) << kind;
        }
    }
}

void tst_SessionPointer::wheelScrollsLists()
{
    QFETCH(Kind, kind);
    QVERIFY(typing->open(kind));
    QCOMPARE(typing->scroll(), QByteArray());
}

void tst_SessionPointer::draggingMovesSliders()
{
    QFETCH(Kind, kind);
    QVERIFY(typing->open(kind));
    QCOMPARE(typing->drag(), QByteArray());
}

/// Those at which the share of the screen, multiplied again, is less than the pixel.
void tst_SessionPointer::everyPixelCanBePointedAt()
{
    constexpr int Bottom = 767;
    int tried = 0;
    for (int y = 0; y <= Bottom; ++y) {
        if (y / double(Bottom) * Bottom < y) {
            QVERIFY2(typing->moveTo({500, y}), QByteArray::number(y).constData());
            ++tried;
        }
    }
    QVERIFY(tried > 0);
}

void tst_SessionPointer::killedSessionLeavesNothingDown()
{
    InputWatcher watcher(typing->desk().session().display());
    SessionProcess process(typing->socketPath());
    QVERIFY(process.send({R"({"id":1,"request":"key","key":"Control","action":"press"})",
                          R"({"id":2,"request":"key","key":"a","action":"press"})",
                          R"({"id":3,"request":"button","action":"press"})"}));
    QVERIFY(waitUntil([&] { return watcher.keysDown().size() == 2; }));
    QVERIFY(!watcher.isNothingDown());
    process.kill();
    QVERIFY(waitUntil([&] { return watcher.isNothingHeld(); }));
}

QTEST_GUILESS_MAIN(tst_SessionPointer)
#include "tst_SessionPointer.moc"
