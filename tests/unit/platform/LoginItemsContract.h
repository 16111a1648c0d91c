// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/LoginItems.h"

#include <QObject>
#include <QStringList>
#include <QTest>

/// What every adapter of platform::LoginItems promises. A derived class brings an adapter and the
/// list behind it; run it by QTest::qExec().
class LoginItemsContract : public QObject
{
    Q_OBJECT

protected:
    /// Replaces the list behind the adapter by entries of other programs with these paths.
    virtual void seed(const QStringList &paths) = 0;
    /// The adapter, on the list as it stands now.
    virtual std::unique_ptr<platform::LoginItems> open() = 0;

    QStringList paths(const platform::LoginItems &items) const
    {
        QStringList all;
        for (int index = 0; index < items.count(); ++index) {
            all.append(items.pathAt(index));
        }
        return all;
    }

    /// The saved list. Adapters order new entries differently, so the order is left out.
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
        seed({"/opt/a", "/opt/b", "/opt/c"});
        QCOMPARE(paths(*open()), (QStringList{"/opt/a", "/opt/b", "/opt/c"}));
    }

    void appendedEntryComesLast()
    {
        seed({"/opt/x", "/opt/y"});
        const auto items = open();
        items->append("/opt/a", false);
        QCOMPARE(paths(*items), (QStringList{"/opt/x", "/opt/y", "/opt/a"}));
    }

    void entriesAfterARemovedOneMoveUp()
    {
        seed({"/opt/a", "/opt/b", "/opt/c"});
        const auto items = open();
        items->removeAt(1);
        QCOMPARE(paths(*items), (QStringList{"/opt/a", "/opt/c"}));
        items->removeAt(1);
        QCOMPARE(paths(*items), (QStringList{"/opt/a"}));
    }

    void changesAreNotSeenByOthersBeforeSave()
    {
        seed({"/opt/a", "/opt/b"});
        const auto items = open();
        items->removeAt(0);
        items->append("/opt/c", false);
        QCOMPARE(sortedSavedPaths(), (QStringList{"/opt/a", "/opt/b"}));
    }

    void savedChangesAreSeenByOthers()
    {
        seed({"/opt/a", "/opt/b"});
        const auto items = open();
        items->removeAt(0);
        items->append("/opt/c", false);
        items->save();
        QCOMPARE(sortedSavedPaths(), (QStringList{"/opt/b", "/opt/c"}));
    }

    void entryThatWasAppendedAndRemovedIsNotSaved()
    {
        seed({"/opt/a"});
        const auto items = open();
        items->append("/opt/b", false);
        items->removeAt(1);
        items->save();
        QCOMPARE(sortedSavedPaths(), (QStringList{"/opt/a"}));
    }

    void savingTwiceSavesOneEntry()
    {
        seed({});
        const auto items = open();
        items->append("/opt/a", false);
        items->save();
        items->save();
        QCOMPARE(sortedSavedPaths(), (QStringList{"/opt/a"}));
    }

    void savedEntryCanBeRemovedAgain()
    {
        seed({"/opt/b"});
        const auto items = open();
        items->append("/opt/a", false);
        items->save();
        items->removeAt(1);
        items->save();
        QCOMPARE(sortedSavedPaths(), (QStringList{"/opt/b"}));
    }
};
