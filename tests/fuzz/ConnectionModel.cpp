// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "fuzz/ConnectionModel.h"

#include "fuzz/NaiveDownload.h"
#include "fuzz/NaiveShortcut.h"
#include "unit/net/NaiveTokenReader.h"

#include <QUrl>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QString latin(const std::string &bytes)
{
    return QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

QVariant variant(const NaiveTokenReader::Value &value)
{
    QStringList texts;
    for (const std::string &text : value.texts) {
        texts.append(latin(text));
    }
    return value.isList ? QVariant(texts) : QVariant(texts.first());
}

/// -1 when nothing could be written.
qint64 writtenBytes(int descriptor, const QByteArray &bytes)
{
    qint64 sum = 0;
    while (sum < bytes.size()) {
        const ssize_t written =
            write(descriptor, bytes.constData() + sum, static_cast<size_t>(bytes.size() - sum));
        if (written <= 0) {
            break;
        }
        sum += written;
    }
    return sum == 0 ? -1 : sum;
}

} // namespace

ConnectionModel::ConnectionModel(QString real, QString own, QSize desktop)
    : realDirectory(std::move(real))
    , ownDirectory(std::move(own))
    , desktopSize(desktop)
{
}

ConnectionModel::~ConnectionModel()
{
    closeFile();
}

void ConnectionModel::begin()
{
    isOpen = true;
    token.clear();
    deviceName.clear();
    path.clear();
    unsent = 0;
    waitsForClipboard = hasPeerLeft = false;
    unread.clear();
}

void ConnectionModel::leave()
{
    if (waitsForClipboard) {
        hasPeerLeft = true;
        unread.clear();
        unsent = 0;
    } else if (isOpen) {
        end();
    }
}

void ConnectionModel::end()
{
    deeds.messages.append(u"warning: Device Disconnected "_s);
    isOpen = false;
    closeFile();
}

qint64 ConnectionModel::readLimit() const
{
    if (!isReceivingFile()) {
        return heldPiece;
    }
    return remaining >= filePiece ? filePiece : 0;
}

void ConnectionModel::receive(const QByteArray &bytes)
{
    for (qsizetype at = 0; at < bytes.size() && isOpen;) {
        if (waitsForClipboard) {
            unread += bytes.mid(at);
            return;
        }
        const qint64 limit = isReceivingFile() ? readLimit() : tokenPiece;
        const QByteArray piece = limit == 0 ? bytes.mid(at) : bytes.mid(at, limit);
        at += piece.size();
        if (!isReceivingFile() && readToken(piece)) {
            ++deeds.announcedTokens;
            dispatch();
        }
        if (isOpen && isReceivingFile()) {
            writeToFile(piece);
        }
    }
}

bool ConnectionModel::readToken(const QByteArray &bytes)
{
    using NaiveTokenReader::Outcome;
    const NaiveTokenReader::Result result = NaiveTokenReader::read(bytes.toStdString());
    if (result.outcome == Outcome::Bad) {
        deeds.messages.append(u"debug: Bad token :  \""_s + latin(result.collapsedText) + u"\" "_s);
    }
    if (result.outcome == Outcome::Fixed) {
        deeds.messages.append(u"debug: Fix token... "_s);
    }
    for (const auto &[key, value] : result.entries) {
        token[latin(key)] = variant(value);
    }
    return result.outcome == Outcome::Read || result.outcome == Outcome::Fixed;
}

void ConnectionModel::dispatch()
{
    const QString command = text(u"cmdType"_s);
    if (command == "SERVER_PAIR"_L1) {
        pair();
    } else if (command == "URL_OPEN"_L1) {
        openAddress();
    } else if (command == "TEXT_TRANSFER_AND_OPEN"_L1) {
        takeText();
    } else if (command == "SERVER_CLIPBOARD_REQUEST"_L1 && isClipboardSlow) {
        waitsForClipboard = true;
    } else if (command == "SERVER_CLIPBOARD_REQUEST"_L1) {
        answerClipboard(clipboard);
    } else if (command == "FILE_TRANSFER_AND_OPEN"_L1) {
        startFile();
    } else if (command == "SERVER_INFO"_L1) {
        reportSize();
    } else if (command == "KEYBOARD_CMD"_L1) {
        typeKeys();
    } else if (command == "MOUSE_CMD"_L1) {
        useMouse();
    }
}

/// A list of one is that one text; another list is no text.
QString ConnectionModel::text(const QString &key) const
{
    const QVariant value = token.value(key);
    if (value.typeId() != QMetaType::QStringList) {
        return value.toString();
    }
    const QStringList items = value.toStringList();
    return items.size() == 1 ? items.first() : QString();
}

/// A text is a list of one.
QStringList ConnectionModel::list(const QString &key) const
{
    const QVariant value = token.value(key);
    if (!value.isValid()) {
        return {};
    }
    return value.typeId() == QMetaType::QStringList ? value.toStringList()
                                                    : QStringList(value.toString());
}

