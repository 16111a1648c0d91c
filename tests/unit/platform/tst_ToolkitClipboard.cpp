// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/ToolkitClipboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>
#include <QTest>
#include <QUrl>

using namespace Qt::StringLiterals;

class tst_ToolkitClipboard : public QObject
{
    Q_OBJECT

private slots:
    void textReplacesWhatIsThere();
    void textIsGivenAtOnceAndOnce_data();
    void textIsGivenAtOnceAndOnce();
    void contentWithoutPlainTextGivesNone_data();
    void contentWithoutPlainTextGivesNone();
    void changesAreReportedFromTheEventLoop();
    void whatIsOutOfReachIsSaid();
};

void tst_ToolkitClipboard::textReplacesWhatIsThere()
{
    QGuiApplication::clipboard()->setImage(QImage(1, 1, QImage::Format_RGB32));
    platform::ToolkitClipboard().setText(u"\u00e9\n\u2603"_s);
    QCOMPARE(QGuiApplication::clipboard()->text(), u"\u00e9\n\u2603"_s);
    QVERIFY(!QGuiApplication::clipboard()->mimeData()->hasImage());
}

void tst_ToolkitClipboard::textIsGivenAtOnceAndOnce_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("text") << u"\u00e9\n\u2603"_s;
    QTest::newRow("empty text") << "";
}

void tst_ToolkitClipboard::textIsGivenAtOnceAndOnce()
{
    QFETCH(QString, text);
    QGuiApplication::clipboard()->setText(text);
    std::vector<std::optional<QString>> given;
    platform::ToolkitClipboard().requestText(
        [&](const std::optional<QString> &found) { given.push_back(found); });
    QCOMPARE(given.size(), 1U);
    QVERIFY(given.front() == text);
}

void tst_ToolkitClipboard::contentWithoutPlainTextGivesNone_data()
{
    QTest::addColumn<QString>("content");
    QTest::newRow("nothing") << "nothing";
    QTest::newRow("image") << "image";
    QTest::newRow("only HTML") << "html";
    QTest::newRow("a list of files") << "files";
}

void tst_ToolkitClipboard::contentWithoutPlainTextGivesNone()
{
    QFETCH(QString, content);
    QGuiApplication::clipboard()->clear();
    auto data = std::make_unique<QMimeData>();
    if (content == u"image"_s) {
        data->setImageData(QImage(1, 1, QImage::Format_RGB32));
    } else if (content == u"html"_s) {
        data->setHtml(u"<b>bold</b>"_s);
    } else if (content == u"files"_s) {
        data->setUrls({QUrl(u"file:///etc/hostname"_s)});
    }
    QGuiApplication::clipboard()->setMimeData(data.release());
    std::vector<std::optional<QString>> given;
    platform::ToolkitClipboard().requestText(
        [&](const std::optional<QString> &found) { given.push_back(found); });
    QCOMPARE(given.size(), 1U);
    QVERIFY(!given.front().has_value());
}

void tst_ToolkitClipboard::changesAreReportedFromTheEventLoop()
{
    platform::ToolkitClipboard clipboard;
    int changes = 0;
    clipboard.watch([&] { ++changes; });
    clipboard.setText(u"a"_s);
    QGuiApplication::clipboard()->setImage(QImage(1, 1, QImage::Format_RGB32));
    QCOMPARE(changes, 0);
    QCoreApplication::processEvents();
    QCOMPARE(changes, 2);
    clipboard.setText(u"b"_s);
    clipboard.watch({});
    QCoreApplication::processEvents();
    QCOMPARE(changes, 2);
}

void tst_ToolkitClipboard::whatIsOutOfReachIsSaid()
{
    const platform::ToolkitClipboard clipboard({.isReadable = true, .isWatchable = false});
    QVERIFY(clipboard.isReadable());
    QVERIFY(!clipboard.isWatchable());
    QVERIFY(platform::ToolkitClipboard().isWatchable());
}

QTEST_MAIN(tst_ToolkitClipboard)
#include "tst_ToolkitClipboard.moc"
