// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/WebAddress.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_WebAddress : public QObject
{
    Q_OBJECT

private slots:
    void aWordBecomesAnAddress_data();
    void aWordBecomesAnAddress();
    void otherWordsAreNoAddresses_data();
    void otherWordsAreNoAddresses();
    void aFileIsNoAddress();
};

void tst_WebAddress::aWordBecomesAnAddress_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("url");
    for (const QStringView address :
         {u"http://www.example.org/", u"https://example.org", u"mailto:ada@example.org", u"tel:112",
          u"file:///tmp/x", u"magnet:?xt=urn:x", u"ftp://10.0.0.1:21/a b", u"view-source:http://x/",
          u"http:x"}) {
        QTest::addRow("%s", address.toUtf8().constData())
            << address.toString() << address.toString();
    }
    const QList<std::pair<QStringView, QStringView>> completed = {
        {u"www.debian.org", u"https://www.debian.org"},
        {u"example.org/a?b=c#d", u"https://example.org/a?b=c#d"},
        {u"example.org:8443/x", u"https://example.org:8443/x"},
        {u"example.org?q", u"https://example.org?q"},
        {u"m\u00fcller.example", u"https://m\u00fcller.example"},
        {u"localhost", u"http://localhost"},
        {u"localhost:8080/x", u"http://localhost:8080/x"},
        {u"LocalHost", u"http://LocalHost"},
        {u"printer.local", u"http://printer.local"},
        {u"192.168.1.1:631", u"http://192.168.1.1:631"},
        {u"[::1]:8080/", u"http://[::1]:8080/"},
        {u"1.2.3.4.example", u"https://1.2.3.4.example"}};
    for (const auto &[word, url] : completed) {
        QTest::addRow("%s", word.toUtf8().constData()) << word.toString() << url.toString();
    }
}

void tst_WebAddress::aWordBecomesAnAddress()
{
    QFETCH(QString, word);
    QFETCH(QString, url);
    const WebAddress address = WebAddress::of(word);
    QCOMPARE(address.problem, QString());
    QCOMPARE(address.url, url);
}

void tst_WebAddress::otherWordsAreNoAddresses_data()
{
    QTest::addColumn<QString>("word");
    for (const char *word : {"", "intranet", "two words", "www.example.org and more", "/absent",
                             "./absent", "a..b", ".hidden", "5"}) {
        QTest::addRow("\"%s\"", word) << QString::fromLatin1(word);
    }
}

void tst_WebAddress::otherWordsAreNoAddresses()
{
    QFETCH(QString, word);
    const WebAddress address = WebAddress::of(word);
    QCOMPARE(address.url, QString());
    QCOMPARE(address.problem,
             u"\"%1\" is not an address. Give one such as https://www.example.org/."_s.arg(word));
}

void tst_WebAddress::aFileIsNoAddress()
{
    const QTemporaryDir folder;
    QVERIFY(QFile(folder.filePath(u"report.pdf"_s)).open(QIODevice::WriteOnly));
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder.path()));
    const QString problem = WebAddress::of(u"report.pdf"_s).problem;
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(problem, u"\"report.pdf\" is a file on this computer. Use quillmote send."_s);
    QCOMPARE(WebAddress::of(u"report.pdf"_s).url, u"https://report.pdf"_s);
}

QTEST_APPLESS_MAIN(tst_WebAddress)
#include "tst_WebAddress.moc"
