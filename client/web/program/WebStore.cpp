// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/WebStore.h"

#include "lib/PrintableText.h"
#include "lib/PrivateFile.h"
#include "web/wire/Handshake.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>

#include <algorithm>
#include <sodium.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

constexpr qint64 largestStore = 64 * 1024;

QByteArray randomBytes(qsizetype size)
{
    QByteArray bytes(size, '\0');
    randombytes_buf(bytes.data(), static_cast<size_t>(size));
    return bytes;
}

QJsonObject toJson(const KnownPhone &phone)
{
    return {{u"id"_s, QString::fromLatin1(phone.id.toHex())},
            {u"secret"_s, QString::fromLatin1(phone.secret.toBase64())},
            {u"name"_s, phone.name},
            {u"added"_s, phone.added.toMSecsSinceEpoch()},
            {u"lastSeen"_s, phone.lastSeen.toMSecsSinceEpoch()}};
}

QDateTime time(const QJsonValue &value)
{
    return QDateTime::fromMSecsSinceEpoch(value.toInteger());
}

KnownPhone fromJson(const QJsonObject &object)
{
    return {QByteArray::fromHex(object.value("id"_L1).toString().toLatin1()),
            QByteArray::fromBase64(object.value("secret"_L1).toString().toLatin1()),
            WebStore::cleaned(object.value("name"_L1).toString()), time(object.value("added"_L1)),
            time(object.value("lastSeen"_L1))};
}

} // namespace

WebStore::WebStore(QString file) : path(std::move(file))
{
    read();
}

QString WebStore::usualPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           u"/quillmote/web.json"_s;
}

void WebStore::setPort(quint16 port)
{
    if (std::exchange(keptPort, port) != port) {
        write();
    }
}

const KnownPhone *WebStore::find(const QByteArray &id) const
{
    const auto found = std::find_if(known.begin(), known.end(),
                                    [&id](const KnownPhone &phone) { return phone.id == id; });
    return found == known.end() ? nullptr : &*found;
}

KnownPhone WebStore::add(const QString &name)
{
    if (known.size() >= mostPhones) {
        known.erase(std::min_element(known.begin(), known.end(),
                                     [](const KnownPhone &one, const KnownPhone &other) {
                                         return one.lastSeen < other.lastSeen;
                                     }));
    }
    const QDateTime now = QDateTime::currentDateTimeUtc();
    known.append(
        {randomBytes(Introduction::idSize), randomBytes(secretSize), cleaned(name), now, now});
    write();
    return known.back();
}

bool WebStore::remove(const QByteArray &id)
{
    const auto removed = known.removeIf([&id](const KnownPhone &phone) { return phone.id == id; });
    if (removed > 0) {
        write();
    }
    return removed > 0;
}

void WebStore::rename(const QByteArray &id, const QString &name)
{
    for (KnownPhone &phone : known) {
        if (phone.id == id && std::exchange(phone.name, cleaned(name)) != phone.name) {
            write();
        }
    }
}

void WebStore::markSeen(const QByteArray &id)
{
    for (KnownPhone &phone : known) {
        if (phone.id == id) {
            phone.lastSeen = QDateTime::currentDateTimeUtc();
            write();
        }
    }
}

QString WebStore::cleaned(const QString &name)
{
    const QString shown = printable(name.simplified()).left(longestName).trimmed();
    return shown.isEmpty() ? u"Phone"_s : shown;
}

void WebStore::read()
{
    const QByteArray content = PrivateFile::read(path, largestStore);
    const QJsonObject stored = QJsonDocument::fromJson(content).object();
    const int port = stored.value("port"_L1).toInt();
    if (port > 0 && port <= 0xffff) {
        keptPort = static_cast<quint16>(port);
    }
    for (const auto &value : stored.value("phones"_L1).toArray()) {
        const KnownPhone phone = fromJson(value.toObject());
        if (phone.id.size() == Introduction::idSize && phone.secret.size() == secretSize &&
            !find(phone.id) && known.size() < mostPhones) {
            known.append(phone);
        }
    }
}

void WebStore::write()
{
    QJsonArray phones;
    for (const KnownPhone &phone : std::as_const(known)) {
        phones.append(toJson(phone));
    }
    const QJsonObject stored{{u"port"_s, keptPort}, {u"phones"_s, phones}};
    writeProblem = PrivateFile::replace(path, QJsonDocument(stored).toJson());
}

} // namespace quillmote
