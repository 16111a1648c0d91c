// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/StaticFiles.h"

namespace quillmote {
namespace {

constexpr int bestCompression = 9;
/// The toolkit writes the size of the content in front of the stream of zlib, which HTTP calls
/// "deflate".
constexpr qsizetype sizeOfSize = 4;

} // namespace

void StaticFiles::add(const StaticFile &file)
{
    QByteArray deflated = qCompress(file.content, bestCompression).mid(sizeOfSize);
    if (deflated.size() >= file.content.size()) {
        deflated.clear();
    }
    files.insert(file.path, {file, deflated});
}

HttpAnswer StaticFiles::answer(const QByteArray &path, bool takesDeflate, bool isLoopback) const
{
    const auto found = files.constFind(path);
    if (found == files.constEnd() || (found->file.onlyLoopback && !isLoopback)) {
        return HttpAnswer::refusal(HttpAnswer::notFound);
    }
    HttpAnswer answer;
    answer.isDeflated = takesDeflate && !found->deflated.isEmpty();
    answer.type = found->file.type;
    answer.content = answer.isDeflated ? found->deflated : found->file.content;
    return answer;
}

} // namespace quillmote
