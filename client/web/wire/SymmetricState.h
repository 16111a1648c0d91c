// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/wire/CipherState.h"
#include "web/wire/SecretBytes.h"

#include <QByteArray>

#include <optional>
#include <utility>

namespace quillmote {

/// What both sides of a handshake have said so far, and the keys that follow from it: the
/// SymmetricState of the Noise Protocol Framework, revision 34, section 5.2.
class SymmetricState
{
public:
    explicit SymmetricState(QByteArrayView protocolName);

    void mixHash(QByteArrayView data);
    void mixKey(QByteArrayView input);
    void mixKeyAndHash(QByteArrayView input);

    /// Both want a key, that is, mixKey() or mixKeyAndHash() before.
    QByteArray sealAndHash(QByteArrayView plain);
    std::optional<QByteArray> openAndHash(QByteArrayView sealed);

    /// The keys of the connection: of the initiator's messages, and of the responder's.
    std::pair<CipherState, CipherState> split() const;

private:
    Digest chainingKey;
    Digest transcript;
    CipherState cipher;
};

} // namespace quillmote
