// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Any shortcut: two events of one key, or none.

#include "doubles/RecordingEventServices.h"
#include "interaction/InteractionManagerMac.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    EventRecord record;
    InteractionManagerMac manager(std::make_unique<RecordingEventServices>(record));
    manager.keyboardTapKeyEvent(
        QString::fromLatin1(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));
    const size_t posted = record.keyboardEvents().size();
    if (posted != 0 && posted != 2) {
        std::abort();
    }
    return 0;
}
