// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/PipeReader.h"

#include <utility>

namespace platform {

PipeReader::PipeReader()
{
    connect(&pipe, &PipeBytes::arrived, this,
            [this](QByteArrayView bytes) { received += decoder(bytes); });
    connect(&pipe, &PipeBytes::ended, this, [this](bool isWhole) {
        QString text = std::exchange(received, {});
        emit finished(isWhole ? std::optional(std::move(text)) : std::nullopt);
    });
}

bool PipeReader::start(Descriptor end)
{
    received = QString();
    // A mark of the byte order at the beginning belongs to the text.
    decoder = QStringDecoder(QStringConverter::Utf8, QStringConverter::Flag::ConvertInitialBom);
    return pipe.start(std::move(end));
}

void PipeReader::stop()
{
    pipe.stop();
    received = QString();
}

} // namespace platform
