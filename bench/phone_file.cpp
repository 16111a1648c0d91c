// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How fast a phone's page sends a file over a link of 100 Mbit/s, compared with a page that has a
// bare WebSocket. They take turns in one run. Also measures how much memory quillmote-web needs.
//
// Needs VORNA_SERVER, VORNA_QUILLMOTE_WEB, the bare program as first argument and a folder as
// second; a third one is the size in MB, a fourth the number of rounds.

#include "FileRate.h"
#include "PhoneBench.h"
#include "support/Folders.h"
#include "support/process/ProcessMemory.h"

#include <QDir>
#include <QTemporaryDir>

using std::chrono::steady_clock;

namespace {

constexpr qint64 Megabyte = 1'000'000;
constexpr int LinkRate = 100;
constexpr auto OftenEnough = std::chrono::milliseconds(20);

void writeFile(const QString &path, qint64 size)
{
    QFile file(path);
    ServerBench::require(file.open(QIODevice::WriteOnly), "a file to send");
    QByteArray piece(Megabyte, Qt::Uninitialized);
    for (qint64 written = 0; written < size; written += piece.size()) {
        for (qsizetype i = 0; i < piece.size(); ++i) {
            piece[i] = static_cast<char>(i * 7 + i / 251 + written / Megabyte);
        }
        file.write(piece);
    }
}

/// \return MiB a second from the choice of the file until it is complete over there.
double rate(PhonePage &page, const PageElement &button, const QString &file, const QString &target)
{
    const qint64 size = QFileInfo(file).size();
    const auto start = steady_clock::now();
    ServerBench::require(page.choose(button, {file}), "the choice of a file");
    ServerBench::require(
        waitUntil([&] { return QFileInfo(target).size() == size; }, FileRate::Limit, OftenEnough),
        "the file's arrival");
    const double result = FileRate::since(start, size);
    ServerBench::require(Folders::fileHash(target) == Folders::fileHash(file), "what arrived");
    QFile::remove(target);
    return result;
}

void compare(const QStringList &arguments)
{
    const QTemporaryDir folder(QDir(arguments.value(2)).absoluteFilePath(u"phone-file-XXXXXX"_s));
    ServerBench::require(folder.isValid(), "a folder for the files");
    const qint64 size = arguments.value(3, u"200"_s).toInt() * Megabyte;
    const int rounds = arguments.value(4, u"2"_s).toInt();
    const QString file = folder.filePath(u"large file.bin"_s);
    writeFile(file, size);
    const QString received = folder.filePath(u"received"_s);
    QDir().mkpath(received);

    PhoneBench bench(arguments.value(1), received);
    ServerBench::require(bench.scene().shapeCable(LinkRate), "a link of 100 Mbit/s");
    const qint64 web = bench.scene().web().processId();
    PhonePage page(bench.scene().phoneBrowser());
    PhonePage floor(bench.scene().phoneBrowser());
    bench.openPage(page);
    ServerBench::require(page.tap(PageElement::of(u"#tab-exchange"_s)), "the view of files");
    bench.openFloor(floor);
    Sample ofPage;
    Sample ofFloor;
    for (int round = 0; round < rounds; ++round) {
        ofPage.add(rate(page, PhoneBench::fileButton(), file, received + u"/large file.bin"_s));
        bench.openFloor(floor);
        ofFloor.add(rate(floor, PageElement::of(u"input"_s), file, bench.floorFile()));
    }
    FileRate::compare("page", ofPage, ofFloor, "bare page");
    std::printf("peak memory of quillmote-web %.1f MiB (goal: below 40)\n",
                FileRate::inMebibytes(ProcessMemory::peak(web)));
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return ServerBench::run([] { compare(QCoreApplication::arguments()); });
}