void ConnectionModel::answer(const QString &response)
{
    token[u"serverResponse"_s] = response;
    if (unsent > mostUnsent) {
        deeds.messages.append(u"debug: The device does not read its answers. "_s);
        end();
    } else if (!hasPeerLeft) {
        deeds.answers.append(token);
    }
}

/// Approval is not asked for.
void ConnectionModel::pair()
{
    ++deviceCount;
    deviceName = list(u"cmdParameters"_s).value(1);
    deeds.messages.append(u"warning: Device Connected "_s);
    answer(u"OK"_s);
}

void ConnectionModel::openAddress()
{
    const QString address = text(u"fncCommand"_s);
    deeds.messages.append(u"warning: Opening URL:  "_s + address + u' ');
    hand(address);
    answer(u"OK"_s);
}

/// Time stands still during a session.
void ConnectionModel::hand(const QString &address)
{
    if (QUrl(address).toEncoded().startsWith('-')) {
        deeds.messages.append(u"warning: Not opened: an address must not begin with \"-\". "_s);
    } else if (openings == mostOpenings) {
        deeds.messages.append(u"warning: Not opened: too many addresses and files at once. "_s);
    } else {
        ++openings;
        deeds.openedAddresses.append(address);
    }
}

void ConnectionModel::takeText()
{
    clipboard = text(u"fncCommand"_s);
    deeds.messages.append(u"warning: You have text in clipboard... "_s);
    token[u"fncCommand"_s] = QString();
    answer(u"OK"_s);
}

void ConnectionModel::answerClipboard(const std::optional<QString> &content)
{
    if (content) {
        token[u"cmdParameters"_s] = QStringList(*content);
    }
    answer(content ? u"OK"_s : u"ERROR"_s);
}

void ConnectionModel::answerWaiting(const QString &clipboardText)
{
    if (std::exchange(waitsForClipboard, false)) {
        answerClipboard(clipboardText);
    }
}

void ConnectionModel::readOn()
{
    receive(std::exchange(unread, {}));
    if (isOpen && hasPeerLeft) {
        end();
    }
}

void ConnectionModel::reportSize()
{
    token[u"cmdParameters"_s] = QStringList{QString::number(desktopSize.height()),
                                            QString::number(desktopSize.width()), u"MAC-OSX"_s};
    answer(u"OK"_s);
}

void ConnectionModel::typeKeys()
{
    const auto shortcut = NaiveShortcut::parse(text(u"fncCommand"_s).toLatin1().toStdString());
    if (shortcut.isTyped) {
        deeds.calls += 2;
        return;
    }
    if (shortcut.namesAKey) {
        deeds.messages.append(u"warning: KeyCode not vailable for  ADDRESS "_s);
    }
    deeds.messages.append(u"warning: \"Problem executing the shortcut: \" "_s);
}

/// Each click and each move asks for the position, then posts.
void ConnectionModel::useMouse()
{
    const int code = text(u"fncCommand"_s).toInt();
    const bool isClick = code >= 0 && code <= 3;
    const bool isMove = code == 4 && list(u"cmdParameters"_s).size() == 2;
    deeds.calls += isClick || isMove ? 2 : 0;
}

void ConnectionModel::startFile()
{
    const QString name = list(u"cmdParameters"_s).value(0);
    const quint64 size = list(u"cmdParameters"_s).value(1).toULongLong();
    deeds.messages.append(u"warning: Received request to save file:  "_s + name + u"  of size  "_s +
                          QString::number(size) + u' ');
    path = realDirectory + u'/' + name;
    remaining = static_cast<qint64>(size);
    deeds.messages.append(u"debug: File:  \""_s + path + u"\" "_s);
    openFile(name);
    deeds.messages.append(u"debug: \"Asked the client to start the file transfer...\" "_s);
    answer(u"START_BINARY_TRANSFER"_s);
}

void ConnectionModel::openFile(const QString &name)
{
    ++fileCount;
    closeFile();
    descriptor = NaiveDownload::open(ownDirectory.toStdString(), name.toStdString());
}

void ConnectionModel::closeFile()
{
    if (descriptor != -1) {
        close(descriptor);
        descriptor = -1;
    }
}

void ConnectionModel::writeToFile(const QByteArray &bytes)
{
    // At the end of the number's range, it stays there.
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    constexpr qint64 least = std::numeric_limits<qint64>::min();
    const qint64 written = descriptor == -1 ? -1 : writtenBytes(descriptor, bytes);
    if (written < 0) {
        remaining = remaining == most ? most : remaining + 1;
    } else {
        remaining = remaining < least + written ? least : remaining - written;
    }
    if (remaining < 0) {
        finishFile();
    }
}

void ConnectionModel::finishFile()
{
    closeFile();
    deeds.shownFiles.append(path);
    hand(u"file://"_s + path);
    path.clear();
    answer(u"OK"_s);
}
