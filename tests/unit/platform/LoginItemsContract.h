// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/LoginItems.h"

#include <QObject>
#include <QStringList>
#include <QTest>

using namespace Qt::StringLiterals;

/// What every adapter of platform::LoginItems promises. A derived class provides an adapter and the
/// list behind it; run it by QTest::qExec().
class LoginItemsContract : public QObject
{
    Q_OBJECT

protected:
    /// Replaces the list behind the adapter by entries of other programs with these paths.
    virtual void seed(const QStringList &paths) = 0;
    /// The adapter, on the current list.
    virtual std::unique_ptr<platform::LoginItems> open() = 0;

    QStringList paths(const platform::LoginItems &items) const
    {
        QStringList all;
        for (int index = 0; index < items.count(); ++index) {
            all.append(items.pathAt(index));
        }
        return all;
    }

    /// The saved list. Adapters order new entries differently, so the order is ignored.
    QStringList sortedSavedPaths()
    {
        QStringList saved = paths(*open());
        saved.sort();
        return saved;
    }

private slots:
    void applicationPathIsAbsolute()
    {
        QVERIFY2(open()->applicationPath().startsWith(QLatin1Char('/')),
                 qPrintable(open()->applicationPath()));
    }

    void emptyListHasNoEntries()
    {
        seed({});
        QCOMPARE(open()->count(), 0);
    }

    void entriesAreInTheirOrder()
    {
        seed({u"/opt/a"_s, u"/opt/b"_s, u"/opt/c"_s});
        QCOMPARE(paths(*open()), (QStringList{u"/opt/a"_s, u"/opt/b"_s, u"/opt/c"_s}));
    }

    void appendedEntryComesLast()
    {
        seed({u"/opt/x"_s, u"/opt/y"_s});
        const auto items = open();
        items->append(u"/opt/a"_s, false);
        QCOMPARE(paths(*items), (QStringList{u"/opt/x"_s, u"/opt/y"_s, u"/opt/a"_s}));
    }

    void entriesAfterARemovedOneMoveUp()
    {
        seed({u"/opt/a"_s, u"/opt/b"_s, u"/opt/c"_s});
        const auto items = open();
        items->removeAt(1);
        QCOMPARE(paths(*items), (QStringList{u"/opt/a"_s, u"/opt/c"_s}));
        items->removeAt(1);
        QCOMPARE(paths(*items), (QStringList{u"/opt/a"_s}));
    }

    void changesAreNotSeenByOthersBeforeSave()
    {
        seed({u"/opt/a"_s, u"/opt/b"_s});
        const auto items = open();
        items->removeAt(0);
        items->append(u"/opt/c"_s, false);
        QCOMPARE(sortedSavedPaths(), (QStringList{u"/opt/a"_s, u"/opt/b"_s}));
    }

    void savedChangesAreSeenByOthers()
    {
        seed({u"/opt/a"_s, u"/opt/b"_s});
        const auto items = open();
        items->removeAt(0);
        items->append(u"/opt/c"_s, false);
        items->save();
        QCOMPARE(sortedSavedPaths(), (QStringList{u"/opt/b"_s, u"/opt/c"_s}));
    }

    void entryThatWasAppendedAndRemovedIsNotSaved()
    {
        seed({u"/opt/a"_s});
        const auto items = open();
        items->append(u"/opt/b"_s, false);
        items->removeAt(1);
        items->save();
        QCOMPARE(sortedSavedPaths(), (QStringList{u"/opt/a"_s}));
    }

    void savingTwiceSavesOneEntry()
    {
        seed({});
        const auto items = open();
        items->append(u"/opt/a"_s, false);
        items->save();
        items->save();
        QCOMPARE(sortedSavedPaths(), (QStringList{u"/opt/a"_s}));
    }

    void savedEntryCanBeRemovedAgain()
    {
        seed({u"/opt/b"_s});
        const auto items = open();
        items->append(u"/opt/a"_s, false);
        items->save();
        items->removeAt(1);
        items->save();
        QCOMPARE(sortedSavedPaths(), (QStringList{u"/opt/b"_s}));
    }
};
