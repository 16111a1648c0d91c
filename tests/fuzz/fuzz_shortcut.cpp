// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Each line of the input is a shortcut in UTF-8, all for one manager. It types the key that the
// naive parser names and complains as it should; what it keeps of one shortcut can be repeated and
// has no effect on the next.

#include "doubles/RecordingEventServices.h"
#include "fuzz/Finding.h"
#include "fuzz/NaiveShortcut.h"
#include "interaction/InteractionManagerMac.h"
#include "support/MessageRecorder.h"

#include <QRegularExpression>

#include <cstddef>
#include <cstdint>

using namespace Qt::StringLiterals;

namespace {

/// The message about a missing key contains an address, which is replaced.
QStringList withoutAddresses(QStringList messages)
{
    static const QRegularExpression address(u"0x[0-9a-f]+ $"_s);
    return messages.replaceInStrings(address, u"ADDRESS "_s);
}

QStringList complaintsOfATap(const NaiveShortcut::Result &expected)
{
    if (expected.isTyped) {
        return {};
    }
    QStringList complaints;
    if (expected.namesAKey) {
        complaints.append(u"warning: KeyCode not vailable for  ADDRESS "_s);
    }
    return complaints << u"warning: \"Problem executing the shortcut: \" "_s;
}

void requireEvents(const EventRecord &record, const NaiveShortcut::Result &expected,
                   std::vector<bool> directions)
{
    const auto events = record.keyboardEvents();
    Finding::requireEqual(record.calls.size(), expected.isTyped ? directions.size() : 0,
                          "another number of events");
    for (size_t index = 0; index < events.size(); ++index) {
        const platform::KeyboardEvent wanted{static_cast<platform::KeyCode>(expected.code),
                                             directions[index], expected.flags,
                                             platform::EventTap::Session};
        Finding::require(events[index] == wanted, "another event");
    }
}

void tap(InteractionManagerMac &manager, EventRecord &record, const QString &shortcut,
         const NaiveShortcut::Result &expected)
{
    const MessageRecorder messages;
    record.calls.clear();
    manager.keyboardTapKeyEvent(shortcut);
    requireEvents(record, expected, {true, false});
    Finding::requireEqual(withoutAddresses(messages.all()), complaintsOfATap(expected),
                          "other complaints of a tap");
}

void repeat(InteractionManagerMac &manager, EventRecord &record,
            const NaiveShortcut::Result &expected)
{
    const MessageRecorder messages;
    record.calls.clear();
    manager.generateKeyEvent(false);
    requireEvents(record, expected, {false});
    const QStringList complaints{u"warning: Problem executing  Key Up "_s};
    Finding::requireEqual(messages.all(), expected.isTyped ? QStringList() : complaints,
                          "other complaints of a repeated key");
}

void compareModifiers(InteractionManagerMac &manager, const QByteArray &shortcut)
{
    for (const std::string &token : NaiveShortcut::tokensOf(shortcut.toStdString())) {
        const QString name = QString::fromLatin1(QByteArray::fromStdString(token));
        const quint64 flag = NaiveShortcut::flagOf(token);
        Finding::requireEqual(manager.getModifier(name), flag, "another flag");
        Finding::requireEqual(manager.isModifier(name), flag != 0, "another idea of a modifier");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    EventRecord record;
    InteractionManagerMac manager(std::make_unique<RecordingEventServices>(record));
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    for (const QByteArray &line : input.split('\n')) {
        const QString shortcut = QString::fromUtf8(line);
        const QByteArray bytes = shortcut.toLatin1();
        const NaiveShortcut::Result expected = NaiveShortcut::parse(bytes.toStdString());
        tap(manager, record, shortcut, expected);
        repeat(manager, record, expected);
        compareModifiers(manager, bytes);
    }
    return 0;
}
