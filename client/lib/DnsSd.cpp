// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/DnsSd.h"

#include <QLibrary>

#include <optional>

namespace quillmote {
namespace {

template <typename Function> bool load(QLibrary &library, const char *name, Function &function)
{
    function = reinterpret_cast<Function>(library.resolve(name));
    return function != nullptr;
}

std::optional<DnsSd> loaded()
{
    // The library stays loaded, because it has threads of its own.
    QLibrary library(QStringLiteral(DNS_SD_LIBRARY), QStringLiteral(DNS_SD_VERSION));
    DnsSd functions{};
    const bool isWhole = load(library, "DNSServiceBrowse", functions.browse) &&
                         load(library, "DNSServiceResolve", functions.resolve) &&
                         load(library, "DNSServiceQueryRecord", functions.queryRecord) &&
                         load(library, "DNSServiceRefSockFD", functions.socketOf) &&
                         load(library, "DNSServiceProcessResult", functions.processResult) &&
                         load(library, "DNSServiceRefDeallocate", functions.deallocate);
    return isWhole ? std::optional(functions) : std::nullopt;
}

} // namespace

const DnsSd *DnsSd::get()
{
    static const std::optional<DnsSd> functions = loaded();
    return functions ? &*functions : nullptr;
}

} // namespace quillmote
