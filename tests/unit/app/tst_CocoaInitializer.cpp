// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/CocoaInitializer.h"

#include "platform/ApplicationRuntime.h"

#include <QStringList>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QStringList &calls()
{
    static QStringList list;
    return list;
}

class RecordingRuntime final : public platform::ApplicationRuntime
{
public:
    RecordingRuntime() { calls().append(u"loaded"_s); }
    ~RecordingRuntime() override { calls().append(u"given back"_s); }
};

} // namespace

// Takes precedence over the host's.
std::unique_ptr<platform::ApplicationRuntime> platform::loadApplicationRuntime()
{
    return std::make_unique<RecordingRuntime>();
}

class tst_CocoaInitializer : public QObject
{
    Q_OBJECT

private slots:
    void theRuntimeIsHeldForAsLongAsTheInitializerLives();
};

void tst_CocoaInitializer::theRuntimeIsHeldForAsLongAsTheInitializerLives()
{
    auto initializer = std::make_unique<CocoaInitializer>();
    QCOMPARE(calls(), QStringList{u"loaded"_s});
    initializer.reset();
    QCOMPARE(calls(), QStringList({u"loaded"_s, u"given back"_s}));
}

QTEST_GUILESS_MAIN(tst_CocoaInitializer)
#include "tst_CocoaInitializer.moc"
