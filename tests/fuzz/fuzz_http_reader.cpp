// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The input is what a browser sends; 0xff and the byte behind it stand for sixteen times as many
// "x". What is read of it is what a naive second reader makes of it, and once something is read or
// refused, more bytes change nothing.

#include "fuzz/Finding.h"
#include "fuzz/NaiveHttpReader.h"
#include "web/http/HttpReader.h"

#include <cstddef>
#include <cstdint>

using quillmote::HttpReading;
using quillmote::HttpRequest;

namespace quillmote {

static QDebug operator<<(QDebug stream, const HttpReading &reading)
{
    const HttpRequest request = reading.request.value_or(HttpRequest());
    return stream << reading.refusal << reading.size << reading.request.has_value()
                  << request.isHead << request.path << request.host << request.origin
                  << request.takesDeflate << request.wantsSocket;
}

} // namespace quillmote

namespace {

QByteArray expanded(const QByteArray &input)
{
    QByteArray bytes;
    for (qsizetype i = 0; i < input.size(); ++i) {
        if (input[i] == '\xff' && i + 1 < input.size()) {
            bytes += QByteArray(16 * static_cast<unsigned char>(input[++i]), 'x');
        } else {
            bytes += input[i];
        }
    }
    return bytes.first(std::min<qsizetype>(bytes.size(), 3 * quillmote::longestHttpHead));
}

/// All beginnings of short inputs, and some of long ones.
void requireSteadiness(const QByteArray &bytes, const HttpReading &whole)
{
    const qsizetype step = 1 + bytes.size() / 64;
    for (qsizetype size = 0; size < bytes.size(); size += step) {
        const HttpReading reading = quillmote::readHttp(QByteArrayView(bytes).first(size));
        if (reading.isDone()) {
            Finding::requireEqual(reading, whole, "more bytes change what was read");
            return;
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes =
        expanded({reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)});
    const HttpReading reading = quillmote::readHttp(bytes);
    Finding::requireEqual(reading, NaiveHttpReader::read(bytes), "another reading");
    requireSteadiness(bytes, reading);
    return 0;
}
